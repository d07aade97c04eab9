#pragma once

#include "discovery/updatepackage.h"

#include <QFileInfo>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class CReplacementBatch;
class CSystemTemplate;

// Results of CWorker::Install.
enum InstallResult {
    InstallDone = 1, // the whole list was processed
    InstallInstaller = 2, // an installer package was installed: run the new installer
    InstallProgram = 3, // a program package was installed: reboot
    InstallFailed = 10, // a package failed; processing stopped there
};

// The installer's rule for the script's DELETE: false for a path that is relative,
// or that, resolved with resolve, is the root or holds one of the kept paths (the
// share directory, the public key, the installed installer). An empty path is allowed.
[[nodiscard]] bool deletePathAllowed(const QString& path, const QStringList& kept, QString (*resolve)(const QString&));

// Installs the selected packages of a list, one after another, on the GUI
// thread, and reports each step through message().
class CWorker : public QObject {
    Q_OBJECT

public:
    explicit CWorker(CSystemTemplate& system, QObject* parent = nullptr);
    ~CWorker() override;

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
    // Copies one file or symbolic link, counting the result. The old file stays
    // until the new one is complete and durable; a failed copy leaves it in place.
    // FlatArchiv, NewArchiv, CopyTree and CopyOne put their files in place when
    // they return: the outermost of them commits one batch for all.
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
    class BatchScope;

    // Installs one selected record; InstallDone to go on with the next one.
    int installPackage(UpdatePackage& package);
    // Verifies, logs and unpacks the package; false after the failure was reported.
    bool verifyAndUnpack(const UpdatePackage& package);
    // Carries out the script's DELETE, if any; false after the failure was reported.
    bool deleteScriptPath();
    // False for a DELETE path that is relative or whose removal would take the
    // root, the public keys or the installed installer with it.
    [[nodiscard]] bool mayDelete(const QString& path);
    // Opens a new replacement batch, flushed through the platform object.
    void openBatch();
    // Stages source as destination in the open batch; false if that failed.
    bool stage(const QString& source, const QString& destination, bool link);
    // stage() for a file: on a full flash, the staged files are put in place first
    // and, if that does not free enough room, the old file is removed first.
    bool stageFile(const QString& source, const QString& destination);
    // Puts the open batch's files in place; a failed rename becomes a copy error.
    void commitBatch();
    // Copies the number-th FILE_LIST entry name to its DEST_FILEn directory.
    void copyListedFile(int number, const QString& name);
    // CopyOne for a source whose being a symbolic link is known already.
    void copyEntry(const QString& source, const QString& destination, bool link);
    // The files of source (not its subdirectories) copied into destination.
    void copyTreeFiles(const QString& source, const QString& destination, int depth);

    CSystemTemplate& m_system;
    // The files staged for replacement while a copy is under way.
    std::unique_ptr<CReplacementBatch> m_batch;
};
