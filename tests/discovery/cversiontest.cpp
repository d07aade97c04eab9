#include "discovery/cversion.h"

#include <QDebug>
#include <QTextStream>
#include <QtTest>

Q_DECLARE_METATYPE(CVersion)

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
    QTest::addColumn<CVersion>("expected");
    QTest::addColumn<QString>("display");

    QTest::newRow("dotted") << " 1.36.0 \t" << true << CVersion(1, 36, 0, false) << "1.36.0";
    QTest::newRow("two fields") << "1.2" << false << CVersion() << "Unknown";
    QTest::newRow("four fields") << "1.2.3.4" << false << CVersion() << "Unknown";
    QTest::newRow("letter field") << "1.x.3" << true << CVersion(1, 0, 3, false) << "1.0.3";
    QTest::newRow("dotted hides m") << "1.2.3m" << true << CVersion(1, 2, 0, false) << "1.2.0";
    QTest::newRow("build") << "34725" << true << CVersion(0, 0, 34725, false) << "Build 34725";
    QTest::newRow("build blank m") << "34725 m" << true << CVersion(0, 0, 34725, true) << "Build 34725 M";
    QTest::newRow("program answer") << "Build 120 M" << true << CVersion(0, 0, 120, true) << "Build 120 M";
    QTest::newRow("punctuation stays") << "1-2" << true << CVersion() << "Unknown";
    QTest::newRow("empty") << "" << true << CVersion() << "Unknown";
    QTest::newRow("M alone") << "M" << true << CVersion(0, 0, 0, true) << "Unknown";
    QTest::newRow("zero dotted is build form") << "0.0.5" << true << CVersion(0, 0, 5, false) << "Build 5";
}

void CVersionTest::parse()
{
    QFETCH(QString, text);
    QFETCH(CVersion, expected);

    CVersion parsed;
    QTEST(parsed.parse(text), "ok");
    QCOMPARE(parsed.major, expected.major);
    QCOMPARE(parsed.minor, expected.minor);
    QCOMPARE(parsed.build, expected.build);
    QCOMPARE(parsed.modified, expected.modified);
    QTEST(parsed.toString(), "display");
    QTEST(CVersion(text).toString(), "display");
}

void CVersionTest::order_data()
{
    QTest::addColumn<QString>("older");
    QTest::addColumn<QString>("newer");

    QTest::newRow("minor numeric") << "2.9.9" << "2.10.0";
    QTest::newRow("build") << "2.0.0" << "2.0.1";
    QTest::newRow("build form older than dotted") << "99999" << "1.0.0";
    QTest::newRow("zero dotted equals build") << "0.0.5" << "6";
    QTest::newRow("unknown older than build") << "" << "1";
}

void CVersionTest::order()
{
    QFETCH(QString, older);
    QFETCH(QString, newer);
    QVERIFY(CVersion(older) < CVersion(newer));
    QVERIFY(!(CVersion(newer) < CVersion(older)));
    QVERIFY(!(CVersion(older) == CVersion(newer)));
}

void CVersionTest::modifiedStaysAndStreams()
{
    // modified takes no part in the order or in equality, and a new parse keeps it.
    QVERIFY(CVersion(QStringLiteral("Build 12")) == CVersion(QStringLiteral("Build 12 M")));
    QVERIFY(!(CVersion(QStringLiteral("12")) < CVersion(QStringLiteral("12m"))));
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
