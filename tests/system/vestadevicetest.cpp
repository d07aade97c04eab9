// The platform object's operations on the device itself, inside the simulated
// device: RAM-disk size, the main application, hand-over to the installer,
// reboot, the unpack directory and removing trees.
#include "common/testtools.h"
#include "system/csystem_vesta.h"
#include "system/removetree.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <memory>

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
    void initTestCase() { m_system = std::make_unique<CSystem_Vesta>(); }
    void init();
    void mount_data();
    void mount();
    void applicationControl_data();
    void applicationControl();
    void prepareTempDir_data();
    void prepareTempDir();
    void removeTree_data();
    void removeTree();

private:
    std::unique_ptr<CSystem_Vesta> m_system; // ends with the test object, after every test
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
    const CPathOverride path(mountFails ? fakes.path() : QStringLiteral("/nonexistent"));

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
    const QString temp = QStringLiteral("/tmp/pkgupdate");
    QDir(temp).removeRecursively();
    QFile::remove(temp);
    if (!before.isEmpty())
        QVERIFY(writeFile(QStringLiteral("/tmp/") + before, "x"));

    QTEST(m_system->PrepareTempDir(), "prepared");

    if (QFileInfo(temp).isDir())
        QVERIFY(QDir(temp).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
    QFile::remove(temp);
}

void VestaDeviceTest::removeTree_data()
{
    QTest::addColumn<QStringList>("tree"); // "d:path" a directory, "f:path" a file, "l:path=target" a link
    QTest::addColumn<bool>("removed");
    QTest::addColumn<QStringList>("remaining");

    QTest::newRow("nothing there") << QStringList() << true << QStringList();
    QTest::newRow("nested tree with hidden entries")
        << QStringList { "d:t/a/b/.c", "f:t/a/b/.c/f", "f:t/.h", "d:t/.e" } << true << QStringList();
    QTest::newRow("dangling link and link to a file")
        << QStringList { "d:t", "f:keep", "l:t/dangling=nowhere", "l:t/tofile=../keep" } << true << QStringList { "keep" };
    QTest::newRow("plain file is not removed") << QStringList { "f:t" } << false << QStringList { "t" };
    QTest::newRow("link to a directory: contents go, then it fails")
        << QStringList { "d:t", "f:target/f", "l:t/link=../target" } << false << QStringList { "t", "t/link", "target" };
    QTest::newRow("directories first, stop at the first failure")
        << QStringList { "d:t/zdir", "d:target", "f:t/a_file", "l:t/zdir/link=../../target" } << false
        << QStringList { "t", "t/a_file", "t/zdir", "t/zdir/link", "target" };
}

void VestaDeviceTest::removeTree()
{
    QFETCH(QStringList, tree);
    QTemporaryDir root;
    for (const QString& entry : tree) {
        const QString path = root.filePath(entry.mid(2).section(QLatin1Char('='), 0, 0));
        const QString target = entry.section(QLatin1Char('='), 1);
        const QChar kind = entry.at(0);
        QVERIFY(kind == 'd' ? QDir().mkpath(path) : kind == 'f' ? writeFile(path, "x") : QFile::link(target, path));
    }

    QTEST(RemoveTree(root.filePath(QStringLiteral("t"))), "removed");

    QStringList remaining;
    QDirIterator it(root.path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
        QDirIterator::Subdirectories);
    while (it.hasNext())
        remaining << QDir(root.path()).relativeFilePath(it.next());
    remaining.sort();
    QTEST(remaining, "remaining");
}

QTEST_GUILESS_MAIN(VestaDeviceTest)
#include "vestadevicetest.moc"
