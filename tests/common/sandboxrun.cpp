#include "common/sandboxrun.h"

#include "common/testtools.h"

#include <QProcess>

SandboxRun::SandboxRun(const QString& deviceDirectory)
    : m_deviceDirectory(deviceDirectory)
{
}

SandboxRun::Result SandboxRun::run(const QStringList& command, int timeoutMs) const
{
    QProcess sandbox;
    sandbox.start(TestPaths::source("tools/device-sandbox"),
        QStringList {
            "--device", m_deviceDirectory, "--ro", TestPaths::source(QString()), "--ro", TestPaths::build(QString()) }
            + options + QStringList { "--" } + command);
    Result result;
    result.finished = sandbox.waitForFinished(timeoutMs);
    if (!result.finished) {
        sandbox.kill();
        sandbox.waitForFinished();
    }
    result.exitCode = sandbox.exitStatus() == QProcess::NormalExit ? sandbox.exitCode() : -1;
    result.standardOutput = sandbox.readAllStandardOutput();
    result.standardError = sandbox.readAllStandardError();
    return result;
}

QByteArray SandboxRun::console() const
{
    return TestTools::readFile(m_deviceDirectory + "/console", {});
}

QStringList SandboxRun::calls() const
{
    const QByteArray log = TestTools::readFile(m_deviceDirectory + "/root/var/log/device-calls.log", {});
    return QString::fromLocal8Bit(log).split('\n', Qt::SkipEmptyParts);
}
