#pragma once

#include "discovery/updatepackage.h"

#include <QFileInfo>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

class CSystemTemplate;

// Results of CWorker::Install.
enum InstallResult {
    InstallDone = 1, // the whole list was processed
    InstallInstaller = 2, // an installer package was installed: run the new installer
    InstallProgram = 3, // a program package was installed: reboot
    InstallFailed = 10, // a package failed; processing stopped there
};

// Installs the selected packages of a list, one after another, on the GUI
// thread, and reports each step through message().
class CWorker : public QObject {
    Q_OBJECT

public:
    explicit CWorker(CSystemTemplate& system, QObject* parent = nullptr);

    // Sorts packages (the caller's list too) and installs every selected record;
    // returns an InstallResult.
    int Install(QList<UpdatePackage>& packages);

    // Reads the installation script UPDATE.CONF into script (emptied first).
    void ReadUpdateConf(const QFileInfo& file);
    // File-list mode: FILE_LIST entries copied to their DEST_FILEn directories.
    void FlatArchiv();
    // Tree mode: the unpacked tree copied onto the root file system.
    void NewArchiv();
    // Copies the directory source to destination recursively; depth picks the messages.
    void CopyTree(const QString& source, const QString& destination, int depth);
    // Copies one file or symbolic link, counting the result.
    void CopyOne(const QString& source, const QString& destination);
    // Appends "<UTC time>Z text" to the update log.
    void AppendUpdateLog(const QString& text);

    // The current package's UPDATE.CONF.
    QMap<QString, QString> script;
    // Running totals of one Install call.
    int copiedFiles = 0;
    int copiedLinks = 0;
    int errors = 0;

Q_SIGNALS:
    // A line of progress text for the user.
    void message(const QString& text);

private:
    // Installs one selected record; InstallDone to go on with the next one.
    int installPackage(UpdatePackage& package);
    // Verifies, logs and unpacks the package; false after the failure was reported.
    bool verifyAndUnpack(const UpdatePackage& package);
    // Carries out the script's DELETE, if any; false after the failure was reported.
    bool deleteScriptPath();
    // Copies the number-th FILE_LIST entry name to its DEST_FILEn directory.
    void copyListedFile(int number, const QString& name);
    // The files of source (not its subdirectories) copied into destination.
    void copyTreeFiles(const QString& source, const QString& destination, int depth);

    CSystemTemplate& m_system;
};
