#include "system/commandrunner.h"

#include <QDebug>
#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// Starts argv[0] in a grandchild whose parent ends at once, so that init adopts
// it. The grandchild reports a failed exec's errno through a pipe that a
// successful exec closes; the result is 0 when the program runs, else the errno.
// Between fork and exec nothing is allocated: the process may have other threads.
int spawnDetached(char* const argv[])
{
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0)
        return errno;
    const pid_t child = ::fork();
    if (child == 0) {
        ::setsid();
        const pid_t grandchild = ::fork();
        int error = grandchild < 0 ? errno : 0;
        if (grandchild == 0) {
            ::signal(SIGPIPE, SIG_DFL);
            ::execvp(argv[0], argv);
            error = errno;
        }
        if (error != 0)
            (void)!::write(report[1], &error, sizeof error);
        ::_exit(error != 0 ? 127 : 0);
    }
    int error = child < 0 ? errno : 0;
    ::close(report[1]);
    if (child > 0) {
        ssize_t length;
        while ((length = ::read(report[0], &error, sizeof error)) < 0 && errno == EINTR) { }
        if (length != sizeof error)
            error = 0;
        while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) { }
    }
    ::close(report[0]);
    return error;
}

} // namespace

QStringList splitCommandLine(const QString& command)
{
    return QProcess::splitCommand(command);
}

QString collapsedOutput(const QByteArray& bytes)
{
    const int nul = bytes.indexOf('\0');
    const QByteArray text = nul < 0 ? bytes : bytes.left(nul);
    return QString::fromLatin1(text).simplified();
}

int runCommandSync(const QString& command, QString* errorText)
{
    QStringList words = splitCommandLine(command);
    qDebug() << "run" << command;
    const QString program = words.isEmpty() ? QString() : words.takeFirst();
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, words);
    const bool started = process.waitForStarted(-1);
    if (started)
        process.waitForFinished(-1);
    if (errorText)
        *errorText = process.errorString();
    if (!started)
        return -2;
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

bool startCommandDetached(const QString& command, QString* errorText)
{
    const QStringList words = splitCommandLine(command);
    qDebug() << "start detached" << command;
    // The words are encoded before the fork: the child may not allocate.
    std::vector<QByteArray> encoded;
    for (const QString& word : words)
        encoded.push_back(QFile::encodeName(word));
    std::vector<char*> argv;
    for (QByteArray& word : encoded)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    const int error = words.isEmpty() ? ENOENT : spawnDetached(argv.data());
    if (error != 0 && errorText)
        *errorText = QStringLiteral("%1: %2").arg(words.value(0), QString::fromLocal8Bit(std::strerror(error)));
    return error == 0;
}

CWaitedCommand::CWaitedCommand(const QString& command)
    : m_command(command)
{
}

CWaitedCommand::~CWaitedCommand()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(1000);
    }
}

bool CWaitedCommand::start(int startMs)
{
    QStringList words = splitCommandLine(m_command);
    qDebug() << "run" << m_command;
    // An empty program name makes QProcess fail with "No program defined";
    // Qt 6.4's startCommand() would crash on a blank command instead.
    const QString program = words.isEmpty() ? QString() : words.takeFirst();
    m_process.start(program, words, QIODevice::ReadWrite);
    return m_process.waitForStarted(startMs);
}

bool CWaitedCommand::waitForFinished(int finishMs)
{
    return m_process.waitForFinished(finishMs);
}

QString CWaitedCommand::standardOutput()
{
    return collapsedOutput(m_process.readAllStandardOutput());
}

QString CWaitedCommand::standardError()
{
    return collapsedOutput(m_process.readAllStandardError());
}
