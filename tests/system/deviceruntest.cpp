// The installer binary and the bare platform object, each run in a fresh
// simulated device, as one golden transcript: exit status, standard output and
// error, the console and the calls of the device's programs.
#include "common/golden.h"
#include "common/sandboxrun.h"
#include "common/testpaths.h"
#include "common/testtools.h"

#include <QTemporaryDir>
#include <QTest>

class DeviceRunTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runs();
};

void DeviceRunTest::runs()
{
    struct Row {
        const char* name;
        QStringList options; // of the sandbox
        QStringList command; // "pkgupdate" or "platformprobe" and arguments
    };
    QTemporaryDir work;
    // A stick with seven packages by name (their content is not looked at before
    // Install), one with no package where the installer looks, a failing mount.
    for (const char* file : { "empty/notes/bin-3.0.0-BSP-1.36.0.tar.bz2", "empty/bin-3.1.0-BSP-1.36.0.tar.bz2.sha1" })
        QVERIFY(TestTools::writeFile(work.filePath(file), "x"));
    for (int minor = 0; minor < 7; ++minor) {
        for (const QString suffix : { "", ".sha1" })
            QVERIFY(TestTools::writeFile(
                work.filePath("package/bin-3.%1.0-BSP-1.36.0.tar.bz2%2").arg(minor).arg(suffix), "x"));
    }
    QVERIFY(TestTools::writeScript(work.filePath("mount"), "echo \"mount $*\" >>/var/log/device-calls.log; exit 1"));
    const QList<Row> rows {
        { "no argument", {}, { "pkgupdate" } },
        { "version", {}, { "pkgupdate", "-v" } },
        { "build", {}, { "pkgupdate", "-S" } },
        { "a path alone", {}, { "pkgupdate", "/media/usb" } },
        { "no path", {}, { "pkgupdate", "-qws", "-v" } },
        { "missing medium", {}, { "pkgupdate", "update", "/media/none" } },
        { "medium without packages", { "--stick", work.filePath("empty") }, { "pkgupdate", "-qws", "/media/usb" } },
        { "no console", { "--no-console" }, { "pkgupdate", "-v" } },
        { "RAM disk cannot be enlarged",
            { "--stick", work.filePath("package"), "--file", work.filePath("mount"), "/usr/local/bin/mount" },
            { "pkgupdate", "-qws", "/media/usb" } },
        { "BSP 1.36.0, console levels", {}, { "platformprobe", "log", "text  x" } },
        { "BSP 1.7.0", { "--bsp", "1.7.0" }, { "platformprobe" } },
        { "BSP 1.41.0", { "--bsp", "1.41.0" }, { "platformprobe" } },
        { "BSP 1.41", { "--bsp", "1.41" }, { "platformprobe" } },
        { "empty pieces count", { "--proc-version", "a--c-d-e-f-g-1.41.0-x" }, { "platformprobe" } },
        { "line end kept", { "--proc-version", "a-b-c-d-e-f-g-1.36.0" }, { "platformprobe" } },
        { "fewer than eight pieces", { "--proc-version", "Linux version 5.10-arm" }, { "platformprobe" } },
        { "fatal message", {}, { "platformprobe", "fatal", "text  x" } },
    };
    QString transcript;
    for (const Row& row : rows) {
        QTemporaryDir device;
        SandboxRun sandbox(device.path());
        sandbox.options = row.options;
        QStringList command = row.command;
        command[0]
            = command[0] == QLatin1String("pkgupdate") ? TestPaths::executable() : QStringLiteral(PLATFORM_PROBE);
        const SandboxRun::Result result = sandbox.run(command);
        transcript
            += QStringLiteral("== %1\n$ %2\nexit %3\nstdout:\n%4stderr:\n%5console:\n%6calls:\n%7\n")
                   .arg(QLatin1String(row.name), row.command.join(' '))
                   .arg(result.finished ? result.exitCode : -1)
                   .arg(QString::fromLocal8Bit(result.standardOutput), QString::fromLocal8Bit(result.standardError),
                       QString::fromLocal8Bit(sandbox.console()), (sandbox.calls() << QString()).join('\n'));
    }
    QCOMPARE_GOLDEN("system/data/device-runs.ref", transcript);
}

QTEST_GUILESS_MAIN(DeviceRunTest)
#include "deviceruntest.moc"
