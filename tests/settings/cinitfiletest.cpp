#include "common/testtools.h"
#include "settings/cinitfile.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

using TestTools::readFile;
using TestTools::writeFile;

class CInitFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void readRules_data();
    void readRules();
    void getBool_data();
    void getBool();
    void readVersion_data();
    void readVersion();

private:
    QScopedPointer<QTemporaryDir> m_dir;
};

void CInitFileTest::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_dir->path()));
}

// Each file is read and written back; the written file shows what was understood.
void CInitFileTest::readRules_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("written");

    QTest::newRow("blanks trimmed") << QByteArray("  key \t=  value  \n") << QByteArray("key=value\n\n");
    QTest::newRow("quoted value") << QByteArray("k = \"a b\"\n") << QByteArray("k=a b\n\n");
    QTest::newRow("every quote removed") << QByteArray("k=\"a\"b\"\n") << QByteArray("k=ab\n\n");
    QTest::newRow("quotes then blanks") << QByteArray("k=\" a \"\n") << QByteArray("k=a\n\n");
    QTest::newRow("inner quote kept") << QByteArray("k=b\"c\n") << QByteArray("k=b\"c\n\n");
    QTest::newRow("second = cuts") << QByteArray("x=1=2\n") << QByteArray("x=1\n\n");
    QTest::newRow("indented comment") << QByteArray("   ;Language=:/lang/de\n") << QByteArray("\n");
    QTest::newRow("section, blank lines, CRLF") << QByteArray("[main]\r\n\nb=2\r\n\na=1") << QByteArray("a=1\nb=2\n\n");
    QTest::newRow("last duplicate wins") << QByteArray("a=1\na=2\n") << QByteArray("a=2\n\n");
    QTest::newRow("keys case-sensitive sorted")
        << QByteArray("b=1\nB=2\na=3\n;c=4\nA=5\n") << QByteArray("A=5\nB=2\na=3\nb=1\n\n");
}

void CInitFileTest::readRules()
{
    QFETCH(QByteArray, content);
    writeFile(QStringLiteral("installer.ini"), content);
    CInitFile store(QStringLiteral("installer.ini"));
    store.Read();
    QVERIFY(!store.isModified());
    store.Write();
    QTEST(readFile(QStringLiteral("installer.ini")), "written");
}

void CInitFileTest::getBool_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("withFalseDefault");
    QTest::addColumn<bool>("withTrueDefault");

    QTest::newRow("true") << "t" << true << true;
    QTest::newRow("only lower-case true") << "upper" << false << false;
    QTest::newRow("empty value present") << "empty" << false << false;
    QTest::newRow("missing key") << "absent" << false << true;
}

void CInitFileTest::getBool()
{
    QFETCH(QString, key);
    writeFile(QStringLiteral("a.ini"), "t=true\nupper=TRUE\nempty=\n");
    CInitFile store(QStringLiteral("a.ini"));
    store.Read();
    QTEST(store.GetBool(key, false), "withFalseDefault");
    QTEST(store.GetBool(key, true), "withTrueDefault");
}

void CInitFileTest::readVersion_data()
{
    QTest::addColumn<QString>("file"); // empty: the default "version"
    QTest::addColumn<QByteArray>("content"); // "<missing>": no file
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("modified");
    QTest::addColumn<QString>("debugLine");

    QTest::newRow("dotted") << "" << QByteArray("; help\nversion = 1.2.3\n") << "1.2.3" << false << "";
    QTest::newRow("build") << "v.txt" << QByteArray("version=Build 77 M") << "Build 77 M" << true << "";
    QTest::newRow("quotes kept") << "v.txt" << QByteArray("version=\"1.2.3\"") << "0.2.0" << false << "";
    QTest::newRow("missing key, case-sensitive")
        << "v.txt" << QByteArray("Version=1.2.3") << "Unknown" << false << "Item not found  \"version\" \"v.txt\"";
    QTest::newRow("missing file") << "v.txt" << QByteArray("<missing>") << "Unknown" << false
                                  << "File not open  \"v.txt\"";
}

void CInitFileTest::readVersion()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    QFETCH(QString, debugLine);

    const QString expectedFile = file.isEmpty() ? QStringLiteral("version") : file;
    if (content != "<missing>")
        writeFile(expectedFile, content);
    if (!debugLine.isEmpty())
        QTest::ignoreMessage(QtDebugMsg, qPrintable(debugLine));
    const CVersion version = ReadVersion(file, QStringLiteral("version"));
    QTEST(version.toString(), "expected");
    QTEST(version.modified, "modified");
    QCOMPARE(file, expectedFile);
}

QTEST_GUILESS_MAIN(CInitFileTest)
#include "cinitfiletest.moc"
