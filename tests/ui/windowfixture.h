#pragma once

#include "common/fakesystem.h"
#include "install/cworker.h"
#include "ui/cmainwidget.h"

#include <QDialog>
#include <QList>
#include <QString>
#include <QTemporaryDir>
#include <QTimer>

#include <functional>
#include <memory>

// What a modal window looked like when it was closed.
struct ModalRecord {
    QString className;
    QString title;
    QString text; // a message box's text
    QString styleSheet;
    int iconWidth = -1; // width of a message box's icon pixmap
};

// Watches for modal windows while a slot runs, records each one and closes it:
// message boxes with their OK button, other dialogs with closeDialog.
class ModalCloser : public QObject {
public:
    ModalCloser();
    // How a dialog that is not a message box gets closed (default: reject()).
    std::function<void(QDialog*)> closeDialog;
    QList<ModalRecord> records;

private:
    void poll();
    QTimer m_timer;
};

// Value returned by runForExitCode when the slot did not end the event loop.
constexpr int LoopNotEnded = -100;

// Runs action inside the application's event loop and returns the code it was
// ended with through QCoreApplication::exit, or LoopNotEnded.
int runForExitCode(const std::function<void()>& action);

// A window over a fake device in a temporary directory: share directory
// <tmp>/share/, unpack directory <tmp>/unpack, a real worker.
class WindowFixture {
public:
    WindowFixture();
    ~WindowFixture();

    // A usable record of the given kind and name for an archive in the fixture's directory.
    UpdatePackage package(
        const QString& name, int kind, bool selected, const QString& version = QStringLiteral("2.0.0"));
    // Makes the archive installable: it unpacks to an UPDATE.CONF in file-list mode
    // that copies one file "payload" to destination().
    void makeInstallable(const UpdatePackage& package);
    // Writes installer.ini into the share directory before the window is made.
    void writeSettings(const QString& text);
    // Creates the window over packages.
    CMainWidget& open(const QList<UpdatePackage>& packages, bool truncated = false);
    // Destroys the window, which writes installer.ini if a setting changed.
    void close();

    [[nodiscard]] QString path(const QString& relative) const { return m_dir.filePath(relative); }
    [[nodiscard]] QString destination() const { return path(QStringLiteral("dest")); }

    QTemporaryDir m_dir;
    CFakeSystem system;
    CWorker worker;
    std::unique_ptr<CMainWidget> window;
};

// Translation of a CMainWidget text under the catalogue in force.
QString windowText(const char* source, const char* comment = nullptr);
