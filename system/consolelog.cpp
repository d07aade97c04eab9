#include "system/consolelog.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

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

// The console carries the installer's own lines. Its code is built with
// QT_MESSAGELOGCONTEXT, so each of its messages names its source file; the Qt
// libraries of the device are release builds whose notices (for instance that
// XDG_RUNTIME_DIR is not set) come without one. The libraries' critical and fatal
// messages still pass: they say why the screen or the touch input failed, or why
// the process ends.
bool isConsoleMessage(QtMsgType type, const QMessageLogContext& context)
{
    return type == QtCriticalMsg || type == QtFatalMsg || context.file != nullptr;
}

} // namespace

bool openConsoleLog(const QString& path, QString& error)
{
    if (g_consoleLog && g_consoleLog->isOpen())
        return true;
    delete g_consoleLog;
    g_consoleLog = new QFile;
    // O_APPEND: a console that is a plain file keeps what was written before. QFile's
    // own Append mode would seek, which a terminal refuses with a warning of its own.
    // O_NOCTTY: the console must not become the installer's controlling terminal,
    // whose hang-up or interrupt key would end it in the middle of an installation.
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    if (g_consoleLog->open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle))
        return true;
    error = g_consoleLog->errorString();
    ::close(fd);
    return false;
}

void consoleMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (!g_consoleLog || !g_consoleLog->isOpen() || !isConsoleMessage(type, context))
        return;
    const QByteArray bytes = consoleText(type, text);
    if (bytes.isEmpty())
        return;
    g_consoleLog->write(bytes);
    g_consoleLog->flush();
}
