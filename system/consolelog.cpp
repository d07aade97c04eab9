#include "system/consolelog.h"

#include <QFile>

namespace {

// Created once and never closed: messages may still come during process exit,
// after the platform object is gone.
QFile* g_consoleLog = nullptr;

// Longer texts are cut, so that a huge value from a package cannot flood the console.
const int kMaxConsoleCharacters = 4096;

QByteArray consoleText(QtMsgType type, const QString& text)
{
    QByteArray bytes = text.left(kMaxConsoleCharacters).toLocal8Bit();
    if (text.size() > kMaxConsoleCharacters)
        bytes += " [cut after " + QByteArray::number(kMaxConsoleCharacters) + " of " + QByteArray::number(text.size())
            + " characters]";
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
