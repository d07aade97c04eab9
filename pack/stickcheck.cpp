#include "pack/stickcheck.h"

#include "discovery/cupdatecollector.h"
#include "pack/packcommands.h"
#include "pack/scanreport.h"
#include "system/csystem_vesta.h"
#include "ui/cmainwidget.h"

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>

#include <algorithm>

namespace {

const QString RestartAfterQuit = QStringLiteral("restart the application when Quit is pressed (the window stays open)");
const QString HandOver = QStringLiteral("start the new installer on the same stick");
const QString NoHandOver
    = QStringLiteral("nothing: the application stays stopped, as the installer the hand-over starts refuses the path");

bool writeText(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

// The device's facts as files the collector reads the way it does on the device:
// a main application that prints the answer and a help version file. The answer
// goes through the collector's own query, so it is read exactly as on the device.
CollectorEnvironment collectorEnvironment(const QTemporaryDir& files, const CheckedDevice& device)
{
    CollectorEnvironment environment;
    environment.deviceBsp = device.bsp;
    environment.programPath = files.filePath(QStringLiteral("corvane"));
    const QString answer = files.filePath(QStringLiteral("answer"));
    writeText(answer, device.programAnswer.toLocal8Bit() + '\n');
    const QByteArray exit = "\nexit " + QByteArray::number(device.programExit) + '\n';
    if (device.program == CheckedDevice::Answers)
        writeText(environment.programPath, "#!/bin/sh\ncat '" + answer.toLocal8Bit() + "'" + exit);
    if (device.program == CheckedDevice::Hangs)
        writeText(environment.programPath, "#!/bin/sh\nexec sleep 3600\n");
    QFile::setPermissions(environment.programPath, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.helpVersionFile = files.filePath(QStringLiteral("version.txt"));
    if (!device.helpVersion.isEmpty())
        writeText(environment.helpVersionFile, "version=" + device.helpVersion.toLocal8Bit() + '\n');
    return environment;
}

// The host file the device maker gave for the key the installer takes.
QString hostKeyFor(const QString& keyFile, const CheckedDevice& device)
{
    if (keyFile == UpdateKeys::standardKey())
        return device.key;
    if (keyFile == UpdateKeys::bsp141Key())
        return device.key141;
    return QString();
}

// The stick and the key where the device has them, under paths without blanks:
// the installer's openssl command is split at blanks, and the device sees the
// stick at its own mount point, whatever the host's path to it is. The stick is
// a link to the host's directory, the key a copy.
struct MountedStick {
    QTemporaryDir directory { QStringLiteral("/tmp/pkgupdate-pack-check-XXXXXX") };
    QString stick;
    QString key;

    MountedStick(const QString& hostStick, const QString& hostKey)
        : stick(directory.filePath(QStringLiteral("usb")))
    {
        (void)QFile::link(hostStick, stick); // a failed link fails every signature, as reported
        if (!hostKey.isEmpty()) {
            key = directory.filePath(QStringLiteral("key.pem"));
            (void)QFile::copy(hostKey, key);
        }
    }
};

} // namespace

bool verifyAsDevice(const QString& package, const QString& key, QString& error)
{
    const MountedStick mounted(QFileInfo(package).absolutePath(), key);
    const QFileInfo onDevice(mounted.stick + QLatin1Char('/') + QFileInfo(package).fileName());
    return verifyPackageSignature(mounted.key, onDevice, SystemBudgets(), error);
}

namespace {

// Only rows that can be ticked are ever verified by the installer.
void verify(CheckedPackage& row, const StickCheck& check, const MountedStick& mounted)
{
    if (row.record.error != ErrorNone)
        return;
    if (!check.keyFile.isNull() && check.hostKey.isEmpty()) {
        const bool standard = check.keyFile == UpdateKeys::standardKey();
        row.signatureText = QStringLiteral("not checked: give %1 FILE, the device's %2")
                                .arg(QLatin1String(standard ? "--key" : "--key141"), check.keyFile);
        return;
    }
    // An unknown BSP selects no key; the installer then runs openssl without one.
    QString error;
    const QFileInfo onDevice(mounted.stick + QLatin1Char('/') + row.record.file.fileName());
    const bool verified = verifyPackageSignature(mounted.key, onDevice, SystemBudgets(), error);
    row.signature = verified ? CheckedPackage::Verified : CheckedPackage::Failed;
    row.signatureText = verified ? QStringLiteral("Verified OK") : error;
}

bool hasFinding(const CheckedPackage& row, const char* kind)
{
    return std::any_of(row.findings.begin(), row.findings.end(),
        [kind](const PackageFinding& finding) { return qstrcmp(finding.kind, kind) == 0; });
}

// The message a verified package stops Install with, before anything is copied.
QString stoppingFault(const CheckedPackage& row)
{
    if (hasFinding(row, FindingKind::UpdateConfMissing))
        return QStringLiteral("UPDATE.CONF not found!");
    if (hasFinding(row, FindingKind::DeleteRefused))
        return QStringLiteral("File delete error!");
    return QString();
}

const CheckedPackage* rowOf(const StickCheck& check, const UpdatePackage& record)
{
    for (const CheckedPackage& row : check.rows) {
        if (row.record.file == record.file)
            return &row;
    }
    return nullptr;
}

// Install as the window runs it: refused for an empty selection or two of one
// kind, then the worker's own order (its sort of the window's sorted list), each
// package verified, ending after the first failure, installer or program.
void followInstall(StickCheck& check)
{
    if (check.found.isEmpty()) {
        check.next = QStringLiteral("nothing: the installer ends without touching the device");
        return;
    }
    check.next = RestartAfterQuit;
    QList<UpdatePackage> list;
    int perKind[KindProgram + 1] = {};
    for (const CheckedPackage& row : qAsConst(check.rows)) {
        list.append(row.record);
        if (row.record.selected && ++perKind[row.record.priority] > 1)
            check.kindConflict = true;
    }
    if (check.kindConflict)
        check.refusal = QStringLiteral("Please select only one of each package type.");
    if (perKind[0] + perKind[1] + perKind[2] + perKind[3] == 0)
        check.refusal = QStringLiteral("nothing is pre-selected: Install is disabled");
    if (!check.refusal.isEmpty())
        return;
    sortPackages(list);
    for (const UpdatePackage& record : qAsConst(list)) {
        if (!record.selected)
            continue;
        if (check.installed.size() > 0 && check.next != RestartAfterQuit) {
            check.leftOver << record.file.fileName();
            continue;
        }
        const CheckedPackage* row = rowOf(check, record);
        if (row->signature != CheckedPackage::Verified) {
            check.stoppedAt = record.file.fileName();
            check.refusal = row->signatureText;
            if (row->signature == CheckedPackage::NotChecked)
                check.next = QStringLiteral("unknown: a signature was not checked");
            return;
        }
        // The update log gains every package whose signature is accepted.
        check.logged << record.file.fileName();
        const QString stop = stoppingFault(*row);
        if (!stop.isEmpty()) {
            check.stoppedAt = record.file.fileName();
            check.refusal = stop;
            return;
        }
        check.installed << record.file.fileName();
        // A new installer or program ends the installation; what is pre-selected
        // after it waits for the next run.
        if (record.priority == KindInstaller)
            check.next = hasFinding(*row, FindingKind::HandOverFails) ? NoHandOver : HandOver;
        if (record.priority == KindProgram)
            check.next = QStringLiteral("reboot the device once the stick is removed");
    }
}

// Every finding, each with its stable kind: the stick's, each row's, Install's.
QList<StickFinding> listFindings(const StickCheck& check)
{
    QList<StickFinding> findings;
    if (check.truncated)
        findings.append({ "more-than-six", QString(), QStringLiteral("only the first packages by name are taken") });
    for (const CheckedPackage& row : check.rows) {
        const QString file = row.record.file.fileName();
        if (row.record.error != ErrorNone)
            findings.append({ "red-row", file, ScanReport::stateText(row.record) });
        else if (row.signature == CheckedPackage::Failed)
            findings.append({ "signature-fails", file, row.signatureText });
        else if (row.signature == CheckedPackage::NotChecked)
            findings.append({ "signature-not-checked", file, row.signatureText });
        for (const PackageFinding& finding : row.findings)
            findings.append({ finding.kind, file, findingLine(file, finding).mid(file.size() + 2) });
    }
    if (check.kindConflict)
        findings.append({ "kind-conflict", QString(), check.refusal });
    if (!check.rows.isEmpty() && check.logged.isEmpty() && check.stoppedAt.isEmpty() && !check.kindConflict)
        findings.append(
            { "nothing-preselected", QString(), QStringLiteral("Install is disabled: it installs nothing") });
    // After a hand-over the new installer scans the same stick and offers the rest
    // at once; after a reboot, or a hand-over that fails, nothing does.
    for (const QString& file : check.next == HandOver ? QStringList() : check.leftOver)
        findings.append({ "left-behind", file, QStringLiteral("pre-selected, but Install ends before it") });
    return findings;
}

QString indented(const QString& lines)
{
    QString text;
    for (const QString& line : lines.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        text += QStringLiteral("  ") + line + QLatin1Char('\n');
    return text;
}

QString signatureWord(const CheckedPackage& row)
{
    static const char* const words[] = { "not checked", "verified", "failed" };
    return QLatin1String(words[row.signature]);
}

// What the device's main application does when asked for its version.
QString programText(const CheckedDevice& device)
{
    if (device.program == CheckedDevice::Missing)
        return QStringLiteral("no /usr/local/bin/corvane");
    if (device.program == CheckedDevice::Hangs)
        return QStringLiteral("\"corvane -v\" never answers");
    const QString text = QStringLiteral("\"corvane -v\" answers \"%1\"").arg(device.programAnswer);
    return device.programExit == 0 ? text : text + QStringLiteral(" with exit status %1").arg(device.programExit);
}

QJsonValue textOrNull(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

} // namespace

StickCheck checkStick(const QString& stick, const CheckedDevice& device)
{
    StickCheck check;
    check.stick = stick;
    check.device = device;
    const QTemporaryDir deviceFiles;
    CUpdateCollector collector(CUpdateCollector::packageLimit, collectorEnvironment(deviceFiles, device));
    collector.scan(stick);
    check.found = collector.packages;
    check.truncated = collector.truncated;
    check.keyFile = UpdateKeys::forBsp(device.bsp);
    check.hostKey = hostKeyFor(check.keyFile, device);

    const MountedStick mounted(stick, check.hostKey);
    // The window shows the collector's list sorted once.
    QList<UpdatePackage> shown = collector.packages;
    if (!shown.isEmpty())
        sortPackages(shown);
    for (const UpdatePackage& record : qAsConst(shown)) {
        CheckedPackage row;
        row.record = record;
        verify(row, check, mounted);
        row.findings = packageFindings(record.file.absoluteFilePath());
        check.rows.append(row);
    }
    followInstall(check);
    check.findings = listFindings(check);
    check.findingCount = int(check.findings.size());
    return check;
}

QString checkReportText(const StickCheck& check)
{
    const CheckedDevice& device = check.device;
    QString text = QStringLiteral("Stick: %1\nDevice: BSP %2, %3, help files %4\n")
                       .arg(check.stick, device.bsp, programText(device),
                           device.helpVersion.isEmpty() ? QStringLiteral("without version.txt")
                                                        : QStringLiteral("version ") + device.helpVersion);
    text
        += QStringLiteral("Key: %1\n")
               .arg(check.keyFile.isNull()       ? QStringLiteral("none (no key for this BSP)")
                       : check.hostKey.isEmpty() ? check.keyFile + QStringLiteral(", not given")
                                                 : QStringLiteral("%1, given as %2").arg(check.keyFile, check.hostKey));
    text += QStringLiteral("\n== Packages found (rows as in the window)\n")
        + indented(ScanReport::table(check.found, check.truncated));

    QString signatures;
    QString findings;
    for (const CheckedPackage& row : check.rows) {
        if (row.record.error == ErrorNone)
            signatures += QStringLiteral("  %1: %2\n").arg(row.record.file.fileName(), row.signatureText);
        for (const PackageFinding& finding : row.findings)
            findings += QStringLiteral("  ") + findingLine(row.record.file.fileName(), finding) + QLatin1Char('\n');
    }
    text += QStringLiteral("\n== Signatures of the rows that can be ticked\n")
        + (signatures.isEmpty() ? QStringLiteral("  none\n") : signatures);
    text += QStringLiteral("\n== Package checks\n")
        + (findings.isEmpty() ? QStringLiteral("  no findings\n") : findings);

    text += QStringLiteral("\n== Install with the pre-selection\n");
    for (int i = 0; i < check.installed.size(); ++i)
        text += QStringLiteral("  %1. %2: installed\n").arg(i + 1).arg(check.installed.at(i));
    if (!check.stoppedAt.isEmpty())
        text += QStringLiteral("  %1. %2: %3\n")
                    .arg(check.installed.size() + 1)
                    .arg(check.stoppedAt,
                        check.next.startsWith(QLatin1String("unknown"))
                            ? check.refusal
                            : QStringLiteral("stops with \"%1\"").arg(check.refusal));
    else if (!check.refusal.isEmpty())
        text += QStringLiteral("  refused: %1\n").arg(check.refusal);
    for (const QString& archive : check.leftOver)
        text += QStringLiteral("  %1: not installed, pre-selected but left for the next run\n").arg(archive);
    text += QStringLiteral("  Next: %1\n").arg(check.next);
    text += QStringLiteral("\n== Findings: %1\n").arg(check.findingCount);
    for (const StickFinding& finding : check.findings) {
        const QString about = finding.file.isEmpty() ? QString() : finding.file + QStringLiteral(": ");
        text += QStringLiteral("  %1  %2%3\n").arg(QLatin1String(finding.kind), about, finding.text);
    }
    return text;
}

QJsonObject checkReportJson(const StickCheck& check)
{
    QJsonArray rows;
    for (const CheckedPackage& row : check.rows) {
        const UpdatePackage& record = row.record;
        QJsonArray findings;
        for (const PackageFinding& finding : row.findings)
            findings.append(QJsonObject {
                { "kind", QLatin1String(finding.kind) }, { "text", findingLine(record.file.fileName(), finding) } });
        rows.append(QJsonObject { { "file", record.file.fileName() }, { "shownAs", CMainWidget::typeName(record.name) },
            { "kind", record.priority },
            { "new", record.error == ErrorNone ? QJsonValue(record.version.toString()) : QJsonValue() },
            { "installed", record.installed.isUnknown() ? QJsonValue() : QJsonValue(record.installed.toString()) },
            { "state", ScanReport::stateText(record) }, { "preselected", record.selected },
            { "signature", signatureWord(row) }, { "signatureText", row.signatureText }, { "findings", findings } });
    }
    QJsonArray findings;
    for (const StickFinding& finding : check.findings) {
        findings.append(QJsonObject {
            { "kind", QLatin1String(finding.kind) }, { "file", textOrNull(finding.file) }, { "text", finding.text } });
    }
    const CheckedDevice& device = check.device;
    return QJsonObject {
        { "schema", PackCommands::JsonSchema },
        { "stick", check.stick },
        { "device",
            QJsonObject { { "bsp", device.bsp },
                { "programAnswer",
                    device.program == CheckedDevice::Answers ? QJsonValue(device.programAnswer) : QJsonValue() },
                { "programExit",
                    device.program == CheckedDevice::Answers ? QJsonValue(device.programExit) : QJsonValue() },
                { "helpVersion", textOrNull(device.helpVersion) }, { "keyFile", textOrNull(check.keyFile) },
                { "hostKey", textOrNull(check.hostKey) } } },
        { "truncated", check.truncated },
        { "rows", rows },
        { "install",
            QJsonObject { { "logged", QJsonArray::fromStringList(check.logged) },
                { "installed", QJsonArray::fromStringList(check.installed) },
                { "stoppedAt", textOrNull(check.stoppedAt) },
                { "leftOver", QJsonArray::fromStringList(check.leftOver) }, { "refusal", textOrNull(check.refusal) },
                { "next", check.next } } },
        { "findings", findings },
        { "findingCount", check.findingCount },
    };
}
