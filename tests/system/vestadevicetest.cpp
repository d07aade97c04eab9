// The platform object's operations on the device itself, inside the simulated
// device: RAM-disk size, the main application, hand-over to the installer,
// reboot, the unpack directory and copying symbolic links.
#include "common/testtools.h"
#include "system/csystem_vesta.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <optional>

#include <sys/statfs.h>
#include <unistd.h>

using namespace TestTools;

namespace {

const QString kCallLog = QStringLiteral("/var/log/device-calls.log");

qint64 tmpSizeMb()
{
    struct statfs info { };
    return statfs("/tmp", &info) != 0 ? -1 : qint64(info.f_blocks) * qint64(info.f_bsize) / (1024 * 1024);
}

// Detached programs record their call a little later.
QStringList waitForCalls(int count)
{
    QElapsedTimer clock;
    clock.start();
    while (readFile(kCallLog).count('\n') < count && clock.elapsed() < 5000)
        QThread::msleep(20);
    QThread::msleep(100);
    return QString::fromLocal8Bit(readFile(kCallLog)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace

class VestaDeviceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_system = new CSystem_Vesta; }
    void init();
    void mount_data();
    void mount();
    void applicationControl_data();
    void applicationControl();
    void prepareTempDir_data();
    void prepareTempDir();
    void copySymlink_data();
    void copySymlink();

private:
    CSystem_Vesta* m_system = nullptr; // lives until the process ends, like on the device
};

void VestaDeviceTest::init()
{
    SystemBudgets budgets;
    budgets.prepareSleepMs = 0;
    m_system->setBudgets(budgets);
    QVERIFY(writeFile(kCallLog, QByteArray()));
}

void VestaDeviceTest::mount_data()
{
    QTest::addColumn<bool>("bigger");
    QTest::addColumn<bool>("mountFails");
    QTest::addColumn<qint64>("sizeMb"); // -1: as before

    QTest::newRow("bigger") << true << false << qint64(140);
    QTest::newRow("normal") << false << false << qint64(60);
    QTest::newRow("mount fails") << true << true << qint64(-1);
}

void VestaDeviceTest::mount()
{
    QFETCH(bool, bigger);
    QFETCH(bool, mountFails);
    QFETCH(qint64, sizeMb);
    QTemporaryDir fakes;
    QVERIFY(writeScript(fakes.filePath(QStringLiteral("mount")), "echo \"$*\" >" + QFile::encodeName(fakes.filePath("log")) + "; exit 32"));
    const qint64 before = tmpSizeMb();
    std::optional<CPathOverride> path;
    if (mountFails)
        path.emplace(fakes.path());

    QCOMPARE(m_system->Mount_Tmpf_Bigger(bigger), !mountFails);

    QCOMPARE(tmpSizeMb(), sizeMb < 0 ? before : sizeMb);
    if (mountFails)
        QCOMPARE(readFile(fakes.filePath("log")), QByteArray("-t tmpfs -o remount,size=140m,mode=1777 tmp /tmp\n"));
}

void VestaDeviceTest::applicationControl_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QStringList>("calls");

    QTest::newRow("stop, || reaches the script")
        << "stop" << "" << QStringList { "/etc/init.d/corvane stop || killall -9 corvane" };
    QTest::newRow("start stops first")
        << "start" << "" << QStringList { "/etc/init.d/corvane stop", "/etc/init.d/corvane start" };
    QTest::newRow("installer without argument") << "installer" << "" << QStringList { "/usr/local/bin/pkgupdate " };
    QTest::newRow("installer, argument split at blanks")
        << "installer" << "-a  /media/usb" << QStringList { "/usr/local/bin/pkgupdate -a /media/usb" };
    QTest::newRow("reset") << "reset" << "" << QStringList { "/sbin/reboot " };
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

void VestaDeviceTest::prepareTempDir_data()
{
    QTest::addColumn<QString>("before"); // file to make first, relative to /tmp
    QTest::addColumn<bool>("prepared");

    QTest::newRow("no directory yet") << "" << true;
    QTest::newRow("directory with hidden files") << "pkgupdate/usr/.hidden/.x" << true;
    QTest::newRow("plain file in the way") << "pkgupdate" << false;
}

void VestaDeviceTest::prepareTempDir()
{
    QFETCH(QString, before);
    const QString temp = m_system->tempDir;
    QCOMPARE(temp, QStringLiteral("/tmp/pkgupdate"));
    QDir(temp).removeRecursively();
    QFile::remove(temp);
    if (!before.isEmpty())
        QVERIFY(writeFile(QStringLiteral("/tmp/") + before, "x"));

    QTEST(m_system->PrepareTempDir(), "prepared");

    if (QFileInfo(temp).isDir())
        QVERIFY(QDir(temp).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
    QFile::remove(temp);
}

void VestaDeviceTest::copySymlink_data()
{
    QTest::addColumn<QByteArray>("target"); // null: the source is a plain file
    QTest::addColumn<bool>("destinationExists");
    QTest::addColumn<QByteArray>("console");

    QTest::newRow("relative target") << QByteArray("../lib/libx.so.1") << false << QByteArray();
    QTest::newRow("target cut to 300 bytes") << QByteArray(320, 'a') << false << QByteArray();
    QTest::newRow("source not a link") << QByteArray() << false << QByteArray("??? CopySymlink  22  Invalid argument\n");
    QTest::newRow("destination exists") << QByteArray("x") << true << QByteArray("??? CopySymlink  17  File exists\n");
}

void VestaDeviceTest::copySymlink()
{
    QFETCH(QByteArray, target);
    QFETCH(bool, destinationExists);
    QFETCH(QByteArray, console);
    QTemporaryDir dir;
    const QString from = dir.filePath(QStringLiteral("from"));
    const QString to = dir.filePath(QStringLiteral("to"));
    QVERIFY(target.isNull() ? writeFile(from, "x") : ::symlink(target.constData(), QFile::encodeName(from).constData()) == 0);
    if (destinationExists)
        QVERIFY(writeFile(to, "x"));
    const CConsoleWatch consoleWatch;

    QCOMPARE(m_system->CopySymlink(from, to), console.isEmpty());

    QCOMPARE(consoleWatch.written(), console);
    if (console.isEmpty())
        QCOMPARE(readLink(to).toLatin1(), target.left(300));
}

QTEST_GUILESS_MAIN(VestaDeviceTest)
#include "vestadevicetest.moc"
