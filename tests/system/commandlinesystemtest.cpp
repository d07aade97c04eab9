// The installer binary's command line, run on the simulated device: exit status,
// standard output, standard error and what reached the console.

#include "common/sandboxrun.h"
#include "common/testpaths.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

class CommandLineSystemTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commandLine_data();
    void commandLine();
    void emptyMediumStopsNothing();
    void missingConsoleEndsWithStatusOne();
};

void CommandLineSystemTest::commandLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("standardOutput");
    QTest::addColumn<QByteArray>("standardError");
    QTest::addColumn<QByteArray>("console");

    const QByteArray none;
    const QByteArray start = "update  \"2.0.0\"    \"Build 34725\"\n";
    QTest::newRow("no argument") << QStringList() << 2 << none << none << QByteArray("??? argc<2\n");
    QTest::newRow("-v") << QStringList{"-v"} << 0 << QByteArray("2.0.0\n") << none << none;
    QTest::newRow("-S") << QStringList{"-S"} << 0 << QByteArray("Build 34725\n") << none << none;
    QTest::newRow("path alone") << QStringList{"/media/usb"} << 3 << none
                                << QByteArray("!!! ERROR  Unknowen parameter : /media/usb\n") << none;
    QTest::newRow("-qws and -v") << QStringList{"-qws", "-v"} << 0 << none << none
                                 << start + "Path is empty\n";
    QTest::newRow("missing directory") << QStringList{"update", "/media/none"} << 0 << none << none
                                       << start + "update found  0  files in  \"/media/none\"\n";
    QTest::newRow("-qws and empty medium") << QStringList{"-qws", "/media/usb"} << 0 << none << none
                                           << start + "update found  0  files in  \"/media/usb\"\n";
}

void CommandLineSystemTest::commandLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, standardOutput);
    QFETCH(QByteArray, standardError);
    QFETCH(QByteArray, console);

    QTemporaryDir device;
    QVERIFY(device.isValid());
    const SandboxRun sandbox(device.path());
    const SandboxRun::Result result = sandbox.run(QStringList{TestPaths::executable()} + arguments);

    QVERIFY(result.finished);
    QCOMPARE(result.exitCode, exitCode);
    QCOMPARE(result.standardOutput, standardOutput);
    QCOMPARE(result.standardError, standardError);
    QCOMPARE(sandbox.console(), console);
    QCOMPARE(sandbox.calls(), QStringList());
}

void CommandLineSystemTest::emptyMediumStopsNothing()
{
    // A medium holding only things that are not packages: the application keeps
    // running and the RAM disk keeps its size.
    QTemporaryDir device;
    QTemporaryDir stick;
    QVERIFY(device.isValid() && stick.isValid());
    QVERIFY(QDir(stick.path()).mkdir(QStringLiteral("notes")));
    SandboxRun sandbox(device.path());
    sandbox.options << QStringLiteral("--stick") << stick.path();

    const SandboxRun::Result result = sandbox.run(
        {QStringLiteral("/bin/sh"), QStringLiteral("-c"),
         TestPaths::executable() + QStringLiteral(" -qws /media/usb && df -k /tmp | tail -n 1")});

    QCOMPARE(result.exitCode, 0);
    QVERIFY2(!result.standardOutput.contains(" 143360 "), result.standardOutput);
    QCOMPARE(sandbox.calls(), QStringList());
}

void CommandLineSystemTest::missingConsoleEndsWithStatusOne()
{
    QTemporaryDir device;
    QVERIFY(device.isValid());
    SandboxRun sandbox(device.path());
    sandbox.options << QStringLiteral("--no-console");

    const SandboxRun::Result result = sandbox.run({TestPaths::executable(), QStringLiteral("-v")});

    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.standardOutput.startsWith("Error: "), result.standardOutput);
    QVERIFY(!result.standardOutput.contains("2.0.0"));
}

QTEST_GUILESS_MAIN(CommandLineSystemTest)
#include "commandlinesystemtest.moc"
