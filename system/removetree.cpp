#include "system/removetree.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

bool RemoveTree(const QString& path)
{
    if (!QFileInfo::exists(path))
        return true;
    // A link to a directory lists as a directory: its target's contents go, and
    // then removing the link as a directory fails.
    const QFileInfoList entries = QDir(path).entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::DirsFirst);
    for (const QFileInfo& entry : entries) {
        const bool removed = entry.isDir() ? RemoveTree(entry.absoluteFilePath())
                                           : QFile::remove(entry.absoluteFilePath());
        if (!removed)
            return false;
    }
    return QDir().rmdir(path);
}
