#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// Runs commands inside the simulated device (tools/device-sandbox) and reads what
// the device recorded. The device's files stay in deviceDirectory between runs.
class SandboxRun
{
public:
    struct Result
    {
        bool finished = false; // false: the sandbox was killed after the time-out
        int exitCode = -1;
        QByteArray standardOutput;
        QByteArray standardError;
    };

    explicit SandboxRun(const QString& deviceDirectory);

    // Sandbox options added to every run ("--bsp", "1.41.0", ...).
    QStringList options;

    // Runs command (program and arguments) in the device; the source and build
    // trees are visible read-only.
    Result run(const QStringList& command, int timeoutMs = 60000) const;

    // What was written to /dev/console.
    [[nodiscard]] QByteArray console() const;
    // One entry per call of a fake program ("/sbin/reboot ", "/etc/init.d/corvane start").
    [[nodiscard]] QStringList calls() const;

private:
    QString m_deviceDirectory;
};
