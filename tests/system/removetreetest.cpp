// RemoveTree on trees built in a temporary directory: what goes, what stays, and
// where it stops.
#include "system/removetree.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Builds entries under root: "d:path" a directory, "f:path" a file,
// "l:path=target" a symbolic link.
bool buildTree(const QString& root, const QStringList& entries)
{
    for (const QString& entry : entries) {
        const QString spec = entry.mid(2);
        const QString path = root + QLatin1Char('/') + spec.section(QLatin1Char('='), 0, 0);
        bool ok = false;
        if (entry.startsWith(QLatin1String("d:"))) {
            ok = QDir().mkpath(path);
        } else if (entry.startsWith(QLatin1String("f:"))) {
            QFile file(path);
            ok = file.open(QIODevice::WriteOnly) && file.write("x") == 1;
        } else if (entry.startsWith(QLatin1String("l:"))) {
            ok = QFile::link(spec.section(QLatin1Char('='), 1), path);
        }
        if (!ok)
            return false;
    }
    return true;
}

// Every entry under root, links not followed, as sorted relative paths.
QStringList listTree(const QString& root)
{
    QStringList paths;
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        paths << QDir(root).relativeFilePath(it.next());
    paths.sort();
    return paths;
}

} // namespace

class RemoveTreeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void removeTree_data();
    void removeTree();
};

void RemoveTreeTest::removeTree_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("removed");
    QTest::addColumn<QStringList>("remaining");

    QTest::newRow("nothing there") << QStringList() << "gone" << true << QStringList();
    QTest::newRow("nested tree with hidden entries")
        << QStringList{"d:t/a/b/.c", "f:t/a/b/.c/f", "f:t/.h", "f:t/a/x", "d:t/.e"} << "t" << true << QStringList();
    QTest::newRow("dangling link and link to a file")
        << QStringList{"d:t", "f:keep", "l:t/dangling=nowhere", "l:t/tofile=../keep"} << "t" << true
        << QStringList{"keep"};
    QTest::newRow("plain file is not removed") << QStringList{"f:file"} << "file" << false << QStringList{"file"};
    QTest::newRow("link to a directory: contents go, then it fails")
        << QStringList{"d:t", "d:target/sub", "f:target/f", "l:t/link=../target"} << "t" << false
        << QStringList{"t", "t/link", "target"};
    QTest::newRow("directories first, stop at the first failure")
        << QStringList{"d:t/zdir", "d:target", "f:t/a_file", "l:t/zdir/link=../../target"} << "t" << false
        << QStringList{"t", "t/a_file", "t/zdir", "t/zdir/link", "target"};
}

void RemoveTreeTest::removeTree()
{
    QFETCH(QStringList, tree);
    QFETCH(QString, path);
    QFETCH(bool, removed);
    QFETCH(QStringList, remaining);

    QTemporaryDir root;
    QVERIFY(buildTree(root.path(), tree));
    QCOMPARE(RemoveTree(root.filePath(path)), removed);
    QCOMPARE(listTree(root.path()), remaining);
}

QTEST_GUILESS_MAIN(RemoveTreeTest)
#include "removetreetest.moc"
