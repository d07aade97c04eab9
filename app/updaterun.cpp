#include "app/updaterun.h"

#include "app/commandline.h"
#include "app/toolkitstart.h"
#include "discovery/cupdatecollector.h"
#include "install/creplacementbatch.h"
#include "install/cworker.h"
#include "system/csystemtemplate.h"
#include "system/exitstatus.h"
#include "system/removetree.h"
#include "ui/cmainwidget.h"

#include <QApplication>
#include <QCursor>
#include <QDebug>
#include <QFontDatabase>
#include <QGenericPluginFactory>
#include <QIcon>
#include <QPixmap>
#include <QScreen>
#include <QTextStream>
#include <QThread>

#include <cstdio>
#include <memory>

namespace {

QStringList argumentsOf(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

// Answers the command lines that do not start an update run.
int answerQuery(const CommandLine& line, const ProcessObjects& objects)
{
    switch (line.action) {
    case CommandLine::MissingArgument:
        qCritical("argc<2");
        return ExitStatus::MissingArgument;
    case CommandLine::PrintVersion:
        QTextStream(stdout) << objects.installerVersion.toString() << '\n';
        return ExitStatus::Done;
    case CommandLine::PrintBuild:
        QTextStream(stdout) << objects.installerBuild.toString() << '\n';
        return ExitStatus::Done;
    default:
        QTextStream(stderr) << "!!! ERROR  Unknowen parameter : " << line.argument << '\n';
        return ExitStatus::UnknownParameter;
    }
}

// The parts of QWS_MOUSE_PROTO, read before the toolkit starts.
QStringList mouseProtocolParts()
{
    return QString::fromLocal8Bit(qgetenv("QWS_MOUSE_PROTO")).split(QLatin1Char(' '));
}

// The console line of a start without a screen.
void reportNoScreen(const QString& platform, const QString& frameBuffer, const QString& error = QString())
{
    QString text = QStringLiteral("No screen: platform \"%1\"").arg(platform);
    if (!frameBuffer.isEmpty())
        text += QStringLiteral(", frame buffer \"%1\"").arg(frameBuffer);
    if (!error.isEmpty())
        text += QStringLiteral(": ") + error;
    qCritical("%s", qPrintable(text));
}

// Makes the application object from the unchanged arguments; started as on the
// panel, on its frame buffer with the touch input QWS_MOUSE_PROTO names. Null,
// after a console line naming the platform and frame buffer, when there is no
// screen: a frame buffer the platform cannot use is found before the toolkit
// tries it, as some toolkit versions end the process then.
std::unique_ptr<QApplication> startToolkit(int& argc, char** argv, const QStringList& mouseParts)
{
    const QStringList arguments = argumentsOf(argc, argv);
    const CToolkitEnvironment toolkit(toolkitVariables(
        arguments, mouseParts, QProcessEnvironment::systemEnvironment(), QGenericPluginFactory::keys()));
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString platform = platformNamed(arguments, environment);
    const QString frameBuffer = frameBufferFor(platform, environment);
    QString error;
    if (!frameBuffer.isEmpty() && !frameBufferUsable(frameBuffer, error)) {
        reportNoScreen(platform, frameBuffer, error);
        return nullptr;
    }
    auto application = std::make_unique<QApplication>(argc, argv);
    if (QGuiApplication::primaryScreen())
        return application;
    reportNoScreen(platform.isEmpty() ? QGuiApplication::platformName() : platform, frameBuffer);
    return nullptr;
}

// Reads the system's fonts into the toolkit's font database (it locks the database).
void loadFontDatabase()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    QFontDatabase::families();
#else
    QFontDatabase().families();
#endif
}

// Shows the window until the user leaves it; returns the event loop's code.
int runWindow(const ProcessObjects& objects)
{
    const CMainWidgetContext context { objects.system, objects.worker, objects.installerVersion, objects.installerBuild,
        objects.versionSuffix, objects.collector.truncated };
    auto window = std::make_unique<CMainWidget>(objects.collector.packages, context);
    QObject::connect(&objects.worker, &CWorker::message, window.get(), &CMainWidget::sl_Message);
    window->showMaximized();
    return QApplication::exec();
}

// The action that follows the window: restart, hand-over or reboot. A new
// installer or a reboot that cannot be started is followed by the restart, so
// that the panel is never left without a program on its screen.
int followUp(int result, const QString& path, CSystemTemplate& system)
{
    // Whatever was installed or set must survive the restart or reboot that follows.
    if (result == ExitNewInstaller || result == ExitReboot || result == ExitQuit)
        syncFileSystems();
    switch (result) {
    case ExitNewInstaller:
        if (!system.Installer(path)) {
            qCritical("Hand-over failed: the application is started again");
            system.Start_CV3();
        }
        return ExitStatus::Done;
    case ExitReboot:
        if (!system.Reset()) {
            qCritical("Reboot failed: the application is started again");
            system.Start_CV3();
        }
        return ExitStatus::Done;
    case ExitQuit:
        system.Start_CV3();
        return ExitStatus::Done;
    default:
        // The main application stays stopped.
        return result;
    }
}

// Everything from the toolkit's start to the follow-up action.
int runUpdate(int& argc, char** argv, const QString& path, const ProcessObjects& objects)
{
    const QStringList mouseParts = mouseProtocolParts();
    const std::unique_ptr<QApplication> application = startToolkit(argc, argv, mouseParts);
    if (!application)
        return ExitStatus::NoScreen;
    hidePointerOnTouchScreen(mouseParts);
    // From a pixmap: an icon file without a suffix would make the icon look its type
    // up in the MIME database, which is loaded for that alone.
    QApplication::setWindowIcon(QIcon(QPixmap(QStringLiteral(":/png/package"))));

    // The fonts are loaded while the main application stops and the RAM disk grows,
    // which the window has to wait for anyway; the loading touches nothing on the device.
    const std::unique_ptr<QThread> fonts(QThread::create(loadFontDatabase));
    fonts->start();
    objects.system.Stop_CV3();
    const bool enlarged = objects.system.Mount_Tmpf_Bigger(true);
    fonts->wait();
    if (!enlarged) {
        qCritical("Mount error RAM-Disk 1");
        return ExitStatus::RamDiskFailed;
    }

    int result = runWindow(objects);

    // The RAM disk only shrinks once the unpacked packages are gone. A link in them
    // is removed as a link: nothing outside the directory is touched.
    const bool cleared = RemoveTreeInPlace(objects.system.tempDir);
    qDebug() << "cleared" << objects.system.tempDir << cleared;
    if (!objects.system.Mount_Tmpf_Bigger(false)) {
        qCritical("Mount error RAM-Disk 2");
        return ExitStatus::RamDiskFailed;
    }
    qDebug() << "update ret=" << result;
    return followUp(result, path, objects.system);
}

} // namespace

void hidePointerOnTouchScreen(const QStringList& mouseProtocolParts)
{
    for (auto part = mouseProtocolParts.crbegin(); part != mouseProtocolParts.crend(); ++part) {
        if (namesTslib(*part))
            QApplication::setOverrideCursor(QCursor(Qt::BlankCursor));
    }
}

int runInstaller(int& argc, char** argv, const ProcessObjects& objects)
{
    const CommandLine line = parseCommandLine(argumentsOf(argc, argv));
    if (line.action != CommandLine::UpdateRun)
        return answerQuery(line, objects);

    qWarning() << "update " << objects.installerVersion << "  " << objects.installerBuild;
    if (line.path.isEmpty()) {
        qWarning() << "Path is empty";
        return ExitStatus::Done;
    }

    const int found = objects.collector.scan(line.path);
    qWarning() << "update found " << found << " files in " << line.path;
    if (found == 0)
        return ExitStatus::Done;
    return runUpdate(argc, argv, line.path, objects);
}
