// The platform object's construction, run in the simulated device by a helper
// program: BSP version and key file from /proc/version, the console message
// handler, and the exit when /dev/console cannot be opened.
#include "common/sandboxrun.h"
#include "common/testpaths.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

const QString kKey = QStringLiteral("/usr/local/share/corvane/qelsslkey.pem");
const QString kKey141 = QStringLiteral("/usr/local/share/corvane/qelupdatekey141.pem");
const QString kNoKey = QStringLiteral("(null)");

SandboxRun::Result runInDevice(const QStringList& options, const QStringList& command,
                               QByteArray* console = nullptr)
{
    QTemporaryDir device;
    SandboxRun sandbox(device.path());
    sandbox.options = options;
    const SandboxRun::Result result = sandbox.run(command);
    if (console)
        *console = sandbox.console();
    return result;
}

QStringList probe(const QStringList& arguments)
{
    return QStringList{QStringLiteral(PLATFORM_PROBE)} + arguments;
}

} // namespace

class PlatformConsoleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void bspAndKeyFile_data();
    void bspAndKeyFile();
    void consoleMessage_data();
    void consoleMessage();
    void noConsole_data();
    void noConsole();
};

void PlatformConsoleTest::bspAndKeyFile_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("bsp");
    QTest::addColumn<QString>("key");

    const QString proc = QStringLiteral("--proc-version");
    QTest::newRow("1.7.0") << QStringList{"--bsp", "1.7.0"} << "1.7.0" << kKey;
    QTest::newRow("1.41.0") << QStringList{"--bsp", "1.41.0"} << "1.41.0" << kKey141;
    QTest::newRow("other BSP") << QStringList{"--bsp", "1.41"} << "1.41" << kNoKey;
    QTest::newRow("empty pieces count") << QStringList{proc, "a--c-d-e-f-g-1.41.0-x"} << "1.41.0" << kKey141;
    QTest::newRow("line end kept") << QStringList{proc, "a-b-c-d-e-f-g-1.36.0"} << "1.36.0\n" << kNoKey;
    QTest::newRow("fewer than eight pieces") << QStringList{proc, "Linux version 5.10-arm"} << "" << kNoKey;
}

void PlatformConsoleTest::bspAndKeyFile()
{
    QFETCH(QStringList, options);
    QFETCH(QString, bsp);
    QFETCH(QString, key);

    QByteArray console;
    const SandboxRun::Result result = runInDevice(options, probe({"bsp"}), &console);
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(QString::fromLatin1(result.standardOutput), QStringLiteral("[%1]\n%2\n").arg(bsp, key));
    // The debug lines of construction and of an unknown BSP never reach the console.
    QCOMPARE(console, QByteArray());
}

void PlatformConsoleTest::consoleMessage_data()
{
    QTest::addColumn<QString>("level");
    QTest::addColumn<QByteArray>("console");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("debug dropped") << "debug" << QByteArray() << 0;
    QTest::newRow("warning") << "warning" << QByteArray("text  x\n") << 0;
    QTest::newRow("critical") << "critical" << QByteArray("??? text  x\n") << 0;
    QTest::newRow("fatal") << "fatal" << QByteArray("\n!!! text  x\n\n") << -1;
}

void PlatformConsoleTest::consoleMessage()
{
    QFETCH(QString, level);
    QFETCH(QByteArray, console);
    QFETCH(int, exitCode);

    QByteArray written;
    const SandboxRun::Result result = runInDevice({}, probe({"log", level, "text  x"}), &written);
    // A fatal message aborts: the sandbox reports the signal as 128 + SIGABRT.
    QCOMPARE(result.exitCode == 0 ? 0 : -1, exitCode);
    QCOMPARE(written, console);
}

void PlatformConsoleTest::noConsole_data()
{
    QTest::addColumn<QStringList>("command");

    QTest::newRow("platform object") << probe({"bsp"});
    QTest::newRow("installer -v") << QStringList{TestPaths::executable(), "-v"};
}

void PlatformConsoleTest::noConsole()
{
    QFETCH(QStringList, command);

    const SandboxRun::Result result = runInDevice({"--no-console"}, command);
    QCOMPARE(result.exitCode, 1);
    const QString output = QString::fromLocal8Bit(result.standardOutput);
    QVERIFY2(output.startsWith(QLatin1String("Error: ")), qPrintable(output));
    QVERIFY2(output.endsWith(QLatin1Char('\n')) && output.count(QLatin1Char('\n')) == 1, qPrintable(output));
    QVERIFY2(output.size() > 8, "the error text is missing");
}

QTEST_GUILESS_MAIN(PlatformConsoleTest)
#include "platformconsoletest.moc"
