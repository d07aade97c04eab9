#pragma once

#include "system/csystemtemplate.h"

// A platform object that does nothing: the windows only read its BSP version and
// share directory, and the screenshots must not touch the machine they run on.
class CScreenshotSystem : public CSystemTemplate {
public:
    // shareDirectory ends with a slash; installer.ini would be read from there.
    CScreenshotSystem(const QString& shareDirectory, const QString& bsp);
    ~CScreenshotSystem() = default;

    QString UpdateKeyFile() override;
    bool Stop_CV3() override;
    bool Start_CV3() override;
    bool Installer(const QString& argument) override;
    bool Reset() override;
    bool PrepareTempDir() override;
    bool Mount_Tmpf_Bigger(bool bigger) override;
    bool Execute(const QString& command) override;
    bool verifySignature(const QFileInfo& package, QString& error) override;
    bool Unpack(const QFileInfo& package, QString& error) override;
    bool CopySymlink(const QString& source, const QString& destination) override;
    bool ReadBspVersion() override;
    bool SyncFileSystem(int fd) override;
};
