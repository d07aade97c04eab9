#include "system/consolelog.h"

#include <QFile>

namespace {

// Created once and never closed: messages may still come during process exit,
// after the platform object is gone.
QFile* g_consoleLog = nullptr;

QByteArray consoleText(QtMsgType type, const QString& text)
{
    const QByteArray bytes = text.toLocal8Bit();
    switch (type) {
    case QtWarningMsg:
        return bytes + '\n';
    case QtCriticalMsg:
        return "??? " + bytes + '\n';
    case QtFatalMsg:
        return "\n!!! " + bytes + "\n\n";
    case QtDebugMsg:
    case QtInfoMsg:
        break;
    }
    return QByteArray();
}

// Only the installer's own lines go to the console. Its code is built with
// QT_MESSAGELOGCONTEXT, so each of its messages names its source file; the Qt
// libraries of the device are release builds whose notices (for instance that
// XDG_RUNTIME_DIR is not set) come without one. A fatal message always passes:
// it tells why the process ends.
bool isInstallerMessage(QtMsgType type, const QMessageLogContext& context)
{
    return type == QtFatalMsg || context.file != nullptr;
}

} // namespace

bool openConsoleLog(const QString& path, QString& error)
{
    if (g_consoleLog && g_consoleLog->isOpen())
        return true;
    delete g_consoleLog;
    g_consoleLog = new QFile(path);
    // Append: a console that is a plain file keeps what was written before.
    if (g_consoleLog->open(QIODevice::WriteOnly | QIODevice::Append))
        return true;
    error = g_consoleLog->errorString();
    return false;
}

void consoleMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (!g_consoleLog || !g_consoleLog->isOpen() || !isInstallerMessage(type, context))
        return;
    const QByteArray bytes = consoleText(type, text);
    if (bytes.isEmpty())
        return;
    g_consoleLog->write(bytes);
    g_consoleLog->flush();
}
