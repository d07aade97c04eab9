#include "discovery/updatepackage.h"
#include "common/testpaths.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class UpdatePackageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parseName_data();
    void parseName();
    void checks_data();
    void checks();
    void order_data();
    void order();
    void sortLikeQt_data();
    void sortLikeQt();
};

namespace {

// "name|versionText|version|bsp|kind|selected|error": the fields the rules set.
QString describe(const UpdatePackage& r)
{
    return QStringLiteral("%1|%2|%3|%4|%5|%6|%7").arg(r.name, r.versionText, r.version.toString(), r.bsp)
        .arg(r.priority).arg(r.selected ? QStringLiteral("selected") : QStringLiteral("-")).arg(r.error);
}

// A record from "<version>:<kind>", named after its position in the input.
UpdatePackage recordFromText(const QString& record, int position)
{
    UpdatePackage package;
    const int colon = record.indexOf(QLatin1Char(':'));
    package.version = CVersion(record.left(colon));
    package.priority = record.mid(colon + 1).toInt();
    package.name = QString::number(position);
    return package;
}

} // namespace

void UpdatePackageTest::parseName_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("deviceBsp");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("debugLine");

    QTest::newRow("program") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << "1.36.0" << "bin|3.2.1|3.2.1|1.36.0|3|selected|0" << "";
    QTest::newRow("help files") << "doc_help-1.0.0-BSP-1.36.0.tar.bz2" << "1.36.0"
                                << "doc_help|1.0.0|1.0.0|1.36.0|1|selected|0" << "";
    QTest::newRow("installer") << "Ins-2.0.1-BSP-1.36.0.tar.bz2" << "1.36.0" << "Ins|2.0.1|2.0.1|1.36.0|0|selected|0" << "";
    QTest::newRow("unknown prefix") << "xyz-1.0.0-BSP-1.36.0.tar.bz2" << "1.36.0" << "xyz|1.0.0|1.0.0|1.36.0|2|selected|0"
                                    << "   ??? Name \"xyz\"";
    QTest::newRow("lower-case bsp") << "bin_main-3.2.1-bsp-1.36.0.tar.bz2" << "1.36.0"
                                    << "bin_main-3.2.1-bsp-1.36.0|0.0.0|Unknown|0.0.0|2|-|0" << "   ??? BSP \"bsp\"";
    QTest::newRow("two-field version") << "bin_main-3.2-BSP-1.36.0.tar.bz2" << "1.36.0"
                                       << "bin_main|3.2|Unknown|1.36.0|3|-|0" << "";
    QTest::newRow("build version") << "bin-1234-BSP-1.36.0.tar.bz2" << "1.36.0"
                                   << "bin|1234|Build 1234|1.36.0|3|selected|0" << "";
    QTest::newRow("old style pkg") << "2.1.0-pkg-update.tar.bz2" << "1.41.0" << "inst|2.1.0|2.1.0|1.41.0|0|selected|0" << "";
    QTest::newRow("old style bsp") << "2.1.0-1.36.0-update.tar.bz2" << "1.7.0" << "inst|2.1.0|2.1.0|1.36.0|0|selected|0" << "";
    QTest::newRow("old style Update") << "2.1.0-pkg-Update.tar.bz2" << "1.36.0"
                                      << "2.1.0-pkg-Update|0.0.0|Unknown|0.0.0|2|-|0" << "   ??? update \"Update\"";
    QTest::newRow("five fields") << "bin-x-3.2.1-BSP-1.36.0.tar.bz2" << "1.36.0"
                                 << "bin-x-3.2.1-BSP-1.36.0|0.0.0|Unknown|0.0.0|2|-|0" << "";
}

void UpdatePackageTest::parseName()
{
    QFETCH(QString, fileName);
    QFETCH(QString, deviceBsp);
    QFETCH(QString, debugLine);

    UpdatePackage record{QFileInfo(QStringLiteral("/media/usb/") + fileName)};
    QCOMPARE(record.signaturePath(), QStringLiteral("/media/usb/%1.sha1").arg(fileName));
    if (!debugLine.isEmpty())
        QTest::ignoreMessage(QtDebugMsg, qPrintable(debugLine));
    ::parseName(record, deviceBsp);
    QTEST(describe(record), "expected");
}

void UpdatePackageTest::checks_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<bool>("withSignature");
    QTest::addColumn<QString>("deviceBsp");
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("selected");

    QTest::newRow("fits") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << true << "1.36.0" << int(ErrorNone) << true;
    QTest::newRow("no signature") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << false << "1.36.0" << 3 << false;
    QTest::newRow("no signature, wrong bsp") << "bin-3.2.1-BSP-1.41.0.tar.bz2" << false << "1.36.0" << 3 << false;
    QTest::newRow("wrong bsp") << "bin-3.2.1-BSP-1.41.0.tar.bz2" << true << "1.36.0" << 2 << false;
    QTest::newRow("1.7.0 on 1.36.0") << "bin-3.2.1-BSP-1.7.0.tar.bz2" << true << "1.36.0" << 0 << true;
    QTest::newRow("1.36.0 on 1.7.0") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << true << "1.7.0" << 2 << false;
    QTest::newRow("old style pkg") << "2.1.0-pkg-update.tar.bz2" << true << "1.7.0" << 0 << true;
}

void UpdatePackageTest::checks()
{
    QFETCH(QString, fileName);
    QFETCH(bool, withSignature);
    QFETCH(QString, deviceBsp);

    QTemporaryDir medium;
    const QString archive = medium.filePath(fileName);
    QVERIFY(QFile(archive).open(QIODevice::WriteOnly));
    if (withSignature)
        QVERIFY(QFile(archive + QStringLiteral(".sha1")).open(QIODevice::WriteOnly));

    UpdatePackage record{QFileInfo(archive)};
    ::parseName(record, deviceBsp);
    checkSignatureFile(record);
    checkBsp(record, deviceBsp);
    QTEST(record.error, "error");
    QTEST(record.selected, "selected");
}

void UpdatePackageTest::order_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<bool>("aBeforeB");
    QTest::addColumn<bool>("bBeforeA");

    QTest::newRow("same kind newer first") << "3.0.0:3" << "2.0.0:3" << true << false;
    QTest::newRow("same version smaller kind") << "1.0.0:0" << "1.0.0:3" << true << false;
    QTest::newRow("modified ignored") << "12m:1" << "12:1" << false << false;
    QTest::newRow("newer larger kind both ways") << "3.0.0:3" << "2.0.0:0" << true << true;
}

void UpdatePackageTest::order()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QTEST(packageLessThan(recordFromText(a, 0), recordFromText(b, 1)), "aBeforeB");
    QTEST(packageLessThan(recordFromText(b, 1), recordFromText(a, 0)), "bBeforeA");
}

void UpdatePackageTest::sortLikeQt_data()
{
    QTest::addColumn<QStringList>("records");
    QTest::addColumn<QStringList>("expectedOrder");

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
    for (int i = 0; i < records.size(); ++i)
        packages.append(recordFromText(records.at(i), i));
    sortPackages(packages);

    QStringList order;
    for (const UpdatePackage& package : qAsConst(packages))
        order << package.name;
    QTEST(order, "expectedOrder");
}

QTEST_GUILESS_MAIN(UpdatePackageTest)
#include "updatepackagetest.moc"
