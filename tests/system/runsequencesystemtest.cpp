// The real installer on the simulated device, worked through its window on a
// private X server as a technician would (tools/drive-window): what the device
// was told to do, which files it gained, and how the installer ended.
#include "common/sandboxrun.h"
#include "common/testpaths.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString Medium = QStringLiteral("/media/usb");
const QByteArray NewProgram = "#!/bin/sh\necho 3.1.0\n";
const QByteArray NewInstaller = "#!/bin/sh\necho \"/usr/local/bin/pkgupdate $*\" >>/var/log/device-calls.log\n";
const QByteArray NewHelpVersion = "version=4.0.0\n";

// Device path to expected content; "<missing>" for a file that must not exist.
using FileContents = QMap<QString, QByteArray>;

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

bool writeFile(const QString& path, const QByteArray& content, bool executable = false)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return false;
    file.close();
    if (executable)
        file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther);
    return true;
}

struct ToolResult {
    int exitCode = -1;
    QString output;
};

ToolResult runTool(const QString& program, const QStringList& arguments, int timeoutMs = 120000)
{
    QProcess process;
    process.start(program, arguments);
    ToolResult result;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        result.output = QStringLiteral("time-out");
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.output = QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError());
    return result;
}

} // namespace

Q_DECLARE_METATYPE(FileContents)

class RunSequenceSystemTest : public QObject {
    Q_OBJECT

private:
    [[nodiscard]] ToolResult drive(const QString& action, const QStringList& arguments = {}) const;
    [[nodiscard]] ToolResult makePackage(const QStringList& arguments) const;
    [[nodiscard]] bool addPackage(const QString& stick, const QString& package) const;

    QTemporaryDir m_work;
    QString m_state;
    QString m_keys;

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void technicianRun_data();
    void technicianRun();
};

ToolResult RunSequenceSystemTest::drive(const QString& action, const QStringList& arguments) const
{
    return runTool(
        TestPaths::source(QStringLiteral("tools/drive-window")), QStringList { action, m_state } + arguments);
}

ToolResult RunSequenceSystemTest::makePackage(const QStringList& arguments) const
{
    return runTool(TestPaths::source(QStringLiteral("tools/make-package")), arguments);
}

// The packages the rows put on their sticks, all for the device's BSP 1.36.0:
//   program     bin 3.1.0, a tree holding a new /usr/local/bin/corvane
//   installer   ins 2.0.1, the file pkgupdate for /usr/local/bin
//   help        doc 4.0.0, a tree replacing the help directory
//   tampered    the program package, changed after it was signed
bool RunSequenceSystemTest::addPackage(const QString& stick, const QString& package) const
{
    const QString source = m_work.filePath(QStringLiteral("source-") + package);
    const QStringList common { QStringLiteral("--bsp"), QStringLiteral("1.36.0"), QStringLiteral("--key"),
        m_keys + QStringLiteral("/private.pem"), QStringLiteral("--out"), stick };
    if (package == QLatin1String("installer")) {
        // Records its hand-over call the way the device's own installer stub does.
        const QString installer = source + QStringLiteral("/pkgupdate");
        writeFile(installer, NewInstaller, true);
        return makePackage(QStringList { QStringLiteral("files"), QStringLiteral("--name"), QStringLiteral("ins"),
                               QStringLiteral("--version"), QStringLiteral("2.0.1") }
                   + common + QStringList { installer + QStringLiteral("=/usr/local/bin") })
                   .exitCode
            == 0;
    }
    if (package == QLatin1String("help")) {
        writeFile(source + QStringLiteral("/usr/local/share/corvane/help/version.txt"), NewHelpVersion);
        return makePackage(QStringList { QStringLiteral("tree"), QStringLiteral("--name"), QStringLiteral("doc"),
                               QStringLiteral("--version"), QStringLiteral("4.0.0"), QStringLiteral("--delete"),
                               QStringLiteral("/usr/local/share/corvane/help") }
                   + common + QStringList { source })
                   .exitCode
            == 0;
    }
    writeFile(source + QStringLiteral("/usr/local/bin/corvane"), NewProgram, true);
    const ToolResult made
        = makePackage(QStringList { QStringLiteral("tree"), QStringLiteral("--name"), QStringLiteral("bin"),
                          QStringLiteral("--version"), QStringLiteral("3.1.0") }
            + common + QStringList { source });
    if (made.exitCode != 0)
        return false;
    if (package != QLatin1String("tampered"))
        return true;
    QFile archive(made.output.trimmed());
    return archive.open(QIODevice::Append) && archive.write("tampered") == 8;
}

void RunSequenceSystemTest::initTestCase()
{
    for (const char* tool : { "Xvfb", "xdotool", "bwrap" }) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
            QSKIP(qPrintable(QStringLiteral("%1 is not installed (tools/install-deps)").arg(QLatin1String(tool))));
    }
    QVERIFY(m_work.isValid());
    m_state = m_work.filePath(QStringLiteral("x"));
    m_keys = m_work.filePath(QStringLiteral("keys"));
    const ToolResult keygen = makePackage({ QStringLiteral("keygen"), m_keys });
    QVERIFY2(keygen.exitCode == 0, qPrintable(keygen.output));
    const ToolResult started
        = drive(QStringLiteral("start"), { QStringLiteral("--build"), TestPaths::build(QString()) });
    QVERIFY2(started.exitCode == 0, qPrintable(started.output));
}

void RunSequenceSystemTest::cleanupTestCase()
{
    if (!m_state.isEmpty())
        (void)drive(QStringLiteral("stop"));
}

void RunSequenceSystemTest::technicianRun_data()
{
    QTest::addColumn<QStringList>("packages");
    QTest::addColumn<QStringList>("actions");
    QTest::addColumn<QStringList>("expectedCalls");
    QTest::addColumn<FileContents>("expectedFiles");
    QTest::addColumn<QStringList>("expectedLogged");

    const QString query = QStringLiteral("/usr/local/bin/corvane -v");
    const QString stop = QStringLiteral("/etc/init.d/corvane stop || killall -9 corvane");
    const QStringList restart { QStringLiteral("/etc/init.d/corvane stop"),
        QStringLiteral("/etc/init.d/corvane start") };
    const QString reboot = QStringLiteral("/sbin/reboot ");
    const QString handOver = QStringLiteral("/usr/local/bin/pkgupdate ") + Medium;
    const QString corvane = QStringLiteral("/usr/local/bin/corvane");
    const QString ini = QStringLiteral("/usr/local/share/corvane/installer.ini");
    const QString log = QStringLiteral("/usr/local/share/corvane/update.log");
    const QString helpVersion = QStringLiteral("/usr/local/share/corvane/help/version.txt");
    const QByteArray missing = "<missing>";
    const QString program = QStringLiteral("bin-3.1.0-BSP-1.36.0.tar.bz2");
    const QString help = QStringLiteral("doc-4.0.0-BSP-1.36.0.tar.bz2");
    const QString installer = QStringLiteral("ins-2.0.1-BSP-1.36.0.tar.bz2");
    const FileContents untouched { { ini, missing }, { log, missing }, { helpVersion, missing } };

    QTest::newRow("empty stick: nothing stopped, no window")
        << QStringList() << QStringList() << QStringList() << untouched << QStringList();
    QTest::newRow("quit restarts the application")
        << QStringList { QStringLiteral("program") } << QStringList { QStringLiteral("click quit") }
        << (QStringList { query, stop } + restart) << untouched << QStringList();
    QTest::newRow("program install ends with the stick box and a reboot")
        << QStringList { QStringLiteral("program") } << QStringList { QStringLiteral("install") }
        << QStringList { query, stop, reboot } << FileContents { { corvane, NewProgram }, { ini, missing } }
        << QStringList { program };
    QTest::newRow("installer install hands over and marks the re-run")
        << QStringList { QStringLiteral("installer") } << QStringList { QStringLiteral("install") }
        << QStringList { stop, handOver }
        << FileContents { { QStringLiteral("/usr/local/bin/pkgupdate"), NewInstaller }, { ini, "ReRun=true\n\n" } }
        << QStringList { installer };
    QTest::newRow("help files go on to the program in one press")
        << QStringList { QStringLiteral("program"), QStringLiteral("help") }
        << QStringList { QStringLiteral("install") } << QStringList { query, stop, reboot }
        << FileContents { { corvane, NewProgram }, { helpVersion, NewHelpVersion }, { ini, missing } }
        << QStringList { help, program };
    QTest::newRow("tampered package is refused, then quit")
        << QStringList { QStringLiteral("tampered") }
        << QStringList { QStringLiteral("install"), QStringLiteral("click quit") }
        << (QStringList { query, stop } + restart) << untouched << QStringList();
}

void RunSequenceSystemTest::technicianRun()
{
    QFETCH(QStringList, packages);
    QFETCH(QStringList, actions);
    QFETCH(QStringList, expectedCalls);
    QFETCH(FileContents, expectedFiles);
    QFETCH(QStringList, expectedLogged);

    QTemporaryDir row(m_work.filePath(QStringLiteral("row-XXXXXX")));
    const QString stick = row.filePath(QStringLiteral("stick"));
    QVERIFY(QDir().mkpath(stick));
    for (const QString& package : packages)
        QVERIFY2(addPackage(stick, package), qPrintable(package));
    SandboxRun device(row.filePath(QStringLiteral("device")));

    const ToolResult run = drive(QStringLiteral("run"),
        { QStringLiteral("--device"), device.deviceDirectory(), QStringLiteral("--ro"), TestPaths::build(QString()),
            QStringLiteral("--key"), m_keys + QStringLiteral("/public.pem"), QStringLiteral("--stick"), stick,
            QStringLiteral("--"), TestPaths::executable(), QStringLiteral("-qws"), Medium });
    QVERIFY2(run.exitCode == 0, qPrintable(run.output));
    for (const QString& action : actions) {
        const ToolResult done = drive(action.section(QLatin1Char(' '), 0, 0),
            action.section(QLatin1Char(' '), 1).split(QLatin1Char(' '), Qt::SkipEmptyParts));
        QVERIFY2(done.exitCode == 0, qPrintable(action + QStringLiteral(": ") + done.output));
    }
    const ToolResult finished = drive(QStringLiteral("finish"), { QStringLiteral("60") });
    QCOMPARE(finished.output.trimmed(), QStringLiteral("0"));

    QCOMPARE(device.calls(), expectedCalls);
    for (auto file = expectedFiles.cbegin(); file != expectedFiles.cend(); ++file)
        QCOMPARE(readFile(device.hostPath(file.key())), file.value());
    QStringList logged;
    const QString log
        = QString::fromUtf8(readFile(device.hostPath(QStringLiteral("/usr/local/share/corvane/update.log"))));
    for (const QString& line : log.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        logged << line.section(QLatin1Char(' '), 1);
    if (log == QLatin1String("<missing>"))
        logged.clear();
    QCOMPARE(logged, expectedLogged);
}

QTEST_GUILESS_MAIN(RunSequenceSystemTest)
#include "runsequencesystemtest.moc"
