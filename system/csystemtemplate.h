#pragma once

#include <QFileInfo>
#include <QString>

// Everything the installer does to the device goes through one platform object.
// All operations are pure virtual, one concrete class per hardware platform.
// The object is never deleted through this interface, so its destructor is
// protected and not virtual.
class CSystemTemplate {
public:
    CSystemTemplate(const QString& shareDirectory, const QString& tempDirectory)
        : shareDir(shareDirectory)
        , tempDir(tempDirectory)
    {
    }

    // Path of the public key for the signature check; null for an unknown BSP.
    virtual QString UpdateKeyFile() = 0;
    // Stops the main application (always true).
    virtual bool Stop_CV3() = 0;
    // Stops, then starts the main application (always true).
    virtual bool Start_CV3() = 0;
    // Starts the installed installer detached with argument; true if it started,
    // else a critical console line says why.
    virtual bool Installer(const QString& argument) = 0;
    // Starts the reboot detached; true if it started, else a critical console line says why.
    virtual bool Reset() = 0;
    // Empties and recreates the unpack directory.
    virtual bool PrepareTempDir() = 0;
    // Remounts the RAM disk /tmp at its enlarged (true) or normal (false) size.
    virtual bool Mount_Tmpf_Bigger(bool bigger) = 0;
    // Logs command and returns true; runs nothing.
    virtual bool Execute(const QString& command) = 0;
    // Verifies the package's detached ".sha1" signature; error gets the reason.
    virtual bool verifySignature(const QFileInfo& package, QString& error) = 0;
    // Unpacks the package into the temporary directory; error gets the reason.
    virtual bool Unpack(const QFileInfo& package, QString& error) = 0;
    // Recreates the symbolic link source as destination, with the same target text.
    virtual bool CopySymlink(const QString& source, const QString& destination) = 0;
    // Reads the device's BSP version into bspVersion.
    virtual bool ReadBspVersion() = 0;
    // Makes the data written to the file system that holds the open file fd durable;
    // false, with errno set, when the kernel reports that some of it was not written.
    virtual bool SyncFileSystem(int fd) = 0;

    // "/usr/local/share/corvane/" on the device, with its trailing slash.
    QString shareDir;
    // "/tmp/pkgupdate" on the device: where packages are unpacked.
    QString tempDir;
    // The device's BSP version text; null until ReadBspVersion() succeeds.
    QString bspVersion;
    // Where a device keeps its installer, which Installer() starts with the stick's
    // path after an installer update.
    static QString standardInstallerPath() { return QStringLiteral("/usr/local/bin/pkgupdate"); }
    // The installed installer, started by Installer() after an installer update.
    QString installerPath = standardInstallerPath();

protected:
    ~CSystemTemplate() = default;
};
