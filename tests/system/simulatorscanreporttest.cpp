// The stick simulator's package table: the words it uses must be the window's,
// and its rows must come in the window's order, since technicians' choices are
// given by row.
#include "tools/simulator/scanreport.h"

#include <QTest>

namespace {

UpdatePackage record(const QString& fileName, const QString& name, int kind, const CVersion& version)
{
    UpdatePackage package { QFileInfo(QStringLiteral("/media/usb/") + fileName) };
    package.name = name;
    package.priority = kind;
    package.version = version;
    return package;
}

} // namespace

class SimulatorScanReportTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void typeLabel_data();
    void typeLabel();
    void stateText_data();
    void stateText();
    void rowsInWindowOrder();
    void emptyAndTruncatedNotes();
};

void SimulatorScanReportTest::typeLabel_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("expected");

    QTest::newRow("program") << QStringLiteral("bin") << int(KindProgram) << QStringLiteral("Program");
    QTest::newRow("old installer") << QStringLiteral("inst") << int(KindInstaller) << QStringLiteral("Installer Old");
    QTest::newRow("longer name goes by name, not kind")
        << QStringLiteral("bin_main") << int(KindProgram) << QStringLiteral("bin_main");
}

void SimulatorScanReportTest::typeLabel()
{
    QFETCH(QString, name);
    QFETCH(int, kind);
    QFETCH(QString, expected);
    QCOMPARE(ScanReport::typeLabel(record(QStringLiteral("x.tar.bz2"), name, kind, CVersion())), expected);
}

void SimulatorScanReportTest::stateText_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("selected");
    QTest::addColumn<QString>("expected");

    QTest::newRow("pre-selected") << int(ErrorNone) << true << QStringLiteral("pre-selected");
    QTest::newRow("usable, not newer") << int(ErrorNone) << false << QStringLiteral("not selected");
    QTest::newRow("wrong BSP names the package's BSP")
        << int(ErrorWrongBsp) << false << QStringLiteral("red: Wrong BSP 1.41.0");
    QTest::newRow("any other error") << 7 << false << QStringLiteral("red: Unknown");
}

void SimulatorScanReportTest::stateText()
{
    QFETCH(int, error);
    QFETCH(bool, selected);
    QFETCH(QString, expected);
    UpdatePackage package = record(QStringLiteral("x.tar.bz2"), QStringLiteral("bin"), KindProgram, CVersion());
    package.bsp = QStringLiteral("1.41.0");
    package.error = error;
    package.selected = selected;
    QCOMPARE(ScanReport::stateText(package), expected);
}

void SimulatorScanReportTest::rowsInWindowOrder()
{
    // Listed by name; the window shows the installer before the help files
    // before the program when their versions are equal.
    const CVersion version(3, 1, 0, false);
    const QList<UpdatePackage> packages { record(QStringLiteral("bin-3.1.0-BSP-1.36.0.tar.bz2"), QStringLiteral("bin"),
                                              KindProgram, version),
        record(QStringLiteral("doc-3.1.0-BSP-1.36.0.tar.bz2"), QStringLiteral("doc"), KindHelpFiles, version),
        record(QStringLiteral("ins-3.1.0-BSP-1.36.0.tar.bz2"), QStringLiteral("ins"), KindInstaller, version) };

    const QStringList lines = ScanReport::table(packages, false).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 4);
    QVERIFY(lines.at(0).startsWith(QLatin1String("row")));
    QVERIFY2(lines.at(1).startsWith(QLatin1String("0    ins-3.1.0")), qPrintable(lines.at(1)));
    QVERIFY2(lines.at(2).startsWith(QLatin1String("1    doc-3.1.0")), qPrintable(lines.at(2)));
    QVERIFY2(lines.at(3).startsWith(QLatin1String("2    bin-3.1.0")), qPrintable(lines.at(3)));
}

void SimulatorScanReportTest::emptyAndTruncatedNotes()
{
    QVERIFY(ScanReport::table({}, false).contains(QLatin1String("no packages")));
    QVERIFY(!ScanReport::table({}, false).contains(QLatin1String("More than 6")));
    QVERIFY(ScanReport::table({}, true).contains(QLatin1String("More than 6 packages found")));
}

QTEST_GUILESS_MAIN(SimulatorScanReportTest)
#include "simulatorscanreporttest.moc"
