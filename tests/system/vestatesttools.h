#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QtGlobal>

// Helpers for tests of the platform object inside the simulated device.
namespace VestaTestTools {

// Writes an executable shell script dir/name running body.
inline bool writeScript(const QString& dir, const QString& name, const QByteArray& body)
{
    QFile script(dir + QLatin1Char('/') + name);
    if (!script.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    script.write("#!/bin/sh\n" + body + '\n');
    script.close();
    return script.setPermissions(script.permissions() | QFileDevice::ExeOwner | QFileDevice::ExeGroup
                                 | QFileDevice::ExeOther);
}

// The whole content of a file; empty when it cannot be read.
inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Puts a directory first on PATH (or makes it the whole PATH) while it exists, so
// that programs started by name are found there first.
class CPathOverride
{
public:
    CPathOverride(const QString& dir, bool only = false)
        : m_oldPath(qgetenv("PATH"))
    {
        qputenv("PATH", only ? QFile::encodeName(dir) : QFile::encodeName(dir) + ':' + m_oldPath);
    }
    ~CPathOverride() { qputenv("PATH", m_oldPath); }
    CPathOverride(const CPathOverride&) = delete;
    CPathOverride& operator=(const CPathOverride&) = delete;

private:
    QByteArray m_oldPath;
};

// What is written to the device's console from its construction on.
class CConsoleWatch
{
public:
    CConsoleWatch()
        : m_start(QFileInfo(path()).size())
    {
    }
    [[nodiscard]] QByteArray written() const { return readFile(path()).mid(int(m_start)); }

private:
    static QString path() { return QStringLiteral("/dev/console"); }
    qint64 m_start;
};

} // namespace VestaTestTools
