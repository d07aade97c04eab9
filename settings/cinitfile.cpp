#include "settings/cinitfile.h"

#include <QDebug>
#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <QTextStream>

namespace {

// One line of a key=value file. Returns false for comments and lines without "=".
// The value ends at a second "=" on purpose: files in the field rely on it.
bool parseLine(const QString& rawLine, bool stripQuotes, QString& key, QString& value)
{
    const QString line = rawLine.trimmed();
    if (line.startsWith(QLatin1Char(';')) || !line.contains(QLatin1Char('=')))
        return false;
    const QStringList parts = line.split(QLatin1Char('='));
    key = parts.at(0).trimmed();
    value = parts.at(1).trimmed();
    if (stripQuotes && value.startsWith(QLatin1Char('"')))
        value = value.remove(QLatin1Char('"')).trimmed();
    return true;
}

// Reads all key=value lines of file into entries (later lines win).
void readEntries(QFile& file, bool stripQuotes, QMap<QString, QString>& entries)
{
    QTextStream stream(&file);
    QString key;
    QString value;
    while (!stream.atEnd()) {
        if (parseLine(stream.readLine(), stripQuotes, key, value))
            entries.insert(key, value);
    }
}

} // namespace

CInitFile::CInitFile(const QString& filePath)
    : m_filePath(filePath)
{
}

CInitFile::~CInitFile()
{
    if (m_modified)
        Write();
}

void CInitFile::Read()
{
    m_entries.clear();
    QFile file(m_filePath);
    if (file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        readEntries(file, true, m_entries);
        file.close();
    }
    m_modified = false;
}

void CInitFile::Write()
{
    // A failed write loses the changes; the destructor must not retry it.
    m_modified = false;
    // Written beside the old file and renamed over it once complete and synced:
    // power loss leaves the old settings or the new ones, never a cut file.
    QSaveFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return;
    QTextStream stream(&file);
    for (auto it = m_entries.cbegin(); it != m_entries.cend(); ++it) {
        qDebug() << " <" << it.key() << it.value();
        stream << it.key() << '=' << it.value() << '\n';
    }
    stream << '\n';
    stream.flush();
    file.commit();
}

QString CInitFile::GetString(const QString& key, const QString& defaultValue) const
{
    return m_entries.value(key, defaultValue);
}

void CInitFile::SetString(const QString& key, const QString& value)
{
    m_entries.insert(key, value);
    m_modified = true;
}

bool CInitFile::GetBool(const QString& key, bool defaultValue) const
{
    const auto it = m_entries.constFind(key);
    if (it == m_entries.cend())
        return defaultValue;
    return it.value() == QLatin1String("true");
}

void CInitFile::SetBool(const QString& key, bool value)
{
    SetString(key, value ? QStringLiteral("true") : QStringLiteral("false"));
}

CVersion ReadVersion(QString& filePath, const QString& key)
{
    // A relative "version" beside the working directory is the long-standing default.
    if (filePath.isEmpty())
        filePath = QStringLiteral("version");
    QMap<QString, QString> entries;
    QFile file(filePath);
    if (file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        readEntries(file, false, entries);
    } else {
        entries.insert(key, QStringLiteral("0.0.0"));
        qDebug() << "File not open " << filePath;
    }
    const auto it = entries.constFind(key);
    if (it != entries.cend())
        return CVersion(it.value());
    qDebug() << "Item not found " << key << filePath;
    return CVersion();
}
