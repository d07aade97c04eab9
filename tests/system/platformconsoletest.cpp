// The platform object's construction, run in the simulated device by a helper
// program: BSP version and key file from /proc/version, the console message
// handler, and the exit when /dev/console cannot be opened.
#include "common/sandboxrun.h"
#include "common/testpaths.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

class PlatformConsoleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void construction_data();
    void construction();
};

void PlatformConsoleTest::construction_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QStringList>("command"); // platformprobe's arguments; "-v": the installer
    QTest::addColumn<int>("exitCode"); // -1: killed by a signal
    QTest::addColumn<QString>("output"); // pattern
    QTest::addColumn<QByteArray>("console");

    const QString key = QStringLiteral("\n/usr/local/share/corvane/qelsslkey.pem\n$");
    const QString key141 = QStringLiteral("\n/usr/local/share/corvane/qelupdatekey141.pem\n$");
    const QString proc = QStringLiteral("--proc-version");
    const QStringList bsp{"bsp"};
    QTest::newRow("1.7.0") << QStringList{"--bsp", "1.7.0"} << bsp << 0 << "^\\[1.7.0\\]" + key << QByteArray();
    QTest::newRow("1.41.0") << QStringList{"--bsp", "1.41.0"} << bsp << 0 << "^\\[1.41.0\\]" + key141 << QByteArray();
    QTest::newRow("other BSP, no key") << QStringList{"--bsp", "1.41"} << bsp << 0 << "^\\[1.41\\]\n\\(null\\)\n$"
                                       << QByteArray();
    QTest::newRow("empty pieces count") << QStringList{proc, "a--c-d-e-f-g-1.41.0-x"} << bsp << 0
                                        << "^\\[1.41.0\\]" + key141 << QByteArray();
    QTest::newRow("line end kept") << QStringList{proc, "a-b-c-d-e-f-g-1.36.0"} << bsp << 0
                                   << "^\\[1.36.0\n\\]\n\\(null\\)\n$" << QByteArray();
    QTest::newRow("fewer than eight pieces") << QStringList{proc, "Linux version 5.10-arm"} << bsp << 0
                                             << "^\\[\\]\n\\(null\\)\n$" << QByteArray();
    QTest::newRow("debug dropped") << QStringList() << QStringList{"log", "debug", "text  x"} << 0 << "^$" << QByteArray();
    QTest::newRow("warning") << QStringList() << QStringList{"log", "warning", "text  x"} << 0 << "^$"
                             << QByteArray("text  x\n");
    QTest::newRow("critical") << QStringList() << QStringList{"log", "critical", "text  x"} << 0 << "^$"
                              << QByteArray("??? text  x\n");
    QTest::newRow("fatal aborts") << QStringList() << QStringList{"log", "fatal", "text  x"} << -1 << "^$"
                                  << QByteArray("\n!!! text  x\n\n");
    QTest::newRow("no console") << QStringList{"--no-console"} << bsp << 1 << "^Error: .+\n$" << QByteArray();
    QTest::newRow("no console, installer") << QStringList{"--no-console"} << QStringList{"-v"} << 1 << "^Error: .+\n$"
                                           << QByteArray();
}

void PlatformConsoleTest::construction()
{
    QFETCH(QStringList, options);
    QFETCH(QStringList, command);
    QFETCH(int, exitCode);
    QFETCH(QString, output);

    QTemporaryDir device;
    SandboxRun sandbox(device.path());
    sandbox.options = options;
    const QString program = command == QStringList{"-v"} ? TestPaths::executable() : QStringLiteral(PLATFORM_PROBE);
    const SandboxRun::Result result = sandbox.run(QStringList{program} + command);
    // The sandbox reports an abort as 128 + SIGABRT.
    QCOMPARE(result.exitCode > 1 ? -1 : result.exitCode, exitCode);
    const QString written = QString::fromLocal8Bit(result.standardOutput);
    QVERIFY2(written.contains(QRegularExpression(output)), qPrintable(written));
    QTEST(sandbox.console(), "console");
}

QTEST_GUILESS_MAIN(PlatformConsoleTest)
#include "platformconsoletest.moc"
