// pkgupdate-pack check: what the installer would do with a stick on a given
// device, found with its own collector, package order and signature check.
#include "discovery/cupdatecollector.h"
#include "system/csystem_vesta.h"
#include "tools/pack/packcommands.h"
#include "tools/pack/stickcheck.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QTextStream>
#include <QTranslator>

namespace {

const char* const HelpText = R"(Usage: pkgupdate-pack check [options] STICK

Shows what the installer would do with the update packages in the directory
STICK (the top directory of the USB stick) on the device the options describe,
without its window and without the device:
  - the packages it finds (at most %3), as the rows of its window: the name
    it shows, the kind, the new and the installed version, and whether the
    row is pre-selected (the newest package of its kind, newer than what is
    installed), not selected, or red with the window's reason (wrong BSP,
    missing signature file);
  - which signatures verify with the public key the device's BSP selects;
  - what the package checks find: links the installer handles badly, packages
    too large for the RAM disk or for the unpack time budget;
  - in which order Install would install the pre-selected packages, where it
    would stop and what the device does next.

Options (the defaults are those of the simulated device, so that
"pkgupdate-pack simulate" with the same options runs what check predicts):
  --bsp VERSION          the device's BSP version, as in its /proc/version
                         (default 1.36.0)
  --program-answer TEXT  what the device's main application prints for
                         "corvane -v", e.g. "3.2.1" or "Build 1234"
                         (default 3.0.0)
  --help-version V       the installed help files' version, the "version" key
                         of help/version.txt (default: no such file, so every
                         help-files package counts as newer)
  --key FILE             public key of BSP 1.7.0 and 1.36.0, kept on the
                         device as %1
  --key141 FILE          public key of BSP 1.41.0, kept on the device as
                         %2
                         (without the key the BSP selects, no signature is
                         checked, and that is reported as a finding)
  --json                 the report as JSON, for scripts
  -h, --help             this text

Example:
  pkgupdate-pack check /media/usb --bsp 1.41.0 --program-answer "Build 1234" \
      --help-version 3.0.0 --key141 keys/public.pem

Exit status:
  0  every pre-selected package would install cleanly; nothing to report
  1  findings: a red row, a signature that fails or was not checked, a package
     check's finding, two pre-selected packages of one kind, more than %3
     packages on the stick
  2  wrong arguments
)";

int usageError(const QString& text)
{
    QTextStream(stderr) << "pkgupdate-pack check: " << text << "\nSee pkgupdate-pack check --help.\n";
    return PackCommands::ExitUsage;
}

} // namespace

namespace PackCommands {

int check(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption help(QStringList { QStringLiteral("h"), QStringLiteral("help") });
    const QCommandLineOption bsp(QStringLiteral("bsp"), QString(), QStringLiteral("VERSION"));
    const QCommandLineOption programAnswer(QStringLiteral("program-answer"), QString(), QStringLiteral("TEXT"));
    const QCommandLineOption helpVersion(QStringLiteral("help-version"), QString(), QStringLiteral("V"));
    const QCommandLineOption key(QStringLiteral("key"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption key141(QStringLiteral("key141"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption json(QStringLiteral("json"));
    parser.addOptions({ help, bsp, programAnswer, helpVersion, key, key141, json });
    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help)) {
        QTextStream(stdout) << QString::fromLatin1(HelpText).arg(
            UpdateKeys::standardKey(), UpdateKeys::bsp141Key(), QString::number(CUpdateCollector::packageLimit));
        return ExitOk;
    }
    if (parser.positionalArguments().size() != 1)
        return usageError(QStringLiteral("give one STICK directory"));
    const QString stick = parser.positionalArguments().constFirst();
    if (!QDir(stick).exists())
        return usageError(QStringLiteral("no directory '%1'").arg(stick));

    CheckedDevice device;
    if (parser.isSet(bsp))
        device.bsp = parser.value(bsp);
    if (parser.isSet(programAnswer))
        device.programAnswer = parser.value(programAnswer);
    device.helpVersion = parser.value(helpVersion);
    for (const QString& file : { parser.value(key), parser.value(key141) }) {
        if (!file.isEmpty() && !QFileInfo(file).isFile())
            return usageError(QStringLiteral("no key file '%1'").arg(file));
    }
    // openssl gets absolute paths, as on the device.
    if (parser.isSet(key))
        device.key = QFileInfo(parser.value(key)).absoluteFilePath();
    if (parser.isSet(key141))
        device.key141 = QFileInfo(parser.value(key141)).absoluteFilePath();

    // The window's words as a technician reading English sees them; the
    // installer's own diagnostics are the device console's, not the report's.
    QTranslator english;
    if (english.load(QStringLiteral(":/lang/en")))
        QCoreApplication::installTranslator(&english);
    const QtMessageHandler previous
        = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const StickCheck result = checkStick(QDir(stick).absolutePath(), device);
    qInstallMessageHandler(previous);

    QTextStream out(stdout);
    if (parser.isSet(json))
        out << QJsonDocument(checkReportJson(result)).toJson();
    else
        out << checkReportText(result);
    return result.findingCount == 0 ? ExitOk : ExitFindings;
}

} // namespace PackCommands
