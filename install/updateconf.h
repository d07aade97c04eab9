#pragma once

#include <QMap>
#include <QString>

// The installation script UPDATE.CONF: "key = value" lines, ';' comments.

// Splits one line of the script into key and value. False for comments and for
// lines without '='. The value ends at a second '='; a value that begins with a
// double quote loses every double quote.
[[nodiscard]] bool parseUpdateConfLine(const QString& line, QString& key, QString& value);

// The script's name, at the top of the unpacked package.
const char kUpdateConfName[] = "UPDATE.CONF";

// The part of UPDATE.CONF that is read; the rest is dropped with a console warning.
const int kMaxUpdateConfBytes = 64 * 1024;

// Reads the script at path; a later line replaces an earlier one with the same
// key. An unreadable file gives an empty map.
[[nodiscard]] QMap<QString, QString> readUpdateConf(const QString& path);
