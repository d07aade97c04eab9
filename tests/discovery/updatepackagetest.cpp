#include "discovery/updatepackage.h"
#include "common/testpaths.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class UpdatePackageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void classify_data();
    void classify();
    void sortLikeQt_data();
    void sortLikeQt();
};

void UpdatePackageTest::classify_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("deviceBsp");
    QTest::addColumn<bool>("withSignature");
    QTest::addColumn<QString>("expected"); // name|versionText|version|bsp|kind|selected|error
    QTest::addColumn<QString>("debugLine");

    QTest::newRow("program") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << "1.36.0" << true
                             << "bin|3.2.1|3.2.1|1.36.0|3|selected|0" << "";
    QTest::newRow("help files") << "doc_help-1.0.0-BSP-1.36.0.tar.bz2" << "1.36.0" << true
                                << "doc_help|1.0.0|1.0.0|1.36.0|1|selected|0" << "";
    QTest::newRow("installer") << "Ins-2.0.1-BSP-1.36.0.tar.bz2" << "1.36.0" << true
                               << "Ins|2.0.1|2.0.1|1.36.0|0|selected|0" << "";
    QTest::newRow("unknown prefix") << "xyz-1.0.0-BSP-1.36.0.tar.bz2" << "1.36.0" << true
                                    << "xyz|1.0.0|1.0.0|1.36.0|2|selected|0" << "   ??? Name \"xyz\"";
    QTest::newRow("lower-case bsp") << "bin-3.2.1-bsp-1.36.0.tar.bz2" << "1.36.0" << true
                                    << "bin-3.2.1-bsp-1.36.0|0.0.0|Unknown|0.0.0|2|-|2" << "   ??? BSP \"bsp\"";
    QTest::newRow("two-field version") << "bin-3.2-BSP-1.36.0.tar.bz2" << "1.36.0" << true
                                       << "bin|3.2|Unknown|1.36.0|3|-|0" << "";
    QTest::newRow("old style pkg") << "2.1.0-pkg-update.tar.bz2" << "1.41.0" << true
                                   << "inst|2.1.0|2.1.0|1.41.0|0|selected|0" << "";
    QTest::newRow("old style bsp") << "2.1.0-1.36.0-update.tar.bz2" << "1.36.0" << true
                                   << "inst|2.1.0|2.1.0|1.36.0|0|selected|0" << "";
    QTest::newRow("old style Update") << "2.1.0-pkg-Update.tar.bz2" << "1.36.0" << true
                                      << "2.1.0-pkg-Update|0.0.0|Unknown|0.0.0|2|-|2" << "   ??? update \"Update\"";
    QTest::newRow("five fields") << "bin-x-3.2.1-BSP-1.36.0.tar.bz2" << "1.36.0" << true
                                 << "bin-x-3.2.1-BSP-1.36.0|0.0.0|Unknown|0.0.0|2|-|2" << "";
    QTest::newRow("no signature beats wrong bsp") << "bin-3.2.1-BSP-1.41.0.tar.bz2" << "1.36.0" << false
                                                  << "bin|3.2.1|3.2.1|1.41.0|3|-|3" << "";
    QTest::newRow("wrong bsp") << "bin-3.2.1-BSP-1.41.0.tar.bz2" << "1.36.0" << true
                               << "bin|3.2.1|3.2.1|1.41.0|3|-|2" << "";
    QTest::newRow("1.7.0 on 1.36.0") << "bin-3.2.1-BSP-1.7.0.tar.bz2" << "1.36.0" << true
                                     << "bin|3.2.1|3.2.1|1.7.0|3|selected|0" << "";
    QTest::newRow("1.36.0 on 1.7.0") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << "1.7.0" << true
                                     << "bin|3.2.1|3.2.1|1.36.0|3|-|2" << "";
}

void UpdatePackageTest::classify()
{
    QFETCH(QString, fileName);
    QFETCH(QString, deviceBsp);
    QFETCH(bool, withSignature);
    QFETCH(QString, debugLine);

    QTemporaryDir medium;
    const QString archive = medium.filePath(fileName);
    QVERIFY(QFile(archive).open(QIODevice::WriteOnly));
    if (withSignature)
        QVERIFY(QFile(archive + QStringLiteral(".sha1")).open(QIODevice::WriteOnly));
    if (!debugLine.isEmpty())
        QTest::ignoreMessage(QtDebugMsg, qPrintable(debugLine));

    UpdatePackage r{QFileInfo(archive)};
    ::parseName(r, deviceBsp);
    checkSignatureFile(r);
    checkBsp(r, deviceBsp);
    QTEST(QStringLiteral("%1|%2|%3|%4|%5|%6|%7").arg(r.name, r.versionText, r.version.toString(), r.bsp)
              .arg(r.priority).arg(r.selected ? QStringLiteral("selected") : QStringLiteral("-")).arg(r.error),
          "expected");
}

void UpdatePackageTest::sortLikeQt_data()
{
    QTest::addColumn<QStringList>("records"); // "<version>:<kind>"
    QTest::addColumn<QStringList>("expectedOrder"); // input positions

    // Written by tests/discovery/qsortgolden/generate.cpp with Qt 5.15's qSort().
    QFile golden(TestPaths::source(QStringLiteral("tests/discovery/data/qsort-golden.txt")));
    QVERIFY2(golden.open(QIODevice::ReadOnly | QIODevice::Text), qPrintable(golden.fileName()));
    while (!golden.atEnd()) {
        const QStringList parts = QString::fromLatin1(golden.readLine()).trimmed().split(QLatin1Char('|'));
        QCOMPARE(parts.size(), 3);
        QTest::newRow(qPrintable(parts.at(0))) << parts.at(1).split(QLatin1Char(' '), Qt::SkipEmptyParts)
                                               << parts.at(2).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    }
}

void UpdatePackageTest::sortLikeQt()
{
    QFETCH(QStringList, records);
    QList<UpdatePackage> packages;
    for (int i = 0; i < records.size(); ++i) {
        UpdatePackage package;
        package.version = CVersion(records.at(i).section(QLatin1Char(':'), 0, 0));
        package.priority = records.at(i).section(QLatin1Char(':'), 1).toInt();
        package.name = QString::number(i);
        packages.append(package);
    }
    sortPackages(packages);

    QStringList order;
    for (const UpdatePackage& package : qAsConst(packages))
        order << package.name;
    QTEST(order, "expectedOrder");
}

QTEST_GUILESS_MAIN(UpdatePackageTest)
#include "updatepackagetest.moc"
