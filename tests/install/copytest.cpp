// CopyTree and CopyOne into a temporary destination.

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
    void init();
    void treeMessagesFollowDepth_data();
    void treeMessagesFollowDepth();
    void treeEntries_data();
    void treeEntries();
    void copyOneCounts_data();
    void copyOneCounts();

private:
    QString src(const QString& relative = QString()) const { return m_dir->filePath(QStringLiteral("src/") + relative); }
    QString dst(const QString& relative = QString()) const { return m_dir->filePath(QStringLiteral("dst/") + relative); }
    void copyTree(int depth) { m_worker->CopyTree(src().chopped(1), dst().chopped(1), depth); }
    void makeEntryTree();

    std::optional<QTemporaryDir> m_dir;
    std::optional<CFakeSystem> m_system;
    std::optional<CWorker> m_worker;
    QStringList m_messages;
};

void CopyTest::init()
{
    m_worker.reset();
    m_system.reset();
    m_dir.emplace();
    m_system.emplace(m_dir->path() + QStringLiteral("/share/"), m_dir->filePath(QStringLiteral("unpack")));
    m_worker.emplace(*m_system);
    m_messages.clear();
    connect(&*m_worker, &CWorker::message, this, [this](const QString& text) { m_messages << text; });
}

void CopyTest::treeMessagesFollowDepth_data()
{
    QTest::addColumn<int>("startDepth");
    QTest::addColumn<QStringList>("expected"); // relative to the destination; "." is itself

    const QStringList allFiles { "a/b/c/f3", "a/b/f2", "a/f1", "f0" };
    QTest::newRow("from the root: files only") << 0 << allFiles;
    QTest::newRow("directories at depth 4 and 5") << 3 << QStringList { "a", "a/b" } + allFiles;
    QTest::newRow("start at depth 4 emits itself") << 4 << QStringList { ".", "a" } + allFiles;
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

    copyTree(startDepth);

    for (QString& relative : expected)
        relative = relative == QLatin1String(".") ? dst().chopped(1) : dst(relative);
    QCOMPARE(m_messages, expected);
    for (const QString file : { "f0", "a/f1", "a/b/f2", "a/b/c/f3" })
        QCOMPARE(readFile(dst(file)), file.toLatin1());
}

void CopyTest::makeEntryTree()
{
    writeFile(src(QStringLiteral("plain.txt")), "plain");
    writeFile(src(QStringLiteral(".hidden")), "hidden");
    writeFile(src(QStringLiteral("realdir/inner.txt")), "inner");
    QDir().mkpath(src(QStringLiteral("sub")));
    const QStringList links { "plain.txt=rel-link", "@plain.txt=abs-link", "../plain.txt=sub/nested-link",
        "nowhere=dangling", "realdir=linkdir" };
    for (const QString& link : links)
        QFile::link(link.section(QLatin1Char('='), 0, 0).replace(QLatin1Char('@'), src()),
            src(link.section(QLatin1Char('='), 1)));
}

void CopyTest::treeEntries_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("linkTarget"); // "@" stands for the source directory; empty: not a link
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("hidden file") << ".hidden" << "" << QByteArray("hidden");
    QTest::newRow("relative link kept relative") << "rel-link" << "plain.txt" << QByteArray("plain");
    QTest::newRow("absolute link kept as written") << "abs-link" << "@plain.txt" << QByteArray("plain");
    QTest::newRow("link in subdirectory") << "sub/nested-link" << "../plain.txt" << QByteArray("plain");
    QTest::newRow("dangling link not copied") << "dangling" << "" << QByteArray("<missing>");
    QTest::newRow("file through directory link") << "linkdir/inner.txt" << "" << QByteArray("inner");
}

void CopyTest::treeEntries()
{
    QFETCH(QString, path);
    QFETCH(QString, linkTarget);
    makeEntryTree();

    copyTree(1);

    QCOMPARE(readLink(dst(path)), linkTarget.replace(QLatin1Char('@'), src()));
    QTEST(readFile(dst(path)), "content");
    QVERIFY(!QFileInfo(dst(QStringLiteral("linkdir"))).isSymLink()); // a link to a directory becomes one
    QCOMPARE(m_worker->copiedFiles, 4); // plain.txt, .hidden and inner.txt twice
    QCOMPARE(m_worker->copiedLinks, 3);
    QCOMPARE(m_worker->errors, 0);
}

void CopyTest::copyOneCounts_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("destination");
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("links");
    QTest::addColumn<int>("errors");

    QTest::newRow("file over read-only file") << "plain.txt" << "readonly" << 1 << 0 << 0;
    QTest::newRow("link over file") << "rel-link" << "readonly" << 0 << 1 << 0;
    QTest::newRow("dangling link recreated") << "dangling" << "out" << 0 << 1 << 0;
    QTest::newRow("missing source") << "missing" << "out" << 0 << 0 << 1;
    QTest::newRow("directory as source") << "realdir" << "out" << 0 << 0 << 1;
    QTest::newRow("file into missing directory") << "plain.txt" << "no/such/out" << 0 << 0 << 1;
}

void CopyTest::copyOneCounts()
{
    QFETCH(QString, source);
    QFETCH(QString, destination);
    QFETCH(int, errors);
    makeEntryTree();
    QVERIFY(writeFile(dst(QStringLiteral("readonly")), "old", QFile::ReadOwner));
    if (errors > 0)
        QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("copy   Error= \"%1\"").arg(src(source))));

    m_worker->CopyOne(src(source), dst(destination));

    QTEST(m_worker->copiedFiles, "files");
    QTEST(m_worker->copiedLinks, "links");
    QCOMPARE(m_worker->errors, errors);
    if (errors == 0)
        QCOMPARE(readLink(dst(destination)), readLink(src(source)));
    if (errors == 0 && readLink(src(source)).isEmpty())
        QCOMPARE(readFile(dst(destination)), readFile(src(source)));
}

QTEST_GUILESS_MAIN(CopyTest)
#include "copytest.moc"
