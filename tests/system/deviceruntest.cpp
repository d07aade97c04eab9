// The installer binary and the bare platform object, each run in a fresh
// simulated device, as one golden transcript: exit status, standard output and
// error, the console and the calls of the device's programs.
#include "common/devicefiles.h"
#include "common/golden.h"
#include "common/sandboxrun.h"
#include "common/testtools.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

class DeviceRunTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runs();
};

void DeviceRunTest::runs()
{
    QTemporaryDir work;
    QString transcript;
    for (const QString& line : TestTools::dataLines("system/data/device-runs.txt")) {
        const QStringList row = line.split(" | ");
        if (row.size() == 1) {
            QVERIFY(DeviceFiles::writeEntry(work.path(), line));
            continue;
        }
        QTemporaryDir device;
        SandboxRun sandbox(device.path());
        sandbox.options = QProcess::splitCommand(QString(row[1]).replace("WORK", work.path()));
        const QStringList words = QProcess::splitCommand(row[2]);
        const QString program
            = words[0] == QLatin1String("pkgupdate") ? TestPaths::executable() : QStringLiteral(PLATFORM_PROBE);
        TestTools::ToolResult result = sandbox.run(QStringList { program } + words.mid(1));
        // An ARM build tested under user-mode emulation: the emulator's own line on a crash.
        result.errors.remove(QRegularExpression(QStringLiteral("^qemu: .*\n"), QRegularExpression::MultilineOption));
        transcript += QStringLiteral("== %1\n$ %2\nexit %3\nstdout:\n%4stderr:\n%5console:\n%6calls:\n%7\n")
                          .arg(row[0], words.join(' '))
                          .arg(result.exitCode)
                          .arg(result.output, result.errors, QString::fromLocal8Bit(sandbox.console()),
                              (sandbox.calls() << QString()).join('\n'));
    }
    QCOMPARE_GOLDEN("system/data/device-runs.ref", transcript);
}

QTEST_GUILESS_MAIN(DeviceRunTest)
#include "deviceruntest.moc"
