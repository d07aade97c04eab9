// Renders the main window (English and German, at the device's 800x480 and at
// 1024x768), the language dialog and the help page to PNG files.
//
// Usage: pkgupdate-screenshots <output directory>
//
// Runs on the offscreen platform unless QT_QPA_PLATFORM says otherwise, at 72
// dots per inch unless QT_FONT_DPI says otherwise: the panel's embedded screen
// driver renders at 72 dpi, so the window's 24pt text is 24 pixels high there.

#include "screenshotsystem.h"

#include "install/cworker.h"
#include "ui/cmainwidget.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <functional>

namespace {

struct Language {
    QString name;
    QString catalogue;
};

UpdatePackage samplePackage(const QString& name, int kind, const QString& version, const QString& installed,
    bool selected, int error = ErrorNone)
{
    UpdatePackage record;
    record.name = name;
    record.priority = kind;
    record.version = CVersion(version);
    record.installed = CVersion(installed);
    record.selected = selected;
    record.error = error;
    record.bsp = QStringLiteral("1.41.0");
    return record;
}

// Six packages: three installable (two pre-selected) and one of each error state.
QList<UpdatePackage> samplePackages()
{
    return { samplePackage(QStringLiteral("bin"), KindProgram, QStringLiteral("3.2.0"), QStringLiteral("3.1.0"), true),
        samplePackage(QStringLiteral("doc"), KindHelpFiles, QStringLiteral("1.5.0"), QStringLiteral("1.4.0"), true),
        samplePackage(QStringLiteral("ins"), KindInstaller, QStringLiteral("2.0.0"), QStringLiteral("2.0.0"), false),
        samplePackage(QStringLiteral("bin_main"), KindProgram, QStringLiteral("3.3.0"), QStringLiteral("3.1.0"), false,
            ErrorWrongBsp),
        samplePackage(QStringLiteral("inst"), KindInstaller, QStringLiteral("1.9.0"), QStringLiteral("2.0.0"), false,
            ErrorMissingSignature),
        samplePackage(QStringLiteral("doc"), KindHelpFiles, QStringLiteral("1.6.0"), QStringLiteral("1.4.0"), false,
            ErrorSignatureInvalid) };
}

bool save(const QPixmap& shot, const QDir& output, const QString& name)
{
    const QString path = output.filePath(name + QStringLiteral(".png"));
    const bool saved = shot.save(path);
    QTextStream(stdout) << (saved ? "wrote " : "FAILED ") << path << '\n';
    return saved;
}

// Runs open, which shows a modal dialog, grabs the dialog and closes it.
QPixmap grabModal(const std::function<void()>& open)
{
    QPixmap shot;
    QTimer poll;
    poll.setInterval(20);
    QObject::connect(&poll, &QTimer::timeout, [&shot, &poll] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        poll.stop();
        shot = dialog->grab();
        dialog->reject();
    });
    poll.start();
    open();
    return shot;
}

void switchLanguage(CMainWidget& window, const Language& language)
{
    window.LoadTranslation(language.catalogue);
    window.Retranslate();
    window.FillTable();
}

bool renderWindow(CMainWidget& window, const Language& language, const QSize& size, const QDir& output)
{
    window.resize(size);
    window.show();
    QApplication::processEvents();
    const QString name = QStringLiteral("main-%1-%2x%3").arg(language.name).arg(size.width()).arg(size.height());
    return save(window.grab(), output, name);
}

bool renderLanguage(CMainWidget& window, const Language& language, const QDir& output)
{
    switchLanguage(window, language);
    bool saved = true;
    for (const QSize& size : { QSize(800, 480), QSize(1024, 768) })
        saved = renderWindow(window, language, size, output) && saved;
    window.resize(800, 480);
    saved
        = save(grabModal([&window] { window.sl_BtnHelp(); }), output, QStringLiteral("help-") + language.name) && saved;
    saved = save(grabModal([&window] { window.sl_BtnLanguage(); }), output, QStringLiteral("language-") + language.name)
        && saved;
    return saved;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("QT_FONT_DPI"))
        qputenv("QT_FONT_DPI", "72");
    QApplication application(argc, argv);
    if (argc != 2) {
        QTextStream(stderr) << "usage: pkgupdate-screenshots <output directory>\n";
        return 2;
    }
    QDir output(QString::fromLocal8Bit(argv[1]));
    QTemporaryDir share;
    if (!output.mkpath(QStringLiteral(".")) || !share.isValid())
        return 1;

    CScreenshotSystem system(share.path() + QLatin1Char('/'), QStringLiteral("1.36.0"));
    CWorker worker(system);
    const CMainWidgetContext context { system, worker, CVersion(QStringLiteral("2.0.0")),
        CVersion(QStringLiteral("34725")), QString(), true };
    CMainWidget window(samplePackages(), context);

    bool saved = true;
    for (const Language& language : { Language { QStringLiteral("en"), QStringLiteral(":/lang/en") },
             Language { QStringLiteral("de"), QStringLiteral(":/lang/de") } })
        saved = renderLanguage(window, language, output) && saved;
    window.sl_Message(QStringLiteral("Unpacking... This can take some minutes. And a very long message"));
    saved
        = renderWindow(window, Language { QStringLiteral("de-message"), QString() }, QSize(800, 480), output) && saved;
    return saved ? 0 : 1;
}
