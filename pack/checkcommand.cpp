// pkgupdate-pack check: what the installer would do with a stick on a given
// device, found with its own collector, package order and signature check.
#include "discovery/cupdatecollector.h"
#include "pack/commandline.h"
#include "pack/deviceoptions.h"
#include "pack/packcommands.h"
#include "pack/stickcheck.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QTextStream>
#include <QTranslator>

namespace {

CCommandLine::Help checkHelp()
{
    const QString limit = QString::number(CUpdateCollector::packageLimit);
    return {
        QStringLiteral("[options] STICK"),
        QStringLiteral("Shows what the installer would do with the update packages in the directory\n"
                       "STICK (the top directory of the USB stick) on the device the options describe,\n"
                       "without its window and without the device:\n"
                       "  - the packages it finds (at most %1), as the rows of its window: the name\n"
                       "    it shows, the kind, the new and the installed version, and whether the\n"
                       "    row is pre-selected (the newest package of its kind, newer than what is\n"
                       "    installed), not selected, or red with the window's reason (wrong BSP,\n"
                       "    missing signature file);\n"
                       "  - which signatures verify with the public key the device's BSP selects,\n"
                       "    with the stick where the device has it (/media/usb, no blanks);\n"
                       "  - what the package checks find: links the installer handles badly, packages\n"
                       "    too large for the RAM disk or for the unpack time budget, and what the\n"
                       "    device would refuse or get wrong: a DELETE it refuses, a destination that\n"
                       "    is not absolute, a copy that fails (a missing file, a link naming no file\n"
                       "    of the package), an installer that would not start on the hand-over, a\n"
                       "    help version.txt that differs from the name, a blank in a file name, a\n"
                       "    version it reads differently, a BSP no device has a key for, a named\n"
                       "    pipe or a device node;\n"
                       "  - in which order Install would install the pre-selected packages, where it\n"
                       "    would stop and what the device does next.\n"
                       "The defaults of the device options are those of the simulated device, so that\n"
                       "pkgupdate-pack simulate with the same options runs what check predicts.")
            .arg(limit),
        QStringLiteral("Example:\n"
                       "  pkgupdate-pack check /media/usb --bsp 1.41.0 --program-answer \"Build 1234\" \\\n"
                       "      --help-version 3.0.0 --key141 keys/public.pem\n\n"
                       "Exit status:\n"
                       "  0  one press of Install would install every pre-selected package cleanly;\n"
                       "     nothing to report\n"
                       "  1  findings: a red row, a signature that fails or was not checked, a package\n"
                       "     check's finding, two pre-selected packages of one kind, a pre-selected\n"
                       "     package left behind by the reboot a new program ends Install with (or\n"
                       "     by a hand-over that fails), nothing pre-selected, more than %1\n"
                       "     packages on the stick; the same stick and options make\n"
                       "     pkgupdate-pack simulate exit 1 too\n"
                       "  2  wrong arguments, or a wrong line in the --config file\n\n"
                       "--json writes an object with \"schema\": 1, the device, the rows, the install\n"
                       "and \"findings\": a list of {\"kind\", \"file\", \"text\"}, kind a stable name\n"
                       "such as \"signature-fails\" or \"delete-refused\"; unknown values are null.\n")
            .arg(limit),
    };
}

} // namespace

namespace PackCommands {

int check(const QStringList& arguments)
{
    CCommandLine commandLine(QStringLiteral("check"), checkHelp(),
        DeviceOptions::options()
            + QList<CCommandLine::Option> { { "json", nullptr, QStringLiteral("the report as JSON, for scripts") } });
    const int parsed = commandLine.parse(arguments);
    if (parsed >= 0)
        return parsed;
    if (commandLine.positional().size() != 1)
        return commandLine.usageError(QStringLiteral("needs exactly one STICK"));
    const QString stick = commandLine.positional().constFirst();
    if (!QDir(stick).exists())
        return commandLine.usageError(QStringLiteral("no directory '%1'").arg(stick));
    CheckedDevice device;
    const QString wrongDevice = DeviceOptions::read(commandLine, device);
    if (!wrongDevice.isEmpty())
        return commandLine.usageError(wrongDevice);

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
    if (commandLine.isSet("json"))
        out << QJsonDocument(checkReportJson(result)).toJson();
    else
        out << checkReportText(result);
    return result.findingCount == 0 ? ExitOk : ExitFindings;
}

} // namespace PackCommands
