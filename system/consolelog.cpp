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

void consoleMessageHandler(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (!g_consoleLog || !g_consoleLog->isOpen())
        return;
    const QByteArray bytes = consoleText(type, text);
    if (bytes.isEmpty())
        return;
    g_consoleLog->write(bytes);
    g_consoleLog->flush();
}
