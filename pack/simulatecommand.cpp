#include "pack/commandline.h"
#include "pack/deviceoptions.h"
#include "pack/packagefindings.h"
#include "pack/packcommands.h"
#include "pack/stickcheck.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QTemporaryFile>
#include <QTextStream>

namespace PackCommands {

namespace {

const CCommandLine::Help SimulateHelp = {
    "[options] STICK",
    "Runs the real installer on a simulated device (a sandbox: nothing on this\n"
    "machine changes) with the packages of the directory STICK, works its window on\n"
    "a private X server as a technician would, and reports in plain text:\n"
    "  - the packages found, as the window lists them, with the pre-selection or the\n"
    "    reason why a package cannot be ticked;\n"
    "  - what pkgupdate-pack build warns about or refuses in the stick's packages;\n"
    "  - which packages were installed, in which order (update.log);\n"
    "  - every file the device gained, changed or lost, with its mode and checksum\n"
    "    or link target;\n"
    "  - the message line, the installer's output, its console lines;\n"
    "  - what the device does next: restart the application, start the new installer,\n"
    "    or reboot.\n"
    "Screenshots of the window before and after go to the output directory. It needs\n"
    "the build tree of the installer (pkgupdate, scan-report, the widget probe).",
    "Examples:\n"
    "  pkgupdate-pack simulate --bsp 1.36.0 --program-answer 3.1.0 \\\n"
    "      --help-version 3.0.0 --key keys/public.pem stick/\n"
    "  pkgupdate-pack simulate --untick ins-3.2.0-BSP-1.36.0.tar.bz2 \\\n"
    "      --key keys/public.pem stick/\n\n"
    "Exit status:\n"
    "  0  the run ended normally\n"
    "  1  the run did not end as it should: a non-zero status, no follow-up (the\n"
    "     application left stopped), an error in the message line or a box, a red\n"
    "     row, a package check's finding, files that could not be copied, nothing\n"
    "     pre-selected (unless --untick chose so), a pre-selected package left\n"
    "     behind by the reboot (the report's \"Did not end as it should\" section\n"
    "     says which)\n"
    "  2  wrong arguments\n"
    "  4  the run could not start\n",
};

// The options of the run itself.
const QList<CCommandLine::Option> RunOptions = {
    { "stick", "STICK", "the stick's directory, instead of the last argument" },
    { "out", "DIR", "report, screenshots and the device's files (default:\na new directory simulate.XXXXXX here)" },
    { "report", "FILE", "also write the report to FILE" },
    { "build", "DIR", "build tree with the installer (default: the one this\ncommand was built in)" },
    { "tick", "FILE", "tick the package FILE (archive name) before installing" },
    { "untick", "FILE", "untick the package FILE before installing" },
    { "quit", nullptr, "press Quit instead of Install" },
    { "interactive", nullptr, "show the window on $DISPLAY and let the user work it" },
};

QList<CCommandLine::Option> simulateOptions()
{
    return RunOptions + DeviceOptions::options();
}

// The findings of the stick's archives, one line each, as the build command prints them.
bool writeFindings(const QString& stick, QTemporaryFile& file)
{
    if (!file.open())
        return false;
    QTextStream out(&file);
    const QDir directory(stick);
    const QStringList archives
        = directory.entryList({ QStringLiteral("*.tar.bz2") }, QDir::Files | QDir::Hidden, QDir::Name);
    for (const QString& archive : archives) {
        for (const PackageFinding& finding : packageFindings(directory.filePath(archive)))
            out << findingLine(archive, finding) << '\n';
    }
    out.flush();
    file.close();
    return true;
}

// Where the run's pieces are: beside an installed pkgupdate-pack, in
// <prefix>/lib/pkgupdate-pack laid out as the source and build trees are, else in
// the trees this one was built from.
struct RunFiles {
    QString stickRun;
    QString build;
};

RunFiles runFiles()
{
    const QString installed
        = QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../lib/pkgupdate-pack"));
    if (QFileInfo::exists(installed + QStringLiteral("/simdevice/stick-run")))
        return { installed + QStringLiteral("/simdevice/stick-run"), installed };
    return { QStringLiteral(PKGUPDATE_SOURCE_DIR "/simdevice/stick-run"), QStringLiteral(PKGUPDATE_BINARY_DIR) };
}

// The run's own options as the stick run takes them, in the long form, and the
// device as read once here (a --config file included).
QStringList runArguments(const CCommandLine& commandLine, const CheckedDevice& device)
{
    QStringList arguments;
    for (const CCommandLine::Option& option : RunOptions) {
        const QString flag = QStringLiteral("--") + QLatin1String(option.name);
        if (!option.valueName && commandLine.isSet(option.name))
            arguments << flag;
        for (const QString& value : option.valueName ? commandLine.values(option.name) : QStringList())
            arguments << flag << value;
    }
    if (!commandLine.isSet("build"))
        arguments << QStringLiteral("--build") << runFiles().build;
    return arguments + DeviceOptions::arguments(device) + commandLine.positional();
}

} // namespace

int simulate(const QStringList& arguments)
{
    CCommandLine commandLine(QStringLiteral("simulate"), SimulateHelp, simulateOptions());
    const int parsed = commandLine.parse(arguments);
    if (parsed >= 0)
        return parsed;
    const QStringList sticks = commandLine.positional() + commandLine.values("stick");
    if (sticks.size() != 1)
        return commandLine.usageError(QStringLiteral("needs exactly one STICK"));
    if (!QFileInfo(sticks.constFirst()).isDir())
        return commandLine.usageError(QStringLiteral("no directory '%1'").arg(sticks.constFirst()));
    // The device is read here once, as check reads it, and handed on resolved.
    CheckedDevice device;
    const QString wrongDevice = DeviceOptions::read(commandLine, device);
    if (!wrongDevice.isEmpty())
        return commandLine.usageError(wrongDevice);
    QTemporaryFile findings;
    if (!writeFindings(sticks.constFirst(), findings)) {
        QTextStream(stderr) << "pkgupdate-pack simulate: cannot write a temporary file\n";
        return ExitFailed;
    }
    // The run itself: the device sandbox and the window driver, shell tools both.
    QProcess run;
    run.setProcessChannelMode(QProcess::ForwardedChannels);
    run.setInputChannelMode(QProcess::ForwardedInputChannel);
    run.start(runFiles().stickRun,
        QStringList { QStringLiteral("--checks"), findings.fileName() } + runArguments(commandLine, device));
    if (!run.waitForFinished(-1) || run.exitStatus() != QProcess::NormalExit) {
        QTextStream(stderr) << "pkgupdate-pack simulate: " << run.errorString() << '\n';
        return ExitFailed;
    }
    return run.exitCode();
}

} // namespace PackCommands
