// pkgupdate-pack info: what a package holds and whether its signature verifies,
// read without unpacking it.
#include "pack/commandline.h"
#include "pack/packagefindings.h"
#include "pack/packcommands.h"
#include "pack/scanreport.h"
#include "pack/stickcheck.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace PackCommands {

namespace {

const CCommandLine::Help InfoHelp = {
    "[options] PACKAGE",
    "Shows what the update package PACKAGE holds, read without unpacking it: the kind,\n"
    "version and BSP the installer reads from its file name, its UPDATE.CONF as the\n"
    "installer reads it, every member with its mode, size and link target, the size\n"
    "unpacked, the package checks' findings, and whether its signature\n"
    "(PACKAGE.sha1) verifies as the device verifies it.",
    "Example:\n"
    "  pkgupdate-pack info stick/bin-3.2.1-BSP-1.36.0.tar.bz2 --key keys/public.pem\n\n"
    "Exit status:\n"
    "  0  shown; the signature verifies, or no --key was given\n"
    "  1  the signature does not verify with --key\n"
    "  2  wrong arguments\n"
    "  4  the archive cannot be listed\n\n"
    "--json writes the same as an object (\"schema\": 1; null where a value is unknown).\n",
};

const QList<CCommandLine::Option> InfoOptions = {
    { "key", "PUBLIC.pem", "public key to verify the signature with (default: not\nchecked)" },
    { "json", nullptr, "the information as JSON, for scripts" },
};

// What info shows, gathered once for both forms.
struct PackageInfo {
    UpdatePackage record;
    QMap<QString, QString> script;
    QList<PackageMember> members;
    qint64 unpacked = 0;
    QList<PackageFinding> findings;
    QString verdict; // "verified", "failed", "not checked"
    QString signatureText;
};

QString modeText(const PackageMember& member)
{
    return member.type + member.permissions;
}

QString infoText(const PackageInfo& info)
{
    QString text;
    QTextStream out(&text);
    out << "Package: " << info.record.file.fileName() << '\n'
        << "Kind: " << info.record.priority << ' ' << ScanReport::kindName(info.record.priority) << '\n'
        << "Version: " << info.record.versionText << '\n'
        << "BSP: " << info.record.bsp << '\n'
        << "Signature: " << info.verdict << (info.signatureText.isEmpty() ? QString() : ": " + info.signatureText)
        << "\nUPDATE.CONF:" << (info.script.isEmpty() ? " none\n" : "\n");
    for (auto key = info.script.cbegin(); key != info.script.cend(); ++key)
        out << "  " << key.key() << " = " << key.value() << '\n';
    out << "Members: " << info.members.size() << ", " << info.unpacked << " bytes unpacked\n";
    for (const PackageMember& member : info.members) {
        out << "  " << modeText(member) << QStringLiteral("%1").arg(member.size, 11) << "  " << member.path
            << (member.type == QLatin1Char('l') ? " -> " + member.linkTarget : QString()) << '\n';
    }
    out << "Findings:" << (info.findings.isEmpty() ? " none\n" : "\n");
    for (const PackageFinding& finding : info.findings)
        out << "  " << findingLine(info.record.file.fileName(), finding) << '\n';
    return text;
}

QJsonObject infoJson(const PackageInfo& info)
{
    QJsonObject script;
    for (auto key = info.script.cbegin(); key != info.script.cend(); ++key)
        script.insert(key.key(), key.value());
    QJsonArray members, findings;
    for (const PackageMember& member : info.members) {
        members.append(QJsonObject { { "path", member.path }, { "mode", modeText(member) }, { "size", member.size },
            { "linkTarget", member.type == QLatin1Char('l') ? QJsonValue(member.linkTarget) : QJsonValue() } });
    }
    for (const PackageFinding& finding : info.findings)
        findings.append(QJsonObject { { "kind", QLatin1String(finding.kind) }, { "text", finding.text } });
    return QJsonObject { { "schema", JsonSchema }, { "file", info.record.file.fileName() },
        { "kind", ScanReport::kindName(info.record.priority) }, { "version", info.record.versionText },
        { "bsp", info.record.bsp }, { "updateConf", info.script.isEmpty() ? QJsonValue() : QJsonValue(script) },
        { "members", members }, { "unpackedSize", info.unpacked },
        { "signature",
            QJsonObject { { "verdict", info.verdict },
                { "text", info.signatureText.isEmpty() ? QJsonValue() : QJsonValue(info.signatureText) } } },
        { "findings", findings } };
}

} // namespace

int info(const QStringList& arguments)
{
    CCommandLine commandLine(QStringLiteral("info"), InfoHelp, InfoOptions);
    const int parsed = commandLine.parse(arguments);
    if (parsed >= 0)
        return parsed;
    if (commandLine.positional().size() != 1)
        return commandLine.usageError(QStringLiteral("needs exactly one PACKAGE"));
    const QString package = commandLine.positional().constFirst();
    if (!QFileInfo(package).isFile())
        return commandLine.usageError(QStringLiteral("no file '%1'").arg(package));
    PackageInfo info;
    info.record = UpdatePackage(QFileInfo(package));
    parseName(info.record, QString());
    QString failure;
    if (!packageMembers(package, info.members, failure)) {
        QTextStream(stderr) << "pkgupdate-pack info: " << failure << '\n';
        return ExitFailed;
    }
    for (const PackageMember& member : qAsConst(info.members))
        info.unpacked += member.type == QLatin1Char('-') ? member.size : 0;
    info.script = packageScript(package, info.members);
    info.findings = packageFindings(package);
    const QString key = commandLine.value("key");
    info.verdict = key.isEmpty() ? QStringLiteral("not checked") : QStringLiteral("verified");
    if (key.isEmpty())
        info.signatureText = QStringLiteral("give --key FILE");
    else if (!verifyAsDevice(package, key, info.signatureText))
        info.verdict = QStringLiteral("failed");
    QTextStream out(stdout);
    if (commandLine.isSet("json"))
        out << QJsonDocument(infoJson(info)).toJson();
    else
        out << infoText(info);
    return info.verdict == QLatin1String("failed") ? ExitFindings : ExitOk;
}

} // namespace PackCommands
