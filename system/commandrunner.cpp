#include "system/commandrunner.h"

#include <QDebug>

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

bool startCommandDetached(const QString& command)
{
    QStringList words = splitCommandLine(command);
    qDebug() << "start detached" << command;
    if (words.isEmpty())
        return false;
    const QString program = words.takeFirst();
    return QProcess::startDetached(program, words);
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
