#include "common/sandboxrun.h"

#include "common/testpaths.h"

#include <QFile>
#include <QProcess>

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

SandboxRun::SandboxRun(const QString& deviceDirectory)
    : m_deviceDirectory(deviceDirectory)
{
}

SandboxRun::Result SandboxRun::run(const QStringList& command, int timeoutMs) const
{
    QStringList arguments{QStringLiteral("--device"), m_deviceDirectory,
                          QStringLiteral("--ro"),     TestPaths::source(QString()),
                          QStringLiteral("--ro"),     TestPaths::build(QString())};
    arguments << options << QStringLiteral("--") << command;

    QProcess sandbox;
    sandbox.start(TestPaths::sandbox(), arguments);
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

QString SandboxRun::hostPath(const QString& devicePath) const
{
    return m_deviceDirectory + QStringLiteral("/root") + devicePath;
}

QByteArray SandboxRun::console() const
{
    return readAll(m_deviceDirectory + QStringLiteral("/console"));
}

QStringList SandboxRun::calls() const
{
    const QString text = QString::fromLocal8Bit(readAll(hostPath(QStringLiteral("/var/log/device-calls.log"))));
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
