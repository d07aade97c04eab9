#include "common/fakesystem.h"
#include "common/testtools.h"
#include "install/cworker.h"

#include <QTemporaryDir>
#include <QTest>

using Script = QMap<QString, QString>;

class UpdateConfTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsScript_data();
    void readsScript();
};

void UpdateConfTest::readsScript_data()
{
    QTest::addColumn<QByteArray>("previous"); // read first by the same worker; null: nothing
    QTest::addColumn<QByteArray>("text"); // null: the file is missing
    QTest::addColumn<Script>("expected");

    const QByteArray none;
    QTest::newRow("file-list example")
        << none
        << QByteArray("; program update\nDELETE = /usr/local/share/corvane/old\nDEST_FILE1 = /usr/local/bin\n"
                      "FILE_LIST = corvane corvane_de.qm\n")
        << Script { { "DELETE", "/usr/local/share/corvane/old" }, { "DEST_FILE1", "/usr/local/bin" },
               { "FILE_LIST", "corvane corvane_de.qm" } };
    QTest::newRow("indented comment") << none << QByteArray("   \t; DELETE = /x\n") << Script {};
    QTest::newRow("semicolon inside value") << none << QByteArray("A = b;c\n") << Script { { "A", "b;c" } };
    QTest::newRow("indented line") << none << QByteArray("   KEY   =   value   \n") << Script { { "KEY", "value" } };
    QTest::newRow("second equals cuts value") << none << QByteArray("KEY = a=b\n") << Script { { "KEY", "a" } };
    QTest::newRow("every quote removed") << none << QByteArray("KEY = \"a \"b\"\n") << Script { { "KEY", "a b" } };
    QTest::newRow("quoted blanks trimmed") << none << QByteArray("KEY = \"  x  \"\n") << Script { { "KEY", "x" } };
    QTest::newRow("lone inner quote kept") << none << QByteArray("KEY = a\"b\n") << Script { { "KEY", "a\"b" } };
    QTest::newRow("lower-case key kept apart") << none << QByteArray("delete = /x\n") << Script { { "delete", "/x" } };
    QTest::newRow("empty DEST_FILE1") << none << QByteArray("DEST_FILE1 =\n") << Script { { "DEST_FILE1", "" } };
    QTest::newRow("CRLF, no final line end") << none << QByteArray("A=1\r\nB = 2") << Script { { "A", "1" }, { "B", "2" } };
    QTest::newRow("lines without equals skipped") << none << QByteArray("TEXT\n\nA=1\n") << Script { { "A", "1" } };
    QTest::newRow("double blanks in list kept") << none << QByteArray("L = a  b\n") << Script { { "L", "a  b" } };
    QTest::newRow("reread empties the map") << QByteArray("DEST_FILE1=/a\nFILE_LIST=x\n") << QByteArray("BSP=1.36.0\n")
                                            << Script { { "BSP", "1.36.0" } };
    QTest::newRow("missing file gives empty map") << QByteArray("DEST_FILE1=/a\n") << none << Script {};
}

void UpdateConfTest::readsScript()
{
    QFETCH(QByteArray, previous);
    QFETCH(QByteArray, text);
    QTemporaryDir dir;
    CFakeSystem system(dir.path() + QLatin1Char('/'), dir.path());
    CWorker worker(system);
    const QString path = dir.filePath(QStringLiteral("UPDATE.CONF"));
    if (!previous.isNull()) {
        QVERIFY(TestTools::writeFile(path, previous));
        worker.ReadUpdateConf(QFileInfo(path));
        QVERIFY(!worker.script.isEmpty());
    }
    QVERIFY(text.isNull() ? QFile::remove(path) : TestTools::writeFile(path, text));

    worker.ReadUpdateConf(QFileInfo(path));

    QTEST(worker.script, "expected");
}

QTEST_GUILESS_MAIN(UpdateConfTest)
#include "updateconftest.moc"
