#pragma once

#include "system/csystemtemplate.h"

#include <QMap>
#include <QStringList>

// A platform object for unit tests: it records every call in calls, answers with
// the configured results, and touches only the directories it was given.
class CFakeSystem : public CSystemTemplate {
public:
    CFakeSystem(
        const QString& shareDirectory, const QString& tempDirectory, const QString& bsp = QStringLiteral("1.36.0"))
        : CSystemTemplate(shareDirectory, tempDirectory)
    {
        bspVersion = bsp;
    }

    QString UpdateKeyFile() override { return shareDir + QStringLiteral("qelsslkey.pem"); }
    bool Stop_CV3() override { return note(QStringLiteral("Stop_CV3")); }
    bool Start_CV3() override { return note(QStringLiteral("Start_CV3")); }
    bool Installer(const QString& argument) override
    {
        return note(QStringLiteral("Installer ") + argument) && !failingCalls.contains(QStringLiteral("Installer"));
    }
    bool Reset() override { return note(QStringLiteral("Reset")) && !failingCalls.contains(QStringLiteral("Reset")); }
    bool PrepareTempDir() override;
    bool Mount_Tmpf_Bigger(bool bigger) override
    {
        return note(QStringLiteral("Mount_Tmpf_Bigger ") + QLatin1String(bigger ? "true" : "false"));
    }
    bool Execute(const QString& command) override { return note(QStringLiteral("Execute ") + command); }
    // Fails with "Verification Failure" for archives whose file name is in rejectedPackages.
    bool verifySignature(const QFileInfo& package, QString& error) override;
    // Copies unpackSources[file name] (a directory) into tempDir; fails with
    // unpackError for names without an entry.
    bool Unpack(const QFileInfo& package, QString& error) override;
    bool CopySymlink(const QString& source, const QString& destination) override;
    bool ReadBspVersion() override { return !bspVersion.isNull(); }
    // The device's syncfs; as a write-back error (EIO) when failingCalls names it.
    bool SyncFileSystem(int fd) override;

    QStringList calls;
    QStringList rejectedPackages;
    // "Installer" and "Reset" here cannot start their program, "SyncFileSystem"
    // reports a write-back error (they return false).
    QStringList failingCalls;
    QMap<QString, QString> unpackSources;
    QString unpackError = QStringLiteral("bzip2: (stdin) is not a bzip2 file. ; ");

private:
    bool note(const QString& call)
    {
        calls << call;
        return true;
    }
};
