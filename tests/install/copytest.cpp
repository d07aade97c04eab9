// Copying without device paths: CopyTree and CopyOne into a temporary
// destination, and the update log in a temporary share directory.

#include "common/fakesystem.h"
#include "install/cworker.h"
#include "installtesttools.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

#include <unistd.h>

using namespace InstallTestTools;

namespace {

void makeLink(const QString& target, const QString& path)
{
    QDir().mkpath(QFileInfo(path).path());
    if (!QFile::link(target, path))
        qFatal("cannot link %s", qPrintable(path));
}

// What lies at path, links not followed: "file", "link", "dir" or "absent".
QString entryKind(const QString& path)
{
    const QFileInfo info(path);
    if (info.isSymLink())
        return QStringLiteral("link");
    if (info.isDir())
        return QStringLiteral("dir");
    return info.exists() ? QStringLiteral("file") : QStringLiteral("absent");
}

} // namespace

class CopyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void treeMessagesFollowDepth_data();
    void treeMessagesFollowDepth();
    void treeEntries_data();
    void treeEntries();
    void treeCountsFilesAndLinks();
    void copyOneReplaces_data();
    void copyOneReplaces();
    void copyOneCounts_data();
    void copyOneCounts();
    void updateLogLines();

private:
    QString src(const QString& relative = QString()) const
    {
        return m_dir->filePath(QStringLiteral("src/") + relative);
    }
    QString dst(const QString& relative = QString()) const
    {
        return m_dir->filePath(QStringLiteral("dst/") + relative);
    }
    void makeDepthTree();
    void makeEntryTree();

    std::optional<QTemporaryDir> m_dir;
    std::optional<CFakeSystem> m_system;
    std::optional<CWorker> m_worker;
    QStringList m_messages;
};

void CopyTest::init()
{
    m_dir.emplace();
    QVERIFY(m_dir->isValid());
    QDir().mkpath(src());
    QDir().mkpath(dst());
    m_system.emplace(m_dir->path() + QStringLiteral("/share/"), m_dir->filePath(QStringLiteral("unpack")));
    m_worker.emplace(*m_system);
    m_messages.clear();
    connect(&*m_worker, &CWorker::message, this, [this](const QString& text) { m_messages << text; });
}

void CopyTest::cleanup()
{
    m_worker.reset();
    m_system.reset();
    m_dir.reset();
}

void CopyTest::makeDepthTree()
{
    writeFile(src(QStringLiteral("f0")), "0");
    writeFile(src(QStringLiteral("a/f1")), "1");
    writeFile(src(QStringLiteral("a/b/f2")), "2");
    writeFile(src(QStringLiteral("a/b/c/f3")), "3");
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
    QTest::newRow("files up to depth 29") << 28 << QStringList { "a/f1", "f0" };
    QTest::newRow("depth 29 last with message") << 29 << QStringList { "f0" };
    QTest::newRow("depth 30 silent") << 30 << QStringList {};
}

void CopyTest::treeMessagesFollowDepth()
{
    QFETCH(int, startDepth);
    QFETCH(QStringList, expected);
    makeDepthTree();
    QDir().rmdir(dst());

    m_worker->CopyTree(m_dir->filePath(QStringLiteral("src")), m_dir->filePath(QStringLiteral("dst")), startDepth);

    QStringList expectedMessages;
    for (const QString& relative : expected)
        expectedMessages << (relative == QLatin1String(".") ? m_dir->filePath(QStringLiteral("dst")) : dst(relative));
    QCOMPARE(m_messages, expectedMessages);
    for (const QString& file : QStringList { "f0", "a/f1", "a/b/f2", "a/b/c/f3" })
        QCOMPARE(readFile(dst(file)), readFile(src(file)));
}

void CopyTest::makeEntryTree()
{
    writeFile(src(QStringLiteral("plain.txt")), "plain");
    writeFile(src(QStringLiteral(".hidden")), "hidden");
    writeFile(src(QStringLiteral("realdir/inner.txt")), "inner");
    makeLink(QStringLiteral("plain.txt"), src(QStringLiteral("rel-link")));
    makeLink(src(QStringLiteral("plain.txt")), src(QStringLiteral("abs-link")));
    makeLink(QStringLiteral("../plain.txt"), src(QStringLiteral("sub/nested-link")));
    makeLink(QStringLiteral("nowhere"), src(QStringLiteral("dangling")));
    makeLink(QStringLiteral("realdir"), src(QStringLiteral("linkdir")));
}

void CopyTest::treeEntries_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("linkTarget"); // "@SRC@" stands for the source directory
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("regular file") << "plain.txt"
                                  << "file"
                                  << "" << QByteArray("plain");
    QTest::newRow("hidden file") << ".hidden"
                                 << "file"
                                 << "" << QByteArray("hidden");
    QTest::newRow("relative link kept relative") << "rel-link"
                                                 << "link"
                                                 << "plain.txt" << QByteArray("plain");
    QTest::newRow("absolute link kept as written") << "abs-link"
                                                   << "link"
                                                   << "@SRC@plain.txt" << QByteArray("plain");
    QTest::newRow("link in subdirectory") << "sub/nested-link"
                                          << "link"
                                          << "../plain.txt" << QByteArray("plain");
    QTest::newRow("dangling link not copied") << "dangling"
                                              << "absent"
                                              << "" << QByteArray("<unreadable>");
    QTest::newRow("link to directory becomes directory") << "linkdir"
                                                         << "dir"
                                                         << "" << QByteArray("<unreadable>");
    QTest::newRow("file through directory link") << "linkdir/inner.txt"
                                                 << "file"
                                                 << "" << QByteArray("inner");
    QTest::newRow("file in directory") << "realdir/inner.txt"
                                       << "file"
                                       << "" << QByteArray("inner");
}

void CopyTest::treeEntries()
{
    QFETCH(QString, path);
    QFETCH(QString, kind);
    QFETCH(QString, linkTarget);
    QFETCH(QByteArray, content);
    makeEntryTree();

    m_worker->CopyTree(m_dir->filePath(QStringLiteral("src")), m_dir->filePath(QStringLiteral("dst")), 1);

    QCOMPARE(entryKind(dst(path)), kind);
    if (kind == QLatin1String("link")) {
        const QByteArray written = QFile::encodeName(dst(path));
        char buffer[512];
        const ssize_t length = ::readlink(written.constData(), buffer, sizeof buffer);
        QCOMPARE(
            QString::fromLocal8Bit(buffer, int(length)), QString(linkTarget).replace(QStringLiteral("@SRC@"), src()));
    }
    if (kind != QLatin1String("dir"))
        QCOMPARE(readFile(dst(path)), content);
}

void CopyTest::treeCountsFilesAndLinks()
{
    makeEntryTree();

    m_worker->CopyTree(m_dir->filePath(QStringLiteral("src")), m_dir->filePath(QStringLiteral("dst")), 1);

    QCOMPARE(m_worker->copiedFiles, 4); // plain.txt, .hidden and inner.txt twice
    QCOMPARE(m_worker->copiedLinks, 3);
    QCOMPARE(m_worker->errors, 0);
}

void CopyTest::copyOneReplaces_data()
{
    QTest::addColumn<bool>("sourceIsLink");
    QTest::addColumn<QString>("existing"); // what lies at the destination before

    QTest::newRow("file over file") << false << "file";
    QTest::newRow("file over read-only file") << false << "read-only";
    QTest::newRow("file over dangling link") << false << "dangling";
    QTest::newRow("file over link to other file") << false << "link";
    QTest::newRow("link over file") << true << "file";
    QTest::newRow("link over link") << true << "link";
}

void CopyTest::copyOneReplaces()
{
    QFETCH(bool, sourceIsLink);
    QFETCH(QString, existing);
    writeFile(src(QStringLiteral("new")), "new");
    makeLink(QStringLiteral("new"), src(QStringLiteral("new-link")));
    writeFile(m_dir->filePath(QStringLiteral("other")), "other");
    const QString target = dst(QStringLiteral("entry"));
    if (existing == QLatin1String("file"))
        writeFile(target, "old");
    else if (existing == QLatin1String("read-only"))
        writeFile(target, "old", QFile::ReadOwner);
    else if (existing == QLatin1String("dangling"))
        makeLink(QStringLiteral("nowhere"), target);
    else
        makeLink(m_dir->filePath(QStringLiteral("other")), target);

    m_worker->CopyOne(src(sourceIsLink ? QStringLiteral("new-link") : QStringLiteral("new")), target);

    QCOMPARE(entryKind(target), sourceIsLink ? QStringLiteral("link") : QStringLiteral("file"));
    if (sourceIsLink)
        QCOMPARE(QFile::symLinkTarget(target), QFileInfo(dst(QStringLiteral("new"))).absoluteFilePath());
    else
        QCOMPARE(readFile(target), QByteArray("new"));
    QCOMPARE(readFile(m_dir->filePath(QStringLiteral("other"))), QByteArray("other"));
    QCOMPARE(m_worker->errors, 0);
}

void CopyTest::copyOneCounts_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("destination");
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("links");
    QTest::addColumn<int>("errors");

    QTest::newRow("file") << "plain.txt"
                          << "out" << 1 << 0 << 0;
    QTest::newRow("link") << "rel-link"
                          << "out" << 0 << 1 << 0;
    QTest::newRow("dangling link recreated") << "dangling"
                                             << "out" << 0 << 1 << 0;
    QTest::newRow("missing source") << "missing"
                                    << "out" << 0 << 0 << 1;
    QTest::newRow("directory as source") << "realdir"
                                         << "out" << 0 << 0 << 1;
    QTest::newRow("file into missing directory") << "plain.txt"
                                                 << "no/such/out" << 0 << 0 << 1;
    QTest::newRow("link into missing directory") << "rel-link"
                                                 << "no/such/out" << 0 << 0 << 1;
}

void CopyTest::copyOneCounts()
{
    QFETCH(QString, source);
    QFETCH(QString, destination);
    QFETCH(int, files);
    QFETCH(int, links);
    QFETCH(int, errors);
    makeEntryTree();
    if (errors > 0)
        QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("copy   Error= \"%1\"").arg(src(source))));

    m_worker->CopyOne(src(source), dst(destination));

    QCOMPARE(m_worker->copiedFiles, files);
    QCOMPARE(m_worker->copiedLinks, links);
    QCOMPARE(m_worker->errors, errors);
}

void CopyTest::updateLogLines()
{
    QDir().mkpath(m_system->shareDir);
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);

    m_worker->AppendUpdateLog(QStringLiteral("doc-1.2.0-BSP-1.36.0.tar.bz2"));
    m_worker->AppendUpdateLog(QStringLiteral("bin-3.0.0-BSP-1.36.0.tar.bz2"));

    const QStringList lines
        = QString::fromLatin1(readFile(m_system->shareDir + QStringLiteral("update.log"))).split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.last(), QString());
    const QRegularExpression form(QStringLiteral("^(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d)Z (.*)$"));
    const QRegularExpressionMatch first = form.match(lines.at(0));
    QVERIFY2(first.hasMatch(), qPrintable(lines.at(0)));
    QCOMPARE(first.captured(2), QStringLiteral("doc-1.2.0-BSP-1.36.0.tar.bz2"));
    QVERIFY(lines.at(1).endsWith(QLatin1String("Z bin-3.0.0-BSP-1.36.0.tar.bz2")));
    QDateTime stamp = QDateTime::fromString(first.captured(1), Qt::ISODate);
    stamp.setTimeSpec(Qt::UTC);
    QVERIFY(stamp >= before.addMSecs(-before.time().msec()));
    QVERIFY(stamp <= QDateTime::currentDateTimeUtc());
}

QTEST_GUILESS_MAIN(CopyTest)
#include "copytest.moc"
