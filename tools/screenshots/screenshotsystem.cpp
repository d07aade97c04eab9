#include "screenshotsystem.h"

CScreenshotSystem::CScreenshotSystem(const QString& shareDirectory, const QString& bsp)
    : CSystemTemplate(shareDirectory, QString())
{
    bspVersion = bsp;
}

QString CScreenshotSystem::UpdateKeyFile()
{
    return QString();
}

bool CScreenshotSystem::Stop_CV3()
{
    return true;
}

bool CScreenshotSystem::Start_CV3()
{
    return true;
}

bool CScreenshotSystem::Installer(const QString&)
{
    return false;
}

bool CScreenshotSystem::Reset()
{
    return false;
}

bool CScreenshotSystem::PrepareTempDir()
{
    return false;
}

bool CScreenshotSystem::Mount_Tmpf_Bigger(bool)
{
    return false;
}

bool CScreenshotSystem::Execute(const QString&)
{
    return true;
}

bool CScreenshotSystem::verifySignature(const QFileInfo&, QString& error)
{
    error = QStringLiteral("not available in screenshots");
    return false;
}

bool CScreenshotSystem::Unpack(const QFileInfo&, QString& error)
{
    error = QStringLiteral("not available in screenshots");
    return false;
}

bool CScreenshotSystem::CopySymlink(const QString&, const QString&)
{
    return false;
}

bool CScreenshotSystem::ReadBspVersion()
{
    return true;
}

bool CScreenshotSystem::SyncFileSystem(int)
{
    return true;
}
