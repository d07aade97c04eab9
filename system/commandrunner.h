#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

// The one place where the installer starts external programs. Commands are single
// strings, split at blanks as the old one-string QProcess API did (double quotes
// group words, no shell: "||" and ">" reach the program as arguments).

// The command's words: program first, then its arguments. Empty for a blank command.
[[nodiscard]] QStringList splitCommandLine(const QString& command);

// Standard output or error as the installer judges it: the bytes up to the first
// NUL, read as ASCII, white space collapsed to single blanks and trimmed.
[[nodiscard]] QString collapsedOutput(const QByteArray& bytes);

// Runs command to completion, its output going to the installer's own. Returns its
// exit code, -2 if it could not be started, -1 if it crashed (the values of
// QProcess::execute). errorText, when given, receives the process's error text.
int runCommandSync(const QString& command, QString* errorText = nullptr);

// Starts command as an independent process that outlives the installer; true if
// it could be started. Otherwise errorText, when given, receives the program and
// the system's reason ("/sbin/reboot: Permission denied").
[[nodiscard]] bool startCommandDetached(const QString& command, QString* errorText = nullptr);

// A command run with a start and a finish time-out and captured output.
// The process, if still running, is killed when this object is destroyed.
class CWaitedCommand {
public:
    explicit CWaitedCommand(const QString& command);
    ~CWaitedCommand();
    CWaitedCommand(const CWaitedCommand&) = delete;
    CWaitedCommand& operator=(const CWaitedCommand&) = delete;

    // Starts with read and write channels; false if not started within startMs.
    bool start(int startMs);
    // False on a time-out or process error; the process may still be running then.
    bool waitForFinished(int finishMs);

    [[nodiscard]] const QString& command() const { return m_command; }
    [[nodiscard]] QProcess& process() { return m_process; }
    // All of standard output / error read so far, collapsed (see collapsedOutput).
    [[nodiscard]] QString standardOutput();
    [[nodiscard]] QString standardError();

private:
    QString m_command;
    QProcess m_process;
};
