// CopyTree, FlatArchiv and NewArchiv with the fake platform object.
// An empty or missing DEST_FILE and the tree mode write to "/", so this test runs
// only inside the device sandbox.

#include "common/fakesystem.h"
#include "common/testtools.h"
#include "install/cworker.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace TestTools;

class CopyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void treeMessagesFollowDepth_data();
    void treeMessagesFollowDepth();
    void flatArchiv_data();
    void flatArchiv();
    void bspWarning_data();
    void bspWarning();

private:
    QString src(const QString& relative = QString()) const { return m_dir->filePath(QStringLiteral("src/") + relative); }
    QString dst(const QString& relative = QString()) const { return m_dir->filePath(QStringLiteral("dst/") + relative); }
    QString unpacked(const QString& name) const { return m_system->tempDir + QLatin1Char('/') + name; }

    std::optional<QTemporaryDir> m_dir;
    std::optional<CFakeSystem> m_system;
    std::optional<CWorker> m_worker;
    QStringList m_messages;
};

void CopyTest::initTestCase()
{
    QVERIFY2(QFileInfo::exists(QStringLiteral("/var/log/device-calls.log")), "must run in tools/device-sandbox");
}

void CopyTest::init()
{
    m_worker.reset();
    m_system.reset();
    m_dir.emplace();
    m_system.emplace(m_dir->filePath(QStringLiteral("share/")), m_dir->filePath(QStringLiteral("unpack")));
    QDir().mkpath(m_system->tempDir);
    m_worker.emplace(*m_system);
    m_messages.clear();
    connect(&*m_worker, &CWorker::message, this, [this](const QString& text) { m_messages << text; });
}

void CopyTest::treeMessagesFollowDepth_data()
{
    QTest::addColumn<int>("startDepth");
    QTest::addColumn<QStringList>("expected"); // relative to the destination; "." is itself

    const QStringList allFiles { "a/b/c/f3", "a/b/f2", "a/f1", "f0" };
    QTest::newRow("directories at depth 4 and 5") << 3 << QStringList { "a", "a/b" } + allFiles;
    QTest::newRow("depth 6 directory not emitted") << 5 << QStringList { "." } + allFiles;
    QTest::newRow("depth 29 last with message") << 29 << QStringList { "f0" };
    QTest::newRow("depth 30 silent") << 30 << QStringList {};
}

void CopyTest::treeMessagesFollowDepth()
{
    QFETCH(int, startDepth);
    QFETCH(QStringList, expected);
    for (const QString file : { "f0", "a/f1", "a/b/f2", "a/b/c/f3" })
        QVERIFY(writeFile(src(file), file.toLatin1()));

    m_worker->CopyTree(src().chopped(1), dst().chopped(1), startDepth);

    for (QString& relative : expected)
        relative = relative == QLatin1String(".") ? dst().chopped(1) : dst(relative);
    QCOMPARE(m_messages, expected);
    QCOMPARE(readFile(dst(QStringLiteral("a/b/c/f3"))), QByteArray("a/b/c/f3"));
}

void CopyTest::flatArchiv_data()
{
    QTest::addColumn<QString>("fileList"); // null: no FILE_LIST key
    QTest::addColumn<QStringList>("destinations"); // DEST_FILE1, 2, ...; "@" is the temp dir
    QTest::addColumn<QStringList>("placed"); // "path=content" of regular files expected afterwards
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("errors");

    QTest::newRow("missing DEST_FILE goes to root")
        << "a rootfile" << QStringList { "@/d1" } << QStringList { "@/d1/a=A", "/rootfile=R" } << 2 << 0;
    QTest::newRow("relative directory taken from root")
        << "a" << QStringList { "flatrel/dir" } << QStringList { "/flatrel/dir/a=A" } << 1 << 0;
    QTest::newRow("no FILE_LIST is one empty name") << QString() << QStringList { "@/d1" } << QStringList {} << 0 << 1;
}

void CopyTest::flatArchiv()
{
    QFETCH(QString, fileList);
    QFETCH(QStringList, destinations);
    QFETCH(QStringList, placed);
    for (const QString name : { "a", "rootfile" })
        writeFile(unpacked(name), name.left(1).toUpper().toLatin1());
    if (!fileList.isNull())
        m_worker->script.insert(QStringLiteral("FILE_LIST"), fileList);
    for (int index = 0; index < destinations.size(); ++index)
        m_worker->script.insert(QStringLiteral("DEST_FILE%1").arg(index + 1),
            destinations[index].replace(QLatin1Char('@'), m_dir->path()));

    m_worker->FlatArchiv();

    for (QString expectation : placed) {
        expectation.replace(QLatin1Char('@'), m_dir->path());
        QCOMPARE(readFile(expectation.section(QLatin1Char('='), 0, 0)), expectation.section(QLatin1Char('='), 1).toLatin1());
    }
    QTEST(m_worker->copiedFiles, "files");
    QTEST(m_worker->errors, "errors");
}

void CopyTest::bspWarning_data()
{
    QTest::addColumn<QString>("scriptBsp"); // null: no BSP key
    QTest::addColumn<QString>("deviceBsp");
    QTest::addColumn<QStringList>("warnings");

    QTest::newRow("no BSP key") << QString() << "1.36.0" << QStringList {};
    QTest::newRow("one of several") << "1.36.0 1.41.0" << "1.41.0" << QStringList {};
    QTest::newRow("other version") << "1.36.0 1.41.0" << "1.7.0" << QStringList { "    \"1.36.0 1.41.0\" \"1.7.0\"" };
}

void CopyTest::bspWarning()
{
    QFETCH(QString, scriptBsp);
    QFETCH(QString, deviceBsp);
    m_system->bspVersion = deviceBsp;
    writeFile(unpacked(QStringLiteral("usr/local/share/corvane/bspcheck.txt")), deviceBsp.toLatin1());
    const CDiagnosticsRecorder diagnostics;
    if (!scriptBsp.isNull())
        m_worker->script.insert(QStringLiteral("BSP"), scriptBsp);

    m_worker->NewArchiv();

    QTEST(diagnostics.lines(), "warnings");
    // A mismatch only warns: the tree is installed all the same.
    QCOMPARE(readFile(QStringLiteral("/usr/local/share/corvane/bspcheck.txt")), deviceBsp.toLatin1());
}

QTEST_GUILESS_MAIN(CopyTest)
#include "copytest.moc"
