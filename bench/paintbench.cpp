// Shows the installer's window as the panel does (800x480 at 72 dpi, offscreen) and
// puts COUNT messages on its message line, as an installation does for each file.
// bench/paintcost runs it under callgrind, collecting only inside the message slot,
// to count the instructions one message costs.
//
// Usage: paintbench COUNT

#include "install/cworker.h"
#include "tools/screenshots/screenshotsystem.h"
#include "ui/cmainwidget.h"

#include <QApplication>
#include <QTemporaryDir>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_FONT_DPI", "72");
    QApplication application(argc, argv);
    const int count = argc == 2 ? QString::fromLocal8Bit(argv[1]).toInt() : 0;
    QTemporaryDir share;
    if (count <= 0 || !share.isValid())
        return 2;

    CScreenshotSystem system(share.path() + QLatin1Char('/'), QStringLiteral("1.36.0"));
    CWorker worker(system);
    const CMainWidgetContext context { system, worker, CVersion(QStringLiteral("2.0.0")),
        CVersion(QStringLiteral("34725")), QString(), false };
    CMainWidget window({}, context);
    window.resize(800, 480);
    window.show();
    QApplication::processEvents();
    // The paths a help-files package's copy shows, one per file.
    for (int file = 0; file < count; ++file)
        window.sl_Message(QStringLiteral("/usr/local/share/corvane/help/%1/chapter%2/page%3.html")
                              .arg(QStringLiteral("de,en,fr,it,es").split(QLatin1Char(','))[file % 5])
                              .arg(file / 50, 2, 10, QLatin1Char('0'))
                              .arg(file, 4, 10, QLatin1Char('0')));
    return 0;
}
