#include "common/sandboxrun.h"

TestTools::ToolResult SandboxRun::run(const QStringList& command, int timeoutMs) const
{
    const QStringList arguments { "--device", m_deviceDirectory, "--ro", TestPaths::source(QString()), "--ro",
        TestPaths::build(QString()) };
    return TestTools::runTool(
        TestPaths::source("simdevice/device-sandbox"), arguments + options + QStringList { "--" } + command, timeoutMs);
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
