#include "settings/cinitfile.h"
#include "common/golden.h"
#include "common/testtools.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

// Files of key=value lines, each read the ways the installer reads them.
class CInitFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readWays();
};

// Each file of data/cinitfile.txt, stored as "version", is read by ReadVersion (key
// "version", empty path), then by the store, which answers GetBool and writes it back.
void CInitFileTest::readWays()
{
    QTemporaryDir dir;
    QVERIFY(QDir::setCurrent(dir.path()));
    QString transcript;
    QTest::ignoreMessage(QtDebugMsg, "File not open  \"version\"");
    QTest::ignoreMessage(QtDebugMsg, "Item not found  \"version\" \"version\""); // indented comment
    QTest::ignoreMessage(QtDebugMsg, "Item not found  \"version\" \"version\""); // key case-sensitive
    const QString rows = TestTools::readFile(TestPaths::source(QStringLiteral("tests/settings/data/cinitfile.txt")));
    for (const QString& row : rows.split(QStringLiteral("=== "), Qt::SkipEmptyParts)) {
        transcript += row.section(QLatin1Char('\n'), 0, 0) + QLatin1Char('\n');
        QFile::remove(QStringLiteral("version"));
        if (!row.section(QLatin1Char('\n'), 1).isEmpty()) // empty: no file
            TestTools::writeFile(QStringLiteral("version"), row.section(QLatin1Char('\n'), 1).toUtf8());
        QString path;
        const CVersion version = ReadVersion(path, QStringLiteral("version"));
        CInitFile store(QStringLiteral("version"));
        store.Read();
        transcript += QStringLiteral("  ReadVersion %1: %2 modified %3; GetBool %4 %5\n")
                          .arg(path, version.toString())
                          .arg(version.modified)
                          .arg(store.GetBool(QStringLiteral("version"), false))
                          .arg(store.GetBool(QStringLiteral("version"), true));
        store.Write();
        transcript += "  written: " + TestTools::readFile(QStringLiteral("version"));
    }
    QCOMPARE_GOLDEN("settings/data/cinitfile.ref", transcript);
}

QTEST_GUILESS_MAIN(CInitFileTest)
#include "cinitfiletest.moc"
