#include "system/removetree.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <ftw.h>
#include <unistd.h>

namespace {

bool g_leftOver = false;

// One entry of the walk, children before their directory.
int removeEntry(const char* path, const struct stat*, int type, struct FTW*)
{
    const bool removed = type == FTW_DP ? ::rmdir(path) == 0 : ::remove(path) == 0;
    g_leftOver = g_leftOver || !removed;
    return 0;
}

} // namespace

bool RemoveTree(const QString& path)
{
    if (!QFileInfo::exists(path))
        return true;
    // A link to a directory lists as a directory: its target's contents go, and
    // then removing the link as a directory fails.
    const QFileInfoList entries = QDir(path).entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::DirsFirst);
    for (const QFileInfo& entry : entries) {
        const bool removed
            = entry.isDir() ? RemoveTree(entry.absoluteFilePath()) : QFile::remove(entry.absoluteFilePath());
        if (!removed)
            return false;
    }
    return QDir().rmdir(path);
}

bool RemoveTreeInPlace(const QString& path)
{
    g_leftOver = false;
    // FTW_PHYS: links are reported, not followed; FTW_MOUNT: no other file system.
    const int walked = ::nftw(QFile::encodeName(path).constData(), removeEntry, 32, FTW_DEPTH | FTW_PHYS | FTW_MOUNT);
    return (walked == 0 && !g_leftOver) || !QFileInfo::exists(path);
}
