#pragma once

#include "system/csystemtemplate.h"

#include <QMap>
#include <QStringList>

// A platform object for unit tests: it records every call in calls, answers with
// the configured results, and touches only the directories it was given.
class CFakeSystem : public CSystemTemplate
{
public:
    CFakeSystem(const QString& shareDirectory, const QString& tempDirectory,
                const QString& bsp = QStringLiteral("1.36.0"));
    ~CFakeSystem() = default;

    QString UpdateKeyFile() override;
    bool Stop_CV3() override;
    bool Start_CV3() override;
    bool Installer(const QString& argument) override;
    bool Reset() override;
    bool PrepareTempDir() override;
    bool Mount_Tmpf_Bigger(bool bigger) override;
    bool Execute(const QString& command) override;
    // Fails with verifyError for archives whose file name is in rejectedPackages.
    bool verifySignature(const QFileInfo& package, QString& error) override;
    // Copies unpackSources[file name] (a directory) into tempDir; fails with
    // unpackError for names without an entry.
    bool Unpack(const QFileInfo& package, QString& error) override;
    bool CopySymlink(const QString& source, const QString& destination) override;
    bool ReadBspVersion() override;

    QStringList calls;
    QStringList rejectedPackages;
    QString verifyError = QStringLiteral("Verification Failure");
    QMap<QString, QString> unpackSources;
    QString unpackError = QStringLiteral("bzip2: (stdin) is not a bzip2 file. ; ");
    bool mountResult = true;
};
