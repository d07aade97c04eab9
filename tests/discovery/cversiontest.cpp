#include "discovery/cversion.h"

#include <QDebug>
#include <QTextStream>
#include <QtTest>

class CVersionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void order_data();
    void order();
    void modifiedStaysAndStreams();
};

void CVersionTest::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("display");
    QTest::addColumn<bool>("modified");

    QTest::newRow("dotted") << " 1.36.0 \t" << true << "1.36.0" << false;
    QTest::newRow("two fields") << "1.2" << false << "Unknown" << false;
    QTest::newRow("four fields") << "1.2.3.4" << false << "Unknown" << false;
    QTest::newRow("letter field") << "1.x.3" << true << "1.0.3" << false;
    QTest::newRow("dotted hides m") << "1.2.3m" << true << "1.2.0" << false;
    QTest::newRow("build blank m") << "34725 m" << true << "Build 34725 M" << true;
    QTest::newRow("program answer") << "Build 120 M" << true << "Build 120 M" << true;
    QTest::newRow("empty") << "" << true << "Unknown" << false;
    QTest::newRow("zero dotted is build form") << "0.0.5" << true << "Build 5" << false;
}

void CVersionTest::parse()
{
    QFETCH(QString, text);
    CVersion parsed;
    QTEST(parsed.parse(text), "ok");
    QTEST(parsed.toString(), "display");
    QTEST(parsed.modified, "modified");
}

void CVersionTest::order_data()
{
    QTest::addColumn<QString>("older");
    QTest::addColumn<QString>("newer");
    QTest::addColumn<bool>("equal");

    QTest::newRow("minor numeric") << "2.9.9" << "2.10.0" << false;
    QTest::newRow("build") << "2.0.0" << "2.0.1" << false;
    QTest::newRow("build form older than dotted") << "99999" << "1.0.0" << false;
    QTest::newRow("unknown older than build") << "" << "1" << false;
    QTest::newRow("zero dotted equals build") << "0.0.5" << "5" << true;
    QTest::newRow("modified ignored") << "Build 12" << "12m" << true;
}

void CVersionTest::order()
{
    QFETCH(QString, older);
    QFETCH(QString, newer);
    QFETCH(bool, equal);
    QCOMPARE(CVersion(older) < CVersion(newer), !equal);
    QVERIFY(!(CVersion(newer) < CVersion(older)));
    QCOMPARE(CVersion(older) == CVersion(newer), equal);
}

void CVersionTest::modifiedStaysAndStreams()
{
    CVersion version(0, 0, 7, true);
    QVERIFY(version.parse(QStringLiteral("12")));
    QCOMPARE(version.toString(), QStringLiteral("Build 12 M"));

    QString text;
    QTextStream stream(&text);
    stream << CVersion(1, 2, 3, false) << '|' << CVersion();
    stream.flush();
    QCOMPARE(text, QStringLiteral("1.2.3|Unknown"));
    QString debugText;
    QDebug(&debugText) << CVersion(0, 0, 9, true) << 1;
    QCOMPARE(debugText, QStringLiteral("\"Build 9 M\" 1 "));
}

QTEST_GUILESS_MAIN(CVersionTest)
#include "cversiontest.moc"
