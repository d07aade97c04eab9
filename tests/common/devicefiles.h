#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

// Files of the simulated device as tests set them up from data files and compare
// them before and after a run.
namespace DeviceFiles {

// Text with line ends and tabs written as "\n", "\r" and "\t", and back.
QString escaped(const QByteArray& text);
QByteArray unescaped(const QString& text);

// Creates what one line describes: "path [octal mode] = content" (content with
// escapes), "path = <fifo>" (a named pipe) or "path -> target" (a symbolic link). A relative path is taken from
// root; missing directories are created.
bool writeEntry(const QString& root, const QString& line);

// Path to "directory <mode>", "file <mode> '<content>'" or "link -> <target>" for
// every entry below directory or, without one, of the device's own file system: not
// /proc, /dev, /sys, /tmp, nor what the sandbox shows read-only (/usr but for
// /usr/local, the source tree).
using Snapshot = QMap<QString, QString>;
Snapshot snapshot(const QString& directory = QString());

// One "added", "changed" or "removed" line per entry that differs.
QString difference(const Snapshot& before, const Snapshot& after);

} // namespace DeviceFiles
