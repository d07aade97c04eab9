#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>

// Small file helpers shared by the install tests.
namespace InstallTestTools {

// Writes content to path, creating missing directories; sets permissions when given.
inline bool writeFile(const QString& path, const QByteArray& content, QFile::Permissions permissions = {})
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        return false;
    file.close();
    return !permissions || file.setPermissions(permissions);
}

// The whole file, or "<unreadable>".
inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

// Records warning lines, and critical lines with the console's "??? " prefix,
// while it exists; debug lines are dropped as on the device.
class CDiagnosticsRecorder {
public:
    CDiagnosticsRecorder()
    {
        s_lines.clear();
        s_previous = qInstallMessageHandler(record);
    }
    ~CDiagnosticsRecorder() { qInstallMessageHandler(s_previous); }
    CDiagnosticsRecorder(const CDiagnosticsRecorder&) = delete;
    CDiagnosticsRecorder& operator=(const CDiagnosticsRecorder&) = delete;

    [[nodiscard]] const QStringList& lines() const { return s_lines; }

private:
    static void record(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        if (type == QtWarningMsg)
            s_lines << text;
        else if (type == QtCriticalMsg)
            s_lines << QStringLiteral("??? ") + text;
        else if (type != QtDebugMsg)
            s_previous(type, context, text);
    }

    static inline QStringList s_lines;
    static inline QtMessageHandler s_previous = nullptr;
};

} // namespace InstallTestTools
