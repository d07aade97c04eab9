#include "common/fakesystem.h"

#include <QDir>
#include <QProcess>

#include <cerrno>
#include <unistd.h>

bool CFakeSystem::PrepareTempDir()
{
    calls << QStringLiteral("PrepareTempDir");
    QDir(tempDir).removeRecursively();
    return QDir().mkpath(tempDir);
}

bool CFakeSystem::SyncFileSystem(int fd)
{
    if (!failingCalls.contains(QStringLiteral("SyncFileSystem")))
        return ::syncfs(fd) == 0;
    errno = EIO;
    return false;
}

bool CFakeSystem::verifySignature(const QFileInfo& package, QString& error)
{
    calls << QStringLiteral("verifySignature ") + package.fileName();
    const bool rejected = rejectedPackages.contains(package.fileName());
    error = rejected ? QStringLiteral("Verification Failure") : QString();
    return !rejected;
}

bool CFakeSystem::Unpack(const QFileInfo& package, QString& error)
{
    calls << QStringLiteral("Unpack ") + package.fileName();
    const QString source = unpackSources.value(package.fileName());
    error = source.isEmpty() ? unpackError : QString();
    // cp -a keeps links and permission bits, as tar does.
    return !source.isEmpty()
        && QProcess::execute(QStringLiteral("cp"), { QStringLiteral("-a"), source + QStringLiteral("/."), tempDir })
        == 0;
}

bool CFakeSystem::CopySymlink(const QString& source, const QString& destination)
{
    char target[300];
    const ssize_t length = ::readlink(QFile::encodeName(source).constData(), target, sizeof target);
    return length >= 0
        && ::symlink(QByteArray(target, int(length)).constData(), QFile::encodeName(destination).constData()) == 0;
}
