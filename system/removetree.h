#pragma once

#include <QString>

// Removes the directory tree at path, directories first, stopping at the first
// entry that cannot be removed. True when nothing exists at path. A plain file
// at path is not removed (false). A symbolic link to a directory is descended
// into like a directory, and then fails to be removed as one.
bool RemoveTree(const QString& path);

// Removes path and everything below it without ever following a symbolic link:
// a link is removed as the link itself. Goes on past entries that cannot be
// removed and returns false if any remain. True when nothing exists at path.
bool RemoveTreeInPlace(const QString& path);
