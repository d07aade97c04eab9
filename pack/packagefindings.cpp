#include "pack/packagefindings.h"

#include "discovery/cupdatecollector.h"
#include "discovery/updatepackage.h"
#include "install/cworker.h"
#include "install/updateconf.h"
#include "pack/externaltool.h"
#include "settings/cinitfile.h"
#include "system/csystem_vesta.h"

#include <algorithm>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryFile>

namespace {

const qint64 MB = 1024 * 1024;
// The slowest rate at which the device is assumed to write unpacked bytes.
const qint64 DeviceUnpackBytesPerS = 1 * MB;
// tmpfs keeps every file in whole pages.
const qint64 Page = 4096;
// The installed installer, which the hand-over starts with the stick's path.
const QString InstalledInstaller = CSystemTemplate::standardInstallerPath();

using Member = PackageMember;

// A name as "tar --quoting-style=c" writes it, without its double quotes.
QString unquoted(const QString& quoted)
{
    static const QByteArray from = "abfnrtv";
    static const QByteArray to = "\a\b\f\n\r\t\v";
    const QByteArray in = quoted.toUtf8();
    QByteArray out;
    for (int i = 0; i < in.size(); ++i) {
        if (in.at(i) != '\\' || i + 1 == in.size()) {
            out += in.at(i);
        } else if (in.at(i + 1) >= '0' && in.at(i + 1) <= '7') {
            out += char(in.mid(i + 1, 3).toInt(nullptr, 8));
            i += 3;
        } else {
            const int escaped = from.indexOf(in.at(++i));
            out += escaped < 0 ? in.at(i) : to.at(escaped);
        }
    }
    return QString::fromUtf8(out);
}

// The member's path inside the package: leading slashes gone, "." and ".." resolved.
QString memberPath(QString name)
{
    while (name.startsWith(QLatin1Char('/')))
        name.remove(0, 1);
    const QString path = QDir::cleanPath(name);
    return path.isEmpty() ? QStringLiteral(".") : path;
}

QString parentOf(const QString& path)
{
    const int slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QStringLiteral(".") : path.left(slash);
}

} // namespace

bool packageMembers(const QString& archivePath, QList<Member>& members, QString& failure)
{
    const ExternalRun tar = runExternal(QStringLiteral("tar"),
        { QStringLiteral("--list"), QStringLiteral("--verbose"), QStringLiteral("--bzip2"),
            QStringLiteral("--numeric-owner"), QStringLiteral("--quoting-style=c"), QStringLiteral("--file"),
            archivePath });
    if (!tar.ok) {
        failure = tar.failure;
        return false;
    }
    // mode owner/group size (or major,minor) date time "name" [-> "target" | link to "name"]
    static const QRegularExpression line(QStringLiteral(
        R"re(^(\S)(\S*)\s+\S+\s+(\d+)(?:,\s*\d+)?\s+\S+\s+\S+\s+"((?:[^"\\]|\\.)*)"(?:\s+(?:->|link to)\s+"((?:[^"\\]|\\.)*)")?$)re"));
    for (const QString& text : QString::fromUtf8(tar.output).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch match = line.match(text);
        if (!match.hasMatch()) {
            failure = QStringLiteral("tar lists a line that is not understood: ") + text;
            return false;
        }
        const QString stored = unquoted(match.captured(4));
        members.append({ match.captured(1).at(0), match.captured(3).toLongLong(), memberPath(stored),
            unquoted(match.captured(5)), stored, match.captured(2) });
    }
    return true;
}

namespace {

// Directories of the package, also those only implied by the paths below them.
QSet<QString> directoriesOf(const QList<Member>& members)
{
    QSet<QString> directories { QStringLiteral(".") };
    for (const Member& member : members) {
        if (member.type == QLatin1Char('d'))
            directories.insert(member.path);
        for (QString path = member.path; path != QLatin1String("."); directories.insert(path))
            path = parentOf(path);
    }
    return directories;
}

// After an installation the installer clears its unpack directory and descends
// into links to directories, so it empties the directory such a link names (a
// link to the share directory removes the public keys, and no stick verifies
// again); a target outside the package cannot be known not to be a directory.
QList<PackageFinding> linkFindings(const QList<Member>& members)
{
    const QSet<QString> directories = directoriesOf(members);
    QSet<QString> files;
    for (const Member& member : members) {
        if (member.type == QLatin1Char('-'))
            files.insert(member.path);
    }
    QList<PackageFinding> findings;
    for (const Member& member : members) {
        if (member.type != QLatin1Char('l'))
            continue;
        const QString parent = parentOf(member.path);
        const QString target = QDir::cleanPath(
            parent == QLatin1String(".") ? member.linkTarget : parent + QLatin1Char('/') + member.linkTarget);
        const QString quotedPath = QLatin1Char('\'') + member.path + QLatin1Char('\'');
        if (member.linkTarget.startsWith(QLatin1Char('/')) || target == QLatin1String("..")
            || target.startsWith(QLatin1String("../"))) {
            QString text = QStringLiteral("link %1 points out of the package (%2)").arg(quotedPath, member.linkTarget);
            // Unpacked, an absolute link names the device's file, not the package's.
            const QString absolute = QDir::cleanPath(member.linkTarget).mid(1);
            if (member.linkTarget.startsWith(QLatin1Char('/')) && files.contains(absolute)) {
                text += QStringLiteral(": to the package's own file, write it relative: '%1'")
                            .arg(QDir(QLatin1Char('/') + parent).relativeFilePath(QLatin1Char('/') + absolute));
            }
            findings.append({ PackageFinding::Refusal, text, "link-out-of-package" });
        } else if (directories.contains(target)) {
            findings.append({ PackageFinding::Refusal,
                QStringLiteral("link %1 is a link to a directory (%2)").arg(quotedPath, member.linkTarget),
                "link-to-directory" });
        }
    }
    return findings;
}

QString sizeText(qint64 count)
{
    if (count >= MB)
        return QStringLiteral("%1 MB").arg(count / MB);
    if (count >= 1024)
        return QStringLiteral("%1 KB").arg(count / 1024);
    return QStringLiteral("%1 bytes").arg(count);
}

// The unpacked tree must fit the enlarged RAM disk, and the device must unpack it
// within its budget, which grows with the archive's size only: the installer
// takes a time-out as success and installs the truncated files.
QList<PackageFinding> sizeFindings(const QList<Member>& members, qint64 archiveBytes)
{
    qint64 unpacked = 0;
    for (const Member& member : members) {
        if (member.type == QLatin1Char('-'))
            unpacked += (member.size + Page - 1) / Page * Page;
    }
    QList<PackageFinding> findings;
    if (unpacked > kTmpfsBiggerMb * MB) {
        findings.append({ PackageFinding::Warning,
            QStringLiteral("unpacks to %1, more than the %2 MB RAM disk holds")
                .arg(sizeText(unpacked))
                .arg(kTmpfsBiggerMb),
            "larger-than-ram-disk" });
    }
    const double budgetS = SystemBudgets().unpackBudgetMs(archiveBytes) / 1000.0;
    const double neededS = double(unpacked) / DeviceUnpackBytesPerS;
    if (neededS > budgetS) {
        findings.append({ PackageFinding::Warning,
            QStringLiteral("unpacks %1 from %2; at %3 MB/s that takes %4 s, more than its %5 s unpack budget, "
                           "and a time-out installs truncated files")
                .arg(sizeText(unpacked), sizeText(archiveBytes))
                .arg(DeviceUnpackBytesPerS / MB)
                .arg(neededS, 0, 'f', 0)
                .arg(budgetS, 0, 'f', 0),
            "unpack-time" });
    }
    return findings;
}

// The member stored at path, links not followed; nullptr when there is none.
const Member* memberAt(const QList<Member>& members, const QString& path)
{
    const auto found
        = std::find_if(members.begin(), members.end(), [&path](const Member& member) { return member.path == path; });
    return found == members.end() ? nullptr : &*found;
}

// What a copy finds at a path of the package: links inside it followed.
const Member* fileAt(const QList<Member>& members, QString path)
{
    const Member* member = memberAt(members, path);
    for (int hops = 0; member && member->type == QLatin1Char('l') && hops < 16; ++hops) {
        const QString parent = parentOf(member->path);
        path = QDir::cleanPath(
            parent == QLatin1String(".") ? member->linkTarget : parent + QLatin1Char('/') + member->linkTarget);
        member = memberAt(members, path);
    }
    return member && member->type != QLatin1Char('l') ? member : nullptr;
}

// A member's contents, from the archive without unpacking the rest.
QByteArray contentsOf(const QString& archivePath, const Member& member)
{
    return runExternal(QStringLiteral("tar"),
        { QStringLiteral("--extract"), QStringLiteral("--to-stdout"), QStringLiteral("--bzip2"),
            QStringLiteral("--file"), archivePath, QStringLiteral("--"), member.stored })
        .output;
}

// The contents as a file, for the installer's own readers, which take a path.
struct MemberFile {
    QTemporaryFile file;
    MemberFile(const QString& archivePath, const Member& member)
    {
        if (file.open()) {
            file.write(contentsOf(archivePath, member));
            file.close();
        }
    }
    [[nodiscard]] QString path() const { return file.fileName(); }
};

PackageFinding fault(const char* kind, const QString& text)
{
    return { PackageFinding::Fault, text, kind };
}

// The device copies files, links and directories: a tree leaves a named pipe or a
// device node out, and a listed one fails to copy.
QList<PackageFinding> specialFileFindings(const QList<Member>& members)
{
    static const QString special = QStringLiteral("pcb");
    QList<PackageFinding> findings;
    for (const Member& member : members) {
        if (special.contains(member.type)) {
            findings << fault("special-file",
                QStringLiteral("'%1' is a named pipe or a device node (type %2): the device does not copy it")
                    .arg(member.path, member.type));
        }
    }
    return findings;
}

// The installer's DELETE rule, with the device's links unknown to the host: the
// path is resolved lexically.
bool deleteRefused(const QString& path)
{
    const QStringList kept { QFileInfo(UpdateKeys::standardKey()).path(), UpdateKeys::standardKey(),
        UpdateKeys::bsp141Key(), InstalledInstaller };
    return !deletePathAllowed(path, kept, QDir::cleanPath);
}

// Where each file of the package lands on the device: its path there and the
// package's member copied to it (tree mode copies links as links).
struct Placement {
    QString devicePath;
    const Member* member;
};

// Files mode: each FILE_LIST name copied (links followed) to its DEST_FILEn.
QList<PackageFinding> placeListed(
    const QMap<QString, QString>& script, const QList<Member>& members, QList<Placement>& placed)
{
    QList<PackageFinding> findings;
    const QStringList names = script.value(QStringLiteral("FILE_LIST")).split(QLatin1Char(' '));
    for (int number = 1; number <= names.size(); ++number) {
        const QString name = names.at(number - 1);
        const QString directory = script.value(QStringLiteral("DEST_FILE%1").arg(number));
        const Member* stored = name.isEmpty() ? nullptr : memberAt(members, memberPath(name));
        const Member* member = name.isEmpty() ? nullptr : fileAt(members, memberPath(name));
        if (directory.isEmpty() || QDir::isRelativePath(directory)) {
            findings << fault("destination-not-absolute",
                QStringLiteral("DEST_FILE%1 is '%2', not an absolute directory: the device copies '%3' to '%4'")
                    .arg(number)
                    .arg(directory, name, directory + QLatin1Char('/') + name));
        }
        if (member && member->type == QLatin1Char('-')) {
            placed.append({ QDir::cleanPath(QLatin1Char('/') + directory + QLatin1Char('/') + name), member });
        } else if (stored && stored->type == QLatin1Char('l')) {
            findings << fault("dangling-link",
                QStringLiteral("'%1' is a link that names no file of the package: the device copies nothing to %2 "
                               "(give the file itself)")
                    .arg(name, directory));
        } else {
            findings << fault("copy-fails",
                QStringLiteral("FILE_LIST's name %1 '%2' is no file of the package: its copy fails")
                    .arg(number)
                    .arg(name));
        }
    }
    return findings;
}

// A new installer is started as "/usr/local/bin/pkgupdate STICK": that file must
// be an executable launcher script, as the installer itself refuses a lone path.
QList<PackageFinding> handOverFindings(
    const QString& archivePath, const QList<Member>& members, const QList<Placement>& placed)
{
    for (const Placement& placement : placed) {
        if (placement.devicePath != InstalledInstaller)
            continue;
        const Member* member = fileAt(members, placement.member->path);
        const QChar ownerExecute = member && member->permissions.size() > 2 ? member->permissions.at(2) : QChar();
        if (ownerExecute != QLatin1Char('x') && ownerExecute != QLatin1Char('s')) {
            return { fault(FindingKind::HandOverFails,
                QStringLiteral("%1 is not executable: the device cannot start the new installer and its "
                               "application stays stopped")
                    .arg(InstalledInstaller)) };
        }
        if (!contentsOf(archivePath, *member).startsWith("#!")) {
            return { fault(FindingKind::HandOverFails,
                QStringLiteral("%1 is not a launcher script: the hand-over starts it with the stick's path alone, "
                               "which the installer refuses (exit 3, \"Unknowen parameter\"), and the device's "
                               "application stays stopped; install a launcher there that starts the installer "
                               "with -qws and the path")
                    .arg(InstalledInstaller)) };
        }
        return {};
    }
    return { fault(FindingKind::HandOverFails,
        QStringLiteral("the package brings no %1: the hand-over starts the installed installer with the stick's "
                       "path alone, which it refuses (exit 3, \"Unknowen parameter\"), and the device's "
                       "application stays stopped")
            .arg(InstalledInstaller)) };
}

// The installed help files' version is read from the version.txt they bring.
QList<PackageFinding> helpVersionFindings(
    const QString& archivePath, const QList<Placement>& placed, const CVersion& named)
{
    const QString versionFile = CollectorEnvironment().helpVersionFile;
    for (const Placement& placement : placed) {
        if (placement.devicePath != versionFile)
            continue;
        MemberFile file(archivePath, *placement.member);
        QString path = file.path();
        const CVersion brought = ReadVersion(path, QStringLiteral("version"));
        if (brought != named) {
            return { fault("help-version-differs",
                QStringLiteral("%1 says version %2, the name %3: once installed the device reads %2")
                    .arg(versionFile, brought.toString(), named.toString())) };
        }
    }
    return {};
}

// What the installer would get wrong following the package's UPDATE.CONF, read
// with its own reader.
QList<PackageFinding> scriptFindings(const QString& archivePath, const QList<Member>& members)
{
    const Member* conf = fileAt(members, QLatin1String(kUpdateConfName));
    if (!conf || conf->type != QLatin1Char('-'))
        return { fault(FindingKind::UpdateConfMissing,
            QStringLiteral("no UPDATE.CONF at the top: the device stops with \"UPDATE.CONF not found!\"")) };
    const QMap<QString, QString> script = packageScript(archivePath, members);
    QList<PackageFinding> findings;
    const QString remove = script.value(QStringLiteral("DELETE"));
    if (deleteRefused(remove)) {
        findings << fault(FindingKind::DeleteRefused,
            QStringLiteral("the installer refuses DELETE '%1' (\"File delete error!\", nothing installed): it takes "
                           "an absolute directory that holds neither the keys nor the installer")
                .arg(remove));
    }
    QList<Placement> placed;
    if (script.contains(QStringLiteral("DEST_FILE1"))) {
        findings << placeListed(script, members, placed);
    } else {
        for (const Member& member : members)
            placed.append({ QLatin1Char('/') + member.path, &member });
    }
    UpdatePackage record { QFileInfo(archivePath) };
    parseName(record, QString());
    if (record.priority == KindInstaller)
        findings << handOverFindings(archivePath, members, placed);
    if (record.priority == KindHelpFiles)
        findings << helpVersionFindings(archivePath, placed, record.version);
    return findings;
}

} // namespace

QMap<QString, QString> packageScript(const QString& archivePath, const QList<PackageMember>& members)
{
    const Member* conf = fileAt(members, QLatin1String(kUpdateConfName));
    if (!conf || conf->type != QLatin1Char('-'))
        return {};
    MemberFile confFile(archivePath, *conf);
    return readUpdateConf(confFile.path());
}

QList<PackageFinding> nameFindings(const QString& archiveName)
{
    QList<PackageFinding> findings;
    static const QRegularExpression blank(QStringLiteral("\\s"));
    if (archiveName.contains(blank)) {
        findings << fault("blank-in-name",
            QStringLiteral("the file name holds a blank: the device's signature check (openssl) splits its command "
                           "there and fails; rename the package"));
    }
    UpdatePackage record { QFileInfo(archiveName) };
    parseName(record, QString());
    // The device's own reading: a.b.c shows as it is written, one number as "Build N".
    static const QRegularExpression oneNumber(QStringLiteral("^\\d+$"));
    const QString written = oneNumber.match(record.versionText).hasMatch()
        ? QStringLiteral("Build ") + record.versionText
        : record.versionText;
    const QString read = record.selected ? record.version.toString() : QStringLiteral("unknown");
    if (record.priority != KindUnrecognised && read != written) {
        findings << fault("version-read-differently",
            QStringLiteral("the device reads the version '%1' as %2 (it reads a.b.c or one number, in decimal "
                           "without leading zeros, each at most 2147483647)")
                .arg(record.versionText, read));
    }
    // An old-style "pkg" package has no BSP of its own here: it fits every device.
    if (record.priority != KindUnrecognised && !record.bsp.isEmpty() && UpdateKeys::forBsp(record.bsp).isNull()) {
        findings << fault("bsp-without-key",
            QStringLiteral("no device takes BSP '%1': devices have a signature key only for BSP %2")
                .arg(record.bsp, UpdateKeys::knownBsps().join(QStringLiteral(", "))));
    }
    return findings;
}

QList<PackageFinding> packageFindings(const QString& archivePath)
{
    QList<Member> members;
    QString failure;
    if (!packageMembers(archivePath, members, failure))
        return { { PackageFinding::Unreadable, failure, "unreadable" } };
    return linkFindings(members) + sizeFindings(members, QFileInfo(archivePath).size())
        + nameFindings(QFileInfo(archivePath).fileName()) + specialFileFindings(members)
        + scriptFindings(archivePath, members);
}

QString findingLine(const QString& archiveName, const PackageFinding& finding)
{
    static const char* const words[] = { "refused", "warning", "unreadable", "fails on the device" };
    return QStringLiteral("%1: %2: %3").arg(archiveName, QLatin1String(words[finding.severity]), finding.text);
}
