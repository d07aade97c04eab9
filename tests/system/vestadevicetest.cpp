// The platform object's operations on the device itself, inside the simulated
// device: RAM-disk size, stopping and starting the main application, hand-over to
// the installer, reboot, the unpack directory and copying symbolic links.
#include "system/csystem_vesta.h"
#include "vestatesttools.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <sys/statfs.h>
#include <unistd.h>

using namespace VestaTestTools;

namespace {

const QString kCallLog = QStringLiteral("/var/log/device-calls.log");

qint64 tmpSizeMb()
{
    struct statfs info {};
    if (statfs("/tmp", &info) != 0)
        return -1;
    return qint64(info.f_blocks) * qint64(info.f_bsize) / (1024 * 1024);
}

QStringList deviceCalls()
{
    return QString::fromLocal8Bit(readFile(kCallLog)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// Detached programs record their call a little later.
QStringList waitForCalls(int count)
{
    QElapsedTimer clock;
    clock.start();
    while (deviceCalls().size() < count && clock.elapsed() < 5000)
        QThread::msleep(20);
    QThread::msleep(100);
    return deviceCalls();
}

} // namespace

class VestaDeviceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void mountResizes_data();
    void mountResizes();
    void mountFails();
    void applicationControl_data();
    void applicationControl();
    void startIgnoresFailingScript();
    void detachedStartFails_data();
    void detachedStartFails();
    void prepareTempDir_data();
    void prepareTempDir();
    void prepareTempDirSleeps();
    void copySymlink_data();
    void copySymlink();

private:
    CSystem_Vesta* m_system = nullptr; // lives until the process ends, like on the device
    QTemporaryDir m_work;
};

void VestaDeviceTest::initTestCase()
{
    m_system = new CSystem_Vesta;
    QVERIFY(m_work.isValid());
}

void VestaDeviceTest::init()
{
    SystemBudgets budgets;
    budgets.prepareSleepMs = 0;
    m_system->setBudgets(budgets);
    QFile log(kCallLog);
    QVERIFY(log.open(QIODevice::WriteOnly | QIODevice::Truncate));
}

void VestaDeviceTest::mountResizes_data()
{
    QTest::addColumn<bool>("bigger");
    QTest::addColumn<qint64>("sizeMb");

    QTest::newRow("bigger") << true << qint64(140);
    QTest::newRow("normal") << false << qint64(60);
    QTest::newRow("bigger again") << true << qint64(140);
}

void VestaDeviceTest::mountResizes()
{
    QFETCH(bool, bigger);
    QFETCH(qint64, sizeMb);

    QVERIFY(m_system->Mount_Tmpf_Bigger(bigger));
    QCOMPARE(tmpSizeMb(), sizeMb);
}

void VestaDeviceTest::mountFails()
{
    const QString fakes = m_work.filePath(QStringLiteral("fakemount"));
    QVERIFY(QDir().mkpath(fakes));
    const QString log = m_work.filePath(QStringLiteral("mount.log"));
    QVERIFY(writeScript(fakes, QStringLiteral("mount"), "echo \"$*\" >" + QFile::encodeName(log) + "; exit 32"));
    const qint64 before = tmpSizeMb();
    {
        const CPathOverride path(fakes);
        QVERIFY(!m_system->Mount_Tmpf_Bigger(true));
    }
    QCOMPARE(readFile(log), QByteArray("-t tmpfs -o remount,size=140m,mode=1777 tmp /tmp\n"));
    QCOMPARE(tmpSizeMb(), before);
}

void VestaDeviceTest::applicationControl_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QStringList>("calls");

    QTest::newRow("stop, || reaches the script")
        << "stop" << "" << QStringList{"/etc/init.d/corvane stop || killall -9 corvane"};
    QTest::newRow("start stops first")
        << "start" << "" << QStringList{"/etc/init.d/corvane stop", "/etc/init.d/corvane start"};
    QTest::newRow("installer without argument") << "installer" << "" << QStringList{"/usr/local/bin/pkgupdate "};
    QTest::newRow("installer on the medium")
        << "installer" << "/media/usb" << QStringList{"/usr/local/bin/pkgupdate /media/usb"};
    QTest::newRow("installer, argument split at blanks")
        << "installer" << "-a  /media/usb" << QStringList{"/usr/local/bin/pkgupdate -a /media/usb"};
    QTest::newRow("reset") << "reset" << "" << QStringList{"/sbin/reboot "};
}

void VestaDeviceTest::applicationControl()
{
    QFETCH(QString, operation);
    QFETCH(QString, argument);
    QFETCH(QStringList, calls);

    bool result = false;
    if (operation == QLatin1String("stop"))
        result = m_system->Stop_CV3();
    else if (operation == QLatin1String("start"))
        result = m_system->Start_CV3();
    else if (operation == QLatin1String("installer"))
        result = m_system->Installer(argument);
    else if (operation == QLatin1String("reset"))
        result = m_system->Reset();
    QVERIFY(result);
    QCOMPARE(waitForCalls(calls.size()), calls);
}

void VestaDeviceTest::startIgnoresFailingScript()
{
    const QString script = QStringLiteral("/etc/init.d/corvane");
    const QByteArray original = readFile(script);
    QVERIFY(writeScript(QStringLiteral("/etc/init.d"), QStringLiteral("corvane"),
                        "echo \"corvane $*\" >>/var/log/device-calls.log; exit 3"));
    const bool started = m_system->Start_CV3();
    const bool stopped = m_system->Stop_CV3();
    QFile file(script);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(original);
    file.close();
    QVERIFY(started);
    QVERIFY(stopped);
    QCOMPARE(deviceCalls(), (QStringList{"corvane stop", "corvane start", "corvane stop || killall -9 corvane"}));
}

void VestaDeviceTest::detachedStartFails_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QByteArray>("console");

    QTest::newRow("installer missing") << "/usr/local/bin/pkgupdate"
                                       << QByteArray("??? CSystem::Installer() \"Unknown error\"\n");
    QTest::newRow("reboot missing") << "/sbin/reboot" << QByteArray("??? CSystem::Reset() \"Unknown error\"\n");
}

void VestaDeviceTest::detachedStartFails()
{
    QFETCH(QString, program);
    QFETCH(QByteArray, console);

    const QString away = program + QStringLiteral(".away");
    QVERIFY(QFile::rename(program, away));
    const CConsoleWatch consoleWatch;
    const bool started = program.endsWith(QLatin1String("reboot")) ? m_system->Reset()
                                                                   : m_system->Installer(QStringLiteral("/media/usb"));
    QVERIFY(QFile::rename(away, program));
    QVERIFY(!started);
    QCOMPARE(consoleWatch.written(), console);
}

void VestaDeviceTest::prepareTempDir_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<bool>("prepared");

    QTest::newRow("no directory yet") << "none" << true;
    QTest::newRow("directory with files") << "files" << true;
    QTest::newRow("plain file in the way") << "file" << false;
}

void VestaDeviceTest::prepareTempDir()
{
    QFETCH(QString, before);
    QFETCH(bool, prepared);

    const QString temp = m_system->tempDir;
    QCOMPARE(temp, QStringLiteral("/tmp/pkgupdate"));
    QDir(temp).removeRecursively();
    QFile::remove(temp);
    if (before == QLatin1String("files")) {
        QVERIFY(QDir().mkpath(temp + "/usr/.hidden"));
        QVERIFY(writeScript(temp + "/usr/.hidden", QStringLiteral("x"), "true"));
        QVERIFY(writeScript(temp, QStringLiteral(".y"), "true"));
    } else if (before == QLatin1String("file")) {
        QVERIFY(writeScript(QStringLiteral("/tmp"), QStringLiteral("pkgupdate"), "true"));
    }
    QCOMPARE(m_system->PrepareTempDir(), prepared);
    if (prepared) {
        QVERIFY(QFileInfo(temp).isDir());
        QVERIFY(QDir(temp).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
    }
    QFile::remove(temp);
}

void VestaDeviceTest::prepareTempDirSleeps()
{
    m_system->setBudgets(SystemBudgets());
    QElapsedTimer clock;
    clock.start();
    QVERIFY(m_system->PrepareTempDir());
    QVERIFY(clock.elapsed() >= 1000);
}

void VestaDeviceTest::copySymlink_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<bool>("copied");
    QTest::addColumn<QByteArray>("console");

    QTest::newRow("relative target") << "link" << QByteArray("../lib/libx.so.1") << true << QByteArray();
    QTest::newRow("absolute target") << "link" << QByteArray("/usr/lib/x") << true << QByteArray();
    QTest::newRow("dangling target") << "link" << QByteArray("nowhere") << true << QByteArray();
    QTest::newRow("target cut to 300 bytes") << "link" << QByteArray(320, 'a') << true << QByteArray();
    QTest::newRow("source not a link")
        << "file" << QByteArray() << false << QByteArray("??? CopySymlink  22  Invalid argument\n");
    QTest::newRow("source missing")
        << "missing" << QByteArray() << false << QByteArray("??? CopySymlink  2  No such file or directory\n");
    QTest::newRow("destination exists")
        << "exists" << QByteArray("x") << false << QByteArray("??? CopySymlink  17  File exists\n");
}

void VestaDeviceTest::copySymlink()
{
    QFETCH(QString, source);
    QFETCH(QByteArray, target);
    QFETCH(bool, copied);
    QFETCH(QByteArray, console);

    QTemporaryDir dir;
    const QString from = dir.filePath(QStringLiteral("from"));
    const QString to = dir.filePath(QStringLiteral("to"));
    if (source == QLatin1String("file"))
        QVERIFY(writeScript(dir.path(), QStringLiteral("from"), "true"));
    else if (source != QLatin1String("missing"))
        QVERIFY(::symlink(target.constData(), QFile::encodeName(from).constData()) == 0);
    if (source == QLatin1String("exists"))
        QVERIFY(writeScript(dir.path(), QStringLiteral("to"), "true"));

    const CConsoleWatch consoleWatch;
    QCOMPARE(m_system->CopySymlink(from, to), copied);
    QCOMPARE(consoleWatch.written(), console);
    if (copied) {
        char written[400] = {};
        const ssize_t length = ::readlink(QFile::encodeName(to).constData(), written, sizeof written);
        QCOMPARE(QByteArray(written, int(length)), target.left(300));
    }
}

QTEST_GUILESS_MAIN(VestaDeviceTest)
#include "vestadevicetest.moc"
