// File-list and tree mode with the fake platform object. Both write device
// paths (an empty or missing DEST_FILE means "/"), so this test runs only inside
// the device sandbox.

#include "common/fakesystem.h"
#include "common/testtools.h"
#include "install/cworker.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace TestTools;

class ArchivTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void flatArchiv_data();
    void flatArchiv();
    void bspWarning_data();
    void bspWarning();

private:
    QString unpacked(const QString& name) const { return m_system->tempDir + QLatin1Char('/') + name; }

    std::optional<QTemporaryDir> m_dir;
    std::optional<CFakeSystem> m_system;
};

void ArchivTest::initTestCase()
{
    // The device's root is private to this run; refuse to go on anywhere else.
    QVERIFY2(QFileInfo::exists(QStringLiteral("/var/log/device-calls.log")), "must run in tools/device-sandbox");
}

void ArchivTest::init()
{
    m_system.reset();
    m_dir.emplace();
    m_system.emplace(m_dir->filePath(QStringLiteral("share/")), m_dir->filePath(QStringLiteral("unpack")));
    QDir().mkpath(m_system->tempDir);
}

void ArchivTest::flatArchiv_data()
{
    QTest::addColumn<QString>("fileList"); // null: no FILE_LIST key
    QTest::addColumn<QStringList>("destinations"); // DEST_FILE1, 2, ...; "@" is the temp dir
    QTest::addColumn<QStringList>("placed"); // "path=content" of regular files expected afterwards
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("errors");

    QTest::newRow("two files, two directories")
        << "a b" << QStringList { "@/d1", "@/d2/deep" } << QStringList { "@/d1/a=A", "@/d2/deep/b=B" } << 2 << 0;
    QTest::newRow("missing DEST_FILE goes to root")
        << "a rootfile" << QStringList { "@/d1" } << QStringList { "@/d1/a=A", "/rootfile=R" } << 2 << 0;
    QTest::newRow("empty DEST_FILE1 goes to root")
        << "emptydest" << QStringList { "" } << QStringList { "/emptydest=E" } << 1 << 0;
    QTest::newRow("relative directory taken from root")
        << "a" << QStringList { "flatrel/dir" } << QStringList { "/flatrel/dir/a=A" } << 1 << 0;
    QTest::newRow("missing source counts an error")
        << "a notthere" << QStringList { "@/d1", "@/d2" } << QStringList { "@/d1/a=A" } << 1 << 1;
    QTest::newRow("trailing blank makes an empty name")
        << "a " << QStringList { "@/d1", "@/d2" } << QStringList { "@/d1/a=A" } << 1 << 1;
    QTest::newRow("no FILE_LIST is one empty name") << QString() << QStringList { "@/d1" } << QStringList {} << 0 << 1;
}

void ArchivTest::flatArchiv()
{
    QFETCH(QString, fileList);
    QFETCH(QStringList, destinations);
    QFETCH(QStringList, placed);
    for (const QString name : { "a", "b", "rootfile", "emptydest" })
        writeFile(unpacked(name), name.left(1).toUpper().toLatin1());
    CWorker worker(*m_system);
    if (!fileList.isNull())
        worker.script.insert(QStringLiteral("FILE_LIST"), fileList);
    for (int index = 0; index < destinations.size(); ++index)
        worker.script.insert(QStringLiteral("DEST_FILE%1").arg(index + 1),
            destinations[index].replace(QLatin1Char('@'), m_dir->path()));

    worker.FlatArchiv();

    for (QString expectation : placed) {
        expectation.replace(QLatin1Char('@'), m_dir->path());
        const QString path = expectation.section(QLatin1Char('='), 0, 0);
        QCOMPARE(readFile(path), expectation.section(QLatin1Char('='), 1).toLatin1());
    }
    QTEST(worker.copiedFiles, "files");
    QTEST(worker.errors, "errors");
}

void ArchivTest::bspWarning_data()
{
    QTest::addColumn<QString>("scriptBsp"); // null: no BSP key
    QTest::addColumn<QString>("deviceBsp");
    QTest::addColumn<QStringList>("warnings");

    QTest::newRow("no BSP key") << QString() << "1.36.0" << QStringList {};
    QTest::newRow("one of several") << "1.36.0 1.41.0" << "1.41.0" << QStringList {};
    QTest::newRow("inside longer text") << "BSP-1.7.0-x" << "1.7.0" << QStringList {};
    QTest::newRow("other version") << "1.36.0 1.41.0" << "1.7.0" << QStringList { "    \"1.36.0 1.41.0\" \"1.7.0\"" };
}

void ArchivTest::bspWarning()
{
    QFETCH(QString, scriptBsp);
    QFETCH(QString, deviceBsp);
    m_system->bspVersion = deviceBsp;
    writeFile(unpacked(QStringLiteral("usr/local/share/corvane/bspcheck.txt")), deviceBsp.toLatin1());
    const CDiagnosticsRecorder diagnostics;
    CWorker worker(*m_system);
    if (!scriptBsp.isNull())
        worker.script.insert(QStringLiteral("BSP"), scriptBsp);

    worker.NewArchiv();

    QTEST(diagnostics.lines(), "warnings");
    // A mismatch only warns: the tree is installed all the same.
    QCOMPARE(readFile(QStringLiteral("/usr/local/share/corvane/bspcheck.txt")), deviceBsp.toLatin1());
}

QTEST_GUILESS_MAIN(ArchivTest)
#include "archivtest.moc"
