#include "system/consolelog.h"

#include <QFile>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Opened once and never closed: messages may still come during process exit,
// after the platform object is gone. A plain descriptor, not a buffered file: the
// toolkit's input handlers log from threads of their own, and a buffer shared
// between threads writes a line twice or loses one.
std::atomic<int> g_consoleFd { -1 };

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
    if (g_consoleFd >= 0)
        return true;
    // O_APPEND: a console that is a plain file keeps what was written before, and a
    // message written at once is never mixed with another thread's.
    // O_NOCTTY: the console must not become the installer's controlling terminal,
    // whose hang-up or interrupt key would end it in the middle of an installation.
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    int none = -1;
    if (!g_consoleFd.compare_exchange_strong(none, fd))
        ::close(fd);
    return true;
}

void consoleMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const int fd = g_consoleFd;
    if (fd < 0 || !isConsoleMessage(type, context))
        return;
    const QByteArray bytes = consoleText(type, text);
    const int savedErrno = errno; // the code that logs may still read it
    // One write per message; a terminal may take less, and the rest follows.
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t written = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            break;
        done += written;
    }
    errno = savedErrno;
}
