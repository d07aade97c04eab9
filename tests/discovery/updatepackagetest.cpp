#include "discovery/qtquicksort.h"
#include "discovery/updatepackage.h"
#include "common/testpaths.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <vector>

class UpdatePackageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initialRecord();
    void parseName_data();
    void parseName();
    void checks_data();
    void checks();
    void order_data();
    void order();
    void sortLikeQt_data();
    void sortLikeQt();
    void quickSortPlainValues();
};

namespace {

UpdatePackage recordFor(const QString& fileName)
{
    return UpdatePackage(QFileInfo(QStringLiteral("/media/usb/") + fileName));
}

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

void UpdatePackageTest::initialRecord()
{
    const UpdatePackage record = recordFor(QStringLiteral("x-1.2.3-BSP-1.36.0.tar.bz2"));
    QCOMPARE(record.name, QStringLiteral("x-1.2.3-BSP-1.36.0"));
    QCOMPARE(record.versionText, QStringLiteral("0.0.0"));
    QCOMPARE(record.bsp, QStringLiteral("0.0.0"));
    QVERIFY(record.version.isUnknown());
    QVERIFY(record.installed.isUnknown());
    QCOMPARE(record.error, int(ErrorNone));
    QCOMPARE(record.selected, false);
    QCOMPARE(record.priority, int(KindUnrecognised));
    QCOMPARE(record.signaturePath(), QStringLiteral("/media/usb/x-1.2.3-BSP-1.36.0.tar.bz2.sha1"));
}

void UpdatePackageTest::parseName_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("deviceBsp");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("versionText");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("bsp");
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("selected");
    QTest::addColumn<QString>("debugLine");

    QTest::newRow("program") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << "1.36.0"
                             << "bin" << "3.2.1" << "3.2.1" << "1.36.0" << int(KindProgram) << true << "";
    QTest::newRow("help files") << "doc_help-1.0.0-BSP-1.36.0.tar.bz2" << "1.36.0"
                                << "doc_help" << "1.0.0" << "1.0.0" << "1.36.0" << int(KindHelpFiles) << true << "";
    QTest::newRow("prefix case-blind") << "DOCfoo-1.0.0-BSP-1.7.0.tar.bz2" << "1.36.0"
                                       << "DOCfoo" << "1.0.0" << "1.0.0" << "1.7.0" << int(KindHelpFiles) << true << "";
    QTest::newRow("installer") << "Ins-2.0.1-BSP-1.36.0.tar.bz2" << "1.36.0"
                               << "Ins" << "2.0.1" << "2.0.1" << "1.36.0" << int(KindInstaller) << true << "";
    QTest::newRow("unknown prefix") << "xyz-1.0.0-BSP-1.36.0.tar.bz2" << "1.36.0"
                                    << "xyz" << "1.0.0" << "1.0.0" << "1.36.0" << int(KindUnrecognised) << true
                                    << "   ??? Name \"xyz\"";
    QTest::newRow("lower-case bsp") << "bin_main-3.2.1-bsp-1.36.0.tar.bz2" << "1.36.0"
                                    << "bin_main-3.2.1-bsp-1.36.0" << "0.0.0" << "Unknown" << "0.0.0"
                                    << int(KindUnrecognised) << false << "   ??? BSP \"bsp\"";
    QTest::newRow("two-field version") << "bin_main-3.2-BSP-1.36.0.tar.bz2" << "1.36.0"
                                       << "bin_main" << "3.2" << "Unknown" << "1.36.0" << int(KindProgram) << false << "";
    QTest::newRow("build version") << "bin-1234-BSP-1.36.0.tar.bz2" << "1.36.0"
                                   << "bin" << "1234" << "Build 1234" << "1.36.0" << int(KindProgram) << true << "";
    QTest::newRow("every .tar removed") << "a.tar.b-1.0.0-BSP-1.36.0.tar.bz2" << "1.36.0"
                                        << "a.b" << "1.0.0" << "1.0.0" << "1.36.0" << int(KindUnrecognised) << true
                                        << "   ??? Name \"a.b\"";
    QTest::newRow("old style pkg") << "2.1.0-pkg-update.tar.bz2" << "1.41.0"
                                   << "inst" << "2.1.0" << "2.1.0" << "1.41.0" << int(KindInstaller) << true << "";
    QTest::newRow("old style bsp") << "2.1.0-1.36.0-update.tar.bz2" << "1.7.0"
                                   << "inst" << "2.1.0" << "2.1.0" << "1.36.0" << int(KindInstaller) << true << "";
    QTest::newRow("old style Update") << "2.1.0-pkg-Update.tar.bz2" << "1.36.0"
                                      << "2.1.0-pkg-Update" << "0.0.0" << "Unknown" << "0.0.0"
                                      << int(KindUnrecognised) << false << "   ??? update \"Update\"";
    QTest::newRow("five fields") << "bin-x-3.2.1-BSP-1.36.0.tar.bz2" << "1.36.0"
                                 << "bin-x-3.2.1-BSP-1.36.0" << "0.0.0" << "Unknown" << "0.0.0"
                                 << int(KindUnrecognised) << false << "";
    QTest::newRow("one field") << "bin.tar.bz2" << "1.36.0"
                               << "bin" << "0.0.0" << "Unknown" << "0.0.0" << int(KindUnrecognised) << false << "";
    QTest::newRow("upper-case suffix") << "bin-1.0.0-BSP-1.36.0.TAR.BZ2" << "1.36.0"
                                       << "bin" << "1.0.0" << "1.0.0" << "1.36.0.TAR"
                                       << int(KindProgram) << true << "";
}

void UpdatePackageTest::parseName()
{
    QFETCH(QString, fileName);
    QFETCH(QString, deviceBsp);
    QFETCH(QString, debugLine);

    UpdatePackage record = recordFor(fileName);
    if (!debugLine.isEmpty())
        QTest::ignoreMessage(QtDebugMsg, qPrintable(debugLine));
    ::parseName(record, deviceBsp);

    QTEST(record.name, "name");
    QTEST(record.versionText, "versionText");
    QTEST(record.version.toString(), "version");
    QTEST(record.bsp, "bsp");
    QTEST(record.priority, "kind");
    QTEST(record.selected, "selected");
    QCOMPARE(record.error, int(ErrorNone));
}

void UpdatePackageTest::checks_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<bool>("withSignature");
    QTest::addColumn<QString>("deviceBsp");
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("selected");

    QTest::newRow("fits") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << true << "1.36.0" << int(ErrorNone) << true;
    QTest::newRow("no signature") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << false << "1.36.0"
                                  << int(ErrorMissingSignature) << false;
    QTest::newRow("no signature and wrong bsp") << "bin-3.2.1-BSP-1.41.0.tar.bz2" << false << "1.36.0"
                                                << int(ErrorMissingSignature) << false;
    QTest::newRow("wrong bsp") << "bin-3.2.1-BSP-1.41.0.tar.bz2" << true << "1.36.0" << int(ErrorWrongBsp) << false;
    QTest::newRow("1.7.0 on 1.36.0") << "bin-3.2.1-BSP-1.7.0.tar.bz2" << true << "1.36.0" << int(ErrorNone) << true;
    QTest::newRow("1.36.0 on 1.7.0") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << true << "1.7.0" << int(ErrorWrongBsp) << false;
    QTest::newRow("bsp compared as text") << "bin-3.2.1-BSP-1.36.00.tar.bz2" << true << "1.36.0"
                                          << int(ErrorWrongBsp) << false;
    QTest::newRow("old style on other bsp") << "2.1.0-1.36.0-update.tar.bz2" << true << "1.7.0"
                                            << int(ErrorWrongBsp) << false;
    QTest::newRow("old style pkg") << "2.1.0-pkg-update.tar.bz2" << true << "1.7.0" << int(ErrorNone) << true;
    QTest::newRow("unselected stays unselected") << "bin-3.2-BSP-1.36.0.tar.bz2" << true << "1.36.0"
                                                 << int(ErrorNone) << false;
}

void UpdatePackageTest::checks()
{
    QFETCH(QString, fileName);
    QFETCH(bool, withSignature);
    QFETCH(QString, deviceBsp);

    QTemporaryDir medium;
    QVERIFY(medium.isValid());
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
    QTest::newRow("equal") << "1.0.0:1" << "1.0.0:1" << false << false;
    QTest::newRow("modified ignored") << "12m:1" << "12:1" << false << false;
    QTest::newRow("newer larger kind both ways") << "3.0.0:3" << "2.0.0:0" << true << true;
    QTest::newRow("newer smaller kind") << "3.0.0:0" << "2.0.0:3" << true << false;
}

void UpdatePackageTest::order()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    const UpdatePackage first = recordFromText(a, 0);
    const UpdatePackage second = recordFromText(b, 1);
    QTEST(packageLessThan(first, second), "aBeforeB");
    QTEST(packageLessThan(second, first), "bBeforeA");
}

void UpdatePackageTest::sortLikeQt_data()
{
    QTest::addColumn<QStringList>("records");
    QTest::addColumn<QStringList>("expectedOrder");

    // Written by tests/discovery/qsortgolden/generate.cpp with Qt 5.15's qSort().
    QFile golden(TestPaths::source(QStringLiteral("tests/discovery/data/qsort-golden.txt")));
    QVERIFY2(golden.open(QIODevice::ReadOnly | QIODevice::Text), qPrintable(golden.fileName()));
    int rows = 0;
    while (!golden.atEnd()) {
        const QStringList parts = QString::fromLatin1(golden.readLine()).trimmed().split(QLatin1Char('|'));
        QCOMPARE(parts.size(), 3);
        QTest::newRow(qPrintable(parts.at(0))) << parts.at(1).split(QLatin1Char(' '), Qt::SkipEmptyParts)
                                               << parts.at(2).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        ++rows;
    }
    QVERIFY(rows > 500);
}

void UpdatePackageTest::sortLikeQt()
{
    QFETCH(QStringList, records);
    QFETCH(QStringList, expectedOrder);

    QList<UpdatePackage> packages;
    for (int i = 0; i < records.size(); ++i)
        packages.append(recordFromText(records.at(i), i));
    sortPackages(packages);

    QStringList order;
    for (const UpdatePackage& package : qAsConst(packages))
        order << package.name;
    QCOMPARE(order, expectedOrder);
}

void UpdatePackageTest::quickSortPlainValues()
{
    // The same algorithm on a plain container and a strict order: a real sort.
    std::vector<int> values{5, 3, 9, 1, 5, 0, -2, 8, 7, 3, 3, 11, 4};
    qtQuickSort(values.begin(), values.end(), [](int a, int b) { return a < b; });
    QVERIFY(std::is_sorted(values.begin(), values.end()));
    std::vector<int> empty;
    qtQuickSort(empty.begin(), empty.end(), [](int a, int b) { return a < b; });
    QVERIFY(empty.empty());
}

QTEST_GUILESS_MAIN(UpdatePackageTest)
#include "updatepackagetest.moc"
