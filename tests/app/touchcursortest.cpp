#include "app/updaterun.h"

#include <QApplication>
#include <QTest>

class TouchCursorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void blankCursors_data();
    void blankCursors();
};

void TouchCursorTest::blankCursors_data()
{
    QTest::addColumn<QString>("mouseProtocol");
    QTest::addColumn<int>("pushes");

    QTest::newRow("unset") << QString() << 0;
    QTest::newRow("mouse only") << "LinuxInput:/dev/input/event1" << 0;
    QTest::newRow("tslib") << "tslib:/dev/input/event0" << 1;
    QTest::newRow("capitals") << "TSLIB" << 1;
    QTest::newRow("inside a word") << "mytslibdriver" << 1;
    QTest::newRow("one push per part") << "tslib LinuxInput Tslib:/dev/ts" << 2;
    QTest::newRow("blanks are separators only") << "  tslib  " << 1;
}

void TouchCursorTest::blankCursors()
{
    QFETCH(QString, mouseProtocol);
    QFETCH(int, pushes);

    hidePointerOnTouchScreen(mouseProtocol.split(QLatin1Char(' ')));

    int found = 0;
    while (QApplication::overrideCursor()) {
        QCOMPARE(QApplication::overrideCursor()->shape(), Qt::BlankCursor);
        QApplication::restoreOverrideCursor();
        ++found;
    }
    QCOMPARE(found, pushes);
}

QTEST_MAIN(TouchCursorTest)
#include "touchcursortest.moc"
