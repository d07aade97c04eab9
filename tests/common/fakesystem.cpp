#include "common/fakesystem.h"

#include <QDir>
#include <QProcess>

#include <unistd.h>

CFakeSystem::CFakeSystem(const QString& shareDirectory, const QString& tempDirectory, const QString& bsp)
    : CSystemTemplate(shareDirectory, tempDirectory)
{
    bspVersion = bsp;
}

QString CFakeSystem::UpdateKeyFile()
{
    return shareDir + QStringLiteral("qelsslkey.pem");
}

bool CFakeSystem::Stop_CV3()
{
    calls << QStringLiteral("Stop_CV3");
    return true;
}

bool CFakeSystem::Start_CV3()
{
    calls << QStringLiteral("Start_CV3");
    return true;
}

bool CFakeSystem::Installer(const QString& argument)
{
    calls << QStringLiteral("Installer ") + argument;
    return true;
}

bool CFakeSystem::Reset()
{
    calls << QStringLiteral("Reset");
    return true;
}

bool CFakeSystem::PrepareTempDir()
{
    calls << QStringLiteral("PrepareTempDir");
    QDir(tempDir).removeRecursively();
    return QDir().mkpath(tempDir);
}

bool CFakeSystem::Mount_Tmpf_Bigger(bool bigger)
{
    calls << QStringLiteral("Mount_Tmpf_Bigger ") + (bigger ? QStringLiteral("true") : QStringLiteral("false"));
    return mountResult;
}

bool CFakeSystem::Execute(const QString& command)
{
    calls << QStringLiteral("Execute ") + command;
    return true;
}

bool CFakeSystem::verifySignature(const QFileInfo& package, QString& error)
{
    calls << QStringLiteral("verifySignature ") + package.fileName();
    if (rejectedPackages.contains(package.fileName())) {
        error = verifyError;
        return false;
    }
    error = QString();
    return true;
}

bool CFakeSystem::Unpack(const QFileInfo& package, QString& error)
{
    calls << QStringLiteral("Unpack ") + package.fileName();
    const QString source = unpackSources.value(package.fileName());
    if (source.isEmpty()) {
        error = unpackError;
        return false;
    }
    error = QString();
    // cp -a keeps links and permission bits, as tar does.
    return QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), source + QStringLiteral("/."), tempDir}) == 0;
}

bool CFakeSystem::CopySymlink(const QString& source, const QString& destination)
{
    char target[300];
    const ssize_t length = ::readlink(QFile::encodeName(source).constData(), target, sizeof target);
    if (length < 0)
        return false;
    return ::symlink(QByteArray(target, int(length)).constData(), QFile::encodeName(destination).constData()) == 0;
}

bool CFakeSystem::ReadBspVersion()
{
    return !bspVersion.isNull();
}
