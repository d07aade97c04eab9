// tools/stick-simulator and tools/demo, run as device makers and CI run them:
// their reports must say what the real installer did on the simulated device.
#include "common/testpaths.h"
#include "common/testtools.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace TestTools;

class StickSimulatorDemoTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void simulatorReport_data();
    void simulatorReport();
    void headlessDemoInstalls();

private:
    QTemporaryDir m_work;
    std::optional<CPackageMaker> m_maker;
};

void StickSimulatorDemoTest::initTestCase()
{
    const QString missing = missingTool({ "Xvfb", "xdotool", "bwrap", "import" });
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing + QStringLiteral(" is not installed (tools/install-deps)")));
    m_maker.emplace(m_work.path());
    QVERIFY(m_maker->isValid());
}

void StickSimulatorDemoTest::simulatorReport_data()
{
    QTest::addColumn<QStringList>("packages"); // kind and BSP, see CPackageMaker::makeSample
    QTest::addColumn<QStringList>("expectedLines"); // each must appear in the report, in this order

    QTest::newRow("help files and program: order, diff, reboot")
        << QStringList { "bin 1.36.0", "doc 1.36.0" }
        << QStringList { "pre-selected", "pre-selected", "pressed Install", "Z doc-3.1.0-BSP-1.36.0.tar.bz2",
               "Z bin-3.1.0-BSP-1.36.0.tar.bz2", "gained  /UPDATE.CONF", "changed /usr/local/bin/corvane",
               "changed /usr/local/share/corvane/help/version.txt", "Installer exit status: 0",
               "Next: reboot the device" };
    QTest::newRow("installer hands over")
        << QStringList { "ins 1.36.0" }
        << QStringList { "pressed Install", "Z ins-3.1.0-BSP-1.36.0.tar.bz2", "gained  /usr/local/share/corvane/installer.ini",
               "Next: start the new installer: /usr/local/bin/pkgupdate /media/usb" };
    QTest::newRow("tampered package refused")
        << QStringList { "tampered 1.36.0" }
        << QStringList { "pressed Install", "pressed Quit", "Verification failure",
               "Installed, in this order (update.log)", "  nothing", "Next: restart the application" };
    QTest::newRow("wrong BSP: red reason, Install disabled")
        << QStringList { "bin 1.41.0" }
        << QStringList { "red: Wrong BSP 1.41.0", "Install is disabled", "Next: restart the application" };
}

void StickSimulatorDemoTest::simulatorReport()
{
    QFETCH(QStringList, packages);
    QFETCH(QStringList, expectedLines);
    QTemporaryDir row(m_work.filePath(QStringLiteral("row-XXXXXX")));
    const QString stick = row.filePath(QStringLiteral("stick"));
    QVERIFY(QDir().mkpath(stick));
    for (const QString& package : packages)
        QVERIFY(m_maker->makeSample(package.section(' ', 0, 0), stick, package.section(' ', 1)));

    const ToolResult simulated = runTool(TestPaths::source(QStringLiteral("tools/stick-simulator")),
        { "--build", TestPaths::build(QString()), "--out", row.filePath(QStringLiteral("out")), "--key",
            m_maker->publicKey(), "--help-version", "3.0.0", stick },
        300000);

    QVERIFY2(simulated.exitCode == 0, qPrintable(simulated.errors));
    const QString report = simulated.output + simulated.errors;
    qsizetype from = 0;
    for (const QString& line : expectedLines) {
        from = report.indexOf(line, from);
        QVERIFY2(from >= 0, qPrintable(QStringLiteral("'%1' not found (in order) in:\n%2").arg(line, report)));
        from += line.size();
    }
}

void StickSimulatorDemoTest::headlessDemoInstalls()
{
    const ToolResult demo = runTool(TestPaths::source(QStringLiteral("tools/demo")),
        { "--headless", "--build", TestPaths::build(QString()), "--out", m_work.filePath(QStringLiteral("demo")) },
        300000);
    QVERIFY2(demo.exitCode == 0, qPrintable(demo.output + demo.errors));
    QVERIFY2((demo.output + demo.errors).contains(QLatin1String("Help files and program were installed")),
        qPrintable(demo.output + demo.errors));
    QVERIFY(QFile::exists(m_work.filePath(QStringLiteral("demo/report/window-after.png"))));
}

QTEST_GUILESS_MAIN(StickSimulatorDemoTest)
#include "sticksimulatordemotest.moc"
