#pragma once

#include "common/testtools.h"

// Runs commands inside the simulated device (simdevice/device-sandbox) and reads what
// the device recorded. The device's files stay in deviceDirectory between runs.
class SandboxRun {
public:
    explicit SandboxRun(const QString& deviceDirectory)
        : m_deviceDirectory(deviceDirectory)
    {
    }

    // Sandbox options added to every run ("--bsp", "1.41.0", ...).
    QStringList options;

    // Runs command (program and arguments) in the device; the source and build
    // trees are visible read-only.
    [[nodiscard]] TestTools::ToolResult run(const QStringList& command, int timeoutMs = 60000) const;

    // What was written to /dev/console.
    [[nodiscard]] QByteArray console() const;
    // One entry per call of a fake program ("/sbin/reboot ", "/etc/init.d/corvane start").
    [[nodiscard]] QStringList calls() const;

private:
    QString m_deviceDirectory;
};
