// tools/stick-simulator and tools/demo, run as device makers and CI run them:
// their reports must say what the real installer did on the simulated device.
#include "common/testpaths.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct ToolResult {
    int exitCode = -1;
    QString output;
};

ToolResult runTool(const QString& relativePath, const QStringList& arguments, int timeoutMs = 300000)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(TestPaths::source(relativePath), arguments);
    ToolResult result;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        result.output = QStringLiteral("time-out");
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.output = QString::fromUtf8(process.readAll());
    return result;
}

bool writeExecutable(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return false;
    file.close();
    return file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther);
}

} // namespace

class StickSimulatorDemoTest : public QObject {
    Q_OBJECT

private:
    [[nodiscard]] bool makeProgramPackage(const QString& stick, const QString& version, const QString& bsp) const;
    [[nodiscard]] bool makeHelpPackage(const QString& stick) const;

    QTemporaryDir m_work;
    QString m_keys;

private Q_SLOTS:
    void initTestCase();
    void simulatorReport_data();
    void simulatorReport();
    void headlessDemoInstalls();
};

bool StickSimulatorDemoTest::makeProgramPackage(const QString& stick, const QString& version, const QString& bsp) const
{
    const QString source = m_work.filePath(QStringLiteral("program-source"));
    if (!writeExecutable(source + QStringLiteral("/usr/local/bin/corvane"), "#!/bin/sh\necho 3.1.0\n"))
        return false;
    return runTool(QStringLiteral("tools/make-package"),
               { QStringLiteral("tree"), QStringLiteral("--name"), QStringLiteral("bin"), QStringLiteral("--version"),
                   version, QStringLiteral("--bsp"), bsp, QStringLiteral("--key"),
                   m_keys + QStringLiteral("/private.pem"), QStringLiteral("--out"), stick, source })
               .exitCode
        == 0;
}

bool StickSimulatorDemoTest::makeHelpPackage(const QString& stick) const
{
    const QString source = m_work.filePath(QStringLiteral("help-source"));
    if (!writeExecutable(source + QStringLiteral("/usr/local/share/corvane/help/version.txt"), "version=3.1.0\n"))
        return false;
    return runTool(QStringLiteral("tools/make-package"),
               { QStringLiteral("tree"), QStringLiteral("--name"), QStringLiteral("doc"), QStringLiteral("--version"),
                   QStringLiteral("3.1.0"), QStringLiteral("--bsp"), QStringLiteral("1.36.0"), QStringLiteral("--key"),
                   m_keys + QStringLiteral("/private.pem"), QStringLiteral("--out"), stick, source })
               .exitCode
        == 0;
}

void StickSimulatorDemoTest::initTestCase()
{
    for (const char* tool : { "Xvfb", "xdotool", "bwrap", "import" }) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
            QSKIP(qPrintable(QStringLiteral("%1 is not installed (tools/install-deps)").arg(QLatin1String(tool))));
    }
    QVERIFY(m_work.isValid());
    m_keys = m_work.filePath(QStringLiteral("keys"));
    QCOMPARE(runTool(QStringLiteral("tools/make-package"), { QStringLiteral("keygen"), m_keys }).exitCode, 0);
}

void StickSimulatorDemoTest::simulatorReport_data()
{
    QTest::addColumn<QStringList>("packages"); // "bin VERSION BSP" or "doc"
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QStringList>("expectedLines"); // each must appear in the report, in this order

    QTest::newRow("empty stick: no window, device untouched")
        << QStringList() << QStringList()
        << QStringList { QStringLiteral("no packages"), QStringLiteral("not shown (no packages found)"),
               QStringLiteral("Next: nothing: the installer ended without touching the device") };
    QTest::newRow("quit restarts the application")
        << QStringList { QStringLiteral("bin 3.1.0 1.36.0") } << QStringList { QStringLiteral("--quit") }
        << QStringList { QStringLiteral("pre-selected"), QStringLiteral("pressed Quit"),
               QStringLiteral("Installed, in this order (update.log)"), QStringLiteral("  nothing"),
               QStringLiteral("Next: restart the application") };
    QTest::newRow("program install: files, log and reboot")
        << QStringList { QStringLiteral("bin 3.1.0 1.36.0") } << QStringList()
        << QStringList { QStringLiteral("pressed Install"), QStringLiteral("box: Update | Please remove USB"),
               QStringLiteral("Z bin-3.1.0-BSP-1.36.0.tar.bz2"), QStringLiteral("gained  /UPDATE.CONF"),
               QStringLiteral("changed /usr/local/bin/corvane"), QStringLiteral("Next: reboot the device") };
    QTest::newRow("wrong BSP only: red reason, Install disabled")
        << QStringList { QStringLiteral("bin 3.1.0 1.41.0") } << QStringList()
        << QStringList { QStringLiteral("red: Wrong BSP 1.41.0"), QStringLiteral("Install is disabled"),
               QStringLiteral("Next: restart the application") };
    QTest::newRow("unticked program: help files only, window stays, then quit")
        << QStringList { QStringLiteral("bin 3.1.0 1.36.0"), QStringLiteral("doc") }
        << QStringList { QStringLiteral("--untick"), QStringLiteral("bin-3.1.0-BSP-1.36.0.tar.bz2") }
        << QStringList { QStringLiteral("ticked off: row"), QStringLiteral("window idle: Ready"),
               QStringLiteral("Z doc-3.1.0-BSP-1.36.0.tar.bz2"),
               QStringLiteral("changed /usr/local/share/corvane/help/version.txt"),
               QStringLiteral("Next: restart the application") };
}

void StickSimulatorDemoTest::simulatorReport()
{
    QFETCH(QStringList, packages);
    QFETCH(QStringList, options);
    QFETCH(QStringList, expectedLines);

    QTemporaryDir row(m_work.filePath(QStringLiteral("row-XXXXXX")));
    const QString stick = row.filePath(QStringLiteral("stick"));
    QVERIFY(QDir().mkpath(stick));
    for (const QString& package : packages) {
        const QStringList fields = package.split(QLatin1Char(' '));
        QVERIFY(fields.first() == QLatin1String("doc") ? makeHelpPackage(stick)
                                                       : makeProgramPackage(stick, fields.at(1), fields.at(2)));
    }
    const ToolResult simulated = runTool(QStringLiteral("tools/stick-simulator"),
        QStringList { QStringLiteral("--build"), TestPaths::build(QString()), QStringLiteral("--out"),
            row.filePath(QStringLiteral("out")), QStringLiteral("--key"), m_keys + QStringLiteral("/public.pem"),
            QStringLiteral("--help-version"), QStringLiteral("3.0.0") }
            + options + QStringList { stick });
    QVERIFY2(simulated.exitCode == 0, qPrintable(simulated.output));
    qsizetype from = 0;
    for (const QString& line : expectedLines) {
        const qsizetype at = simulated.output.indexOf(line, from);
        QVERIFY2(at >= 0, qPrintable(QStringLiteral("'%1' not found (in order) in:\n%2").arg(line, simulated.output)));
        from = at + line.size();
    }
    QVERIFY2(simulated.output.contains(QLatin1String("Installer exit status: 0")), qPrintable(simulated.output));
}

void StickSimulatorDemoTest::headlessDemoInstalls()
{
    const ToolResult demo = runTool(QStringLiteral("tools/demo"),
        { QStringLiteral("--headless"), QStringLiteral("--build"), TestPaths::build(QString()), QStringLiteral("--out"),
            m_work.filePath(QStringLiteral("demo")) });
    QVERIFY2(demo.exitCode == 0, qPrintable(demo.output));
    QVERIFY2(demo.output.contains(QLatin1String("Help files and program were installed")), qPrintable(demo.output));
    QVERIFY(QFile::exists(m_work.filePath(QStringLiteral("demo/report/window-before.png"))));
    QVERIFY(QFile::exists(m_work.filePath(QStringLiteral("demo/report/window-after.png"))));
}

QTEST_GUILESS_MAIN(StickSimulatorDemoTest)
#include "sticksimulatordemotest.moc"
