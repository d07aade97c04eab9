#include "ui/windowfixture.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>

namespace {

void writeFile(const QString& path, const QByteArray& contents)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(contents);
}

ModalRecord recordOf(QWidget* modal)
{
    ModalRecord record;
    record.className = QString::fromLatin1(modal->metaObject()->className());
    record.title = modal->windowTitle();
    record.styleSheet = modal->styleSheet();
    if (auto* box = qobject_cast<QMessageBox*>(modal)) {
        record.text = box->text();
        record.iconWidth = box->iconPixmap().width();
    }
    return record;
}

} // namespace

ModalCloser::ModalCloser()
    : closeDialog([](QDialog* dialog) { dialog->reject(); })
{
    m_timer.setInterval(10);
    connect(&m_timer, &QTimer::timeout, this, &ModalCloser::poll);
    m_timer.start();
}

void ModalCloser::poll()
{
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal || !modal->isVisible())
        return;
    records.append(recordOf(modal));
    if (auto* box = qobject_cast<QMessageBox*>(modal)) {
        if (QAbstractButton* ok = box->button(QMessageBox::Ok))
            ok->click();
        else
            box->reject();
    } else if (auto* dialog = qobject_cast<QDialog*>(modal)) {
        closeDialog(dialog);
    }
}

int runForExitCode(const std::function<void()>& action)
{
    // Timers added while timers are being activated fire in a later pass, so an
    // exit requested by action ends the loop before the marker below is seen.
    // The marker belongs to guard, so it cannot fire in a later loop.
    QObject guard;
    QTimer::singleShot(0, &guard, [action, &guard] {
        action();
        QTimer::singleShot(0, &guard, [] { QCoreApplication::exit(LoopNotEnded); });
    });
    // QApplication::exec(), unlike a plain QEventLoop, clears the application's
    // quit request again when it returns, so later modal boxes still run.
    return QApplication::exec();
}

WindowFixture::WindowFixture()
    : system(m_dir.filePath(QStringLiteral("share/")), m_dir.filePath(QStringLiteral("unpack")))
    , worker(system)
{
    QDir().mkpath(system.shareDir);
}

WindowFixture::~WindowFixture()
{
    close();
}

UpdatePackage WindowFixture::package(const QString& name, int kind, bool selected, const QString& version)
{
    UpdatePackage record;
    record.file = QFileInfo(path(name + QLatin1Char('-') + version + QStringLiteral("-BSP-1.36.0.tar.bz2")));
    record.name = name;
    record.versionText = version;
    record.version = CVersion(version);
    record.installed = CVersion(QStringLiteral("1.0.0"));
    record.bsp = QStringLiteral("1.36.0");
    record.priority = kind;
    record.selected = selected;
    return record;
}

void WindowFixture::makeInstallable(const UpdatePackage& package)
{
    const QString source = path(QStringLiteral("contents/") + package.file.fileName());
    writeFile(source + QStringLiteral("/payload"), "payload of " + package.name.toUtf8());
    writeFile(source + QStringLiteral("/UPDATE.CONF"),
        "DEST_FILE1 = " + QFile::encodeName(destination()) + "\nFILE_LIST = payload\n");
    system.unpackSources.insert(package.file.fileName(), source);
}

void WindowFixture::writeSettings(const QString& text)
{
    writeFile(system.shareDir + QStringLiteral("installer.ini"), text.toUtf8());
}

CMainWidget& WindowFixture::open(const QList<UpdatePackage>& packages, bool truncated)
{
    const CMainWidgetContext context { system, worker, CVersion(QStringLiteral("2.0.0")),
        CVersion(QStringLiteral("34725")), QString(), truncated };
    window = std::make_unique<CMainWidget>(packages, context);
    QObject::connect(&worker, &CWorker::message, window.get(), &CMainWidget::sl_Message);
    // Shown as on the device, so that clicks reach the laid-out widgets.
    window->showMaximized();
    return *window;
}

void WindowFixture::close()
{
    window.reset();
}

QString windowText(const char* source, const char* comment)
{
    return QCoreApplication::translate("CMainWidget", source, comment);
}
