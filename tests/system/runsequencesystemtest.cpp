// The real installer on the simulated device, worked through its window on a
// private X server as a technician would (tools/drive-window): what the device
// was told to do, which files it gained, and how the installer ended.
#include "common/sandboxrun.h"
#include "common/testpaths.h"
#include "common/testtools.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace TestTools;

// Device path to expected content; "<missing>" for a file that must not exist.
using FileContents = QMap<QString, QByteArray>;
Q_DECLARE_METATYPE(FileContents)

class RunSequenceSystemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void technicianRun_data();
    void technicianRun();

private:
    ToolResult drive(const QString& action, const QStringList& arguments = {}) const
    {
        return runTool(TestPaths::source(QStringLiteral("tools/drive-window")), QStringList { action, m_state } + arguments);
    }

    QTemporaryDir m_work;
    QString m_state;
    std::optional<CPackageMaker> m_maker;
};

void RunSequenceSystemTest::initTestCase()
{
    const QString missing = missingTool({ "Xvfb", "xdotool", "bwrap" });
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing + QStringLiteral(" is not installed (tools/install-deps)")));
    m_maker.emplace(m_work.path());
    QVERIFY(m_maker->isValid());
    m_state = m_work.filePath(QStringLiteral("x"));
    const ToolResult started = drive(QStringLiteral("start"), { QStringLiteral("--build"), TestPaths::build(QString()) });
    QVERIFY2(started.exitCode == 0, qPrintable(started.errors));
}

void RunSequenceSystemTest::cleanupTestCase()
{
    if (!m_state.isEmpty())
        (void)drive(QStringLiteral("stop"));
}

void RunSequenceSystemTest::technicianRun_data()
{
    QTest::addColumn<QString>("package");
    QTest::addColumn<QStringList>("actions");
    QTest::addColumn<QStringList>("expectedCalls");
    QTest::addColumn<FileContents>("expectedFiles");
    QTest::addColumn<QString>("expectedLogged");

    const QString query = QStringLiteral("/usr/local/bin/corvane -v");
    const QString stop = QStringLiteral("/etc/init.d/corvane stop || killall -9 corvane");
    const QStringList restart { "/etc/init.d/corvane stop", "/etc/init.d/corvane start" };
    const QString ini = QStringLiteral("/usr/local/share/corvane/installer.ini");
    const QString log = QStringLiteral("/usr/local/share/corvane/update.log");
    const FileContents untouched { { ini, "<missing>" }, { log, "<missing>" } };

    QTest::newRow("quit restarts the application") << "bin" << QStringList { "click quit" }
                                                   << QStringList { query, stop } + restart << untouched << "";
    QTest::newRow("program install ends with the stick box and a reboot")
        << "bin" << QStringList { "install" } << QStringList { query, stop, "/sbin/reboot " }
        << FileContents { { "/usr/local/bin/corvane", kSampleProgram }, { ini, "<missing>" } }
        << "bin-3.1.0-BSP-1.36.0.tar.bz2";
    QTest::newRow("installer install hands over and marks the re-run")
        << "ins" << QStringList { "install" } << QStringList { stop, "/usr/local/bin/pkgupdate /media/usb" }
        << FileContents { { "/usr/local/bin/pkgupdate", kSampleInstaller }, { ini, "ReRun=true\n\n" } }
        << "ins-3.1.0-BSP-1.36.0.tar.bz2";
    QTest::newRow("tampered package is refused, then quit")
        << "tampered" << QStringList { "install", "click quit" } << QStringList { query, stop } + restart << untouched
        << "";
}

void RunSequenceSystemTest::technicianRun()
{
    QFETCH(QString, package);
    QFETCH(QStringList, actions);
    QFETCH(FileContents, expectedFiles);
    QTemporaryDir row(m_work.filePath(QStringLiteral("row-XXXXXX")));
    const QString stick = row.filePath(QStringLiteral("stick"));
    QVERIFY(QDir().mkpath(stick));
    QVERIFY(m_maker->makeSample(package, stick, QStringLiteral("1.36.0")));
    SandboxRun device(row.filePath(QStringLiteral("device")));

    const ToolResult run = drive(QStringLiteral("run"),
        { "--device", device.deviceDirectory(), "--ro", TestPaths::build(QString()), "--key", m_maker->publicKey(),
            "--stick", stick, "--", TestPaths::executable(), "-qws", "/media/usb" });
    QVERIFY2(run.exitCode == 0, qPrintable(run.errors));
    for (const QString& action : actions) {
        const QStringList words = action.split(QLatin1Char(' '));
        const ToolResult done = drive(words.first(), words.mid(1));
        QVERIFY2(done.exitCode == 0, qPrintable(action + QStringLiteral(": ") + done.errors));
    }
    QCOMPARE(drive(QStringLiteral("finish"), { QStringLiteral("60") }).output.trimmed(), QStringLiteral("0"));

    QTEST(device.calls(), "expectedCalls");
    for (auto file = expectedFiles.cbegin(); file != expectedFiles.cend(); ++file)
        QCOMPARE(readFile(device.hostPath(file.key())), file.value());
    const QString log = QString::fromUtf8(readFile(device.hostPath(QStringLiteral("/usr/local/share/corvane/update.log"))));
    QTEST(log == QLatin1String("<missing>") ? QString() : log.section(QLatin1Char(' '), 1).trimmed(), "expectedLogged");
}

QTEST_GUILESS_MAIN(RunSequenceSystemTest)
#include "runsequencesystemtest.moc"
