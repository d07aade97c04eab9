#pragma once

#include "discovery/cversion.h"

#include <QMap>
#include <QString>

// A small key=value file kept in memory as a sorted map. Set operations only mark
// the store modified; the whole file is written once, by the destructor, and only
// if something was set. Read and write failures are silent.
//
// Format: lines trimmed; ";" starts a comment line; lines without "=" ignored; the
// value is the text between the first and the second "=" (deliberately cut there);
// a value starting with a double quote loses every double quote.
class CInitFile {
public:
    explicit CInitFile(const QString& filePath);
    ~CInitFile();
    CInitFile(const CInitFile&) = delete;
    CInitFile& operator=(const CInitFile&) = delete;

    // Replaces the entries with the file's contents (empty if it cannot be read).
    void Read();
    // Writes all entries sorted by key, then an empty line.
    void Write();

    [[nodiscard]] QString GetString(const QString& key, const QString& defaultValue) const;
    void SetString(const QString& key, const QString& value);
    // True exactly when the stored value is "true"; defaultValue when the key is absent.
    [[nodiscard]] bool GetBool(const QString& key, bool defaultValue) const;
    void SetBool(const QString& key, bool value);

    [[nodiscard]] const QString& filePath() const { return m_filePath; }
    [[nodiscard]] bool isModified() const { return m_modified; }

private:
    QString m_filePath;
    bool m_modified = false;
    QMap<QString, QString> m_entries;
};

// Reads the version stored under key in a file of the same format (without the
// quote removal). An empty filePath is replaced by "version", visibly to the caller.
// A file that cannot be opened gives 0.0.0; a missing key gives the unknown version.
CVersion ReadVersion(QString& filePath, const QString& key);
