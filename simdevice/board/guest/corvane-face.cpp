// The board's picture of the main application: its name and the version given as
// the argument, full screen on the frame buffer, until the init script stops it;
// on a board without a frame buffer it runs on the offscreen platform.
#include <QApplication>
#include <QLabel>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv)
{
    // The panel's frame buffer at its 72 dpi, as the installer is started on the board.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "linuxfb");
    qputenv("QT_FONT_DPI", "72");
    qputenv("QT_QPA_FB_DISABLE_INPUT", "1");
    QApplication application(argc, argv);
    const QString version = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("?");
    QLabel face;
    face.setTextFormat(Qt::PlainText);
    face.setText(QStringLiteral("corvane\n%1").arg(version));
    face.setAlignment(Qt::AlignCenter);
    face.setStyleSheet(QStringLiteral("background-color: rgb(29, 78, 137); color: white; font-size: 64pt;"));
    face.showFullScreen();
    // Once the first frame is drawn, for whoever watches the console.
    QTimer::singleShot(0, [&version] {
        const bool drawn = QGuiApplication::platformName() != QLatin1String("offscreen");
        std::printf("board: corvane %s %s\n", qPrintable(version), drawn ? "on the screen" : "without a screen");
        std::fflush(stdout);
    });
    return application.exec();
}
