#include "common/testtools.h"
#include "install/updateconf.h"

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
    QTest::addColumn<QByteArray>("text"); // null: the file is missing
    QTest::addColumn<Script>("expected");

    QTest::newRow("file-list example")
        << QByteArray("; program update\nDEST_FILE1 = /usr/local/bin\nFILE_LIST = corvane corvane_de.qm\n")
        << Script { { "DEST_FILE1", "/usr/local/bin" }, { "FILE_LIST", "corvane corvane_de.qm" } };
    QTest::newRow("indented comment") << QByteArray("   \t; DELETE = /x\n") << Script {};
    QTest::newRow("semicolon inside value") << QByteArray("A = b;c\n") << Script { { "A", "b;c" } };
    QTest::newRow("indented line") << QByteArray("   KEY   =   value   \n") << Script { { "KEY", "value" } };
    QTest::newRow("second equals cuts value") << QByteArray("KEY = a=b\n") << Script { { "KEY", "a" } };
    QTest::newRow("every quote removed") << QByteArray("KEY = \"  a \"b\"\n") << Script { { "KEY", "a b" } };
    QTest::newRow("lone inner quote kept") << QByteArray("KEY = a\"b\n") << Script { { "KEY", "a\"b" } };
    QTest::newRow("lower-case key kept apart") << QByteArray("delete = /x\n") << Script { { "delete", "/x" } };
    QTest::newRow("empty DEST_FILE1") << QByteArray("DEST_FILE1 =\n") << Script { { "DEST_FILE1", "" } };
    QTest::newRow("CRLF, no final line end") << QByteArray("A=1\r\nB = 2") << Script { { "A", "1" }, { "B", "2" } };
    QTest::newRow("lines without equals skipped") << QByteArray("TEXT\n\nA=1\n") << Script { { "A", "1" } };
    QTest::newRow("missing file gives empty map") << QByteArray() << Script {};
}

void UpdateConfTest::readsScript()
{
    QFETCH(QByteArray, text);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("UPDATE.CONF"));
    if (!text.isNull())
        QVERIFY(TestTools::writeFile(path, text));

    QTEST(readUpdateConf(path), "expected");
}

QTEST_GUILESS_MAIN(UpdateConfTest)
#include "updateconftest.moc"
