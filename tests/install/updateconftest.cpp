// The worker's UPDATE.CONF reader: one table of script texts and the maps they give.

#include "common/fakesystem.h"
#include "install/cworker.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using Script = QMap<QString, QString>;

class UpdateConfTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsScript_data();
    void readsScript();
    void rereadEmptiesMap();
    void missingFileGivesEmptyMap();

private:
    QString writeScript(const QByteArray& text);

    QTemporaryDir m_dir;
};

QString UpdateConfTest::writeScript(const QByteArray& text)
{
    const QString path = m_dir.filePath(QStringLiteral("UPDATE.CONF"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(text) != text.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

void UpdateConfTest::readsScript_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<Script>("expected");

    QTest::newRow("file-list example") << QByteArray("; program update, two files\n"
                                                     "DELETE = /usr/local/share/corvane/old\n"
                                                     "DEST_FILE1 = /usr/local/bin\n"
                                                     "DEST_FILE2 = \"/usr/local/share/corvane/lang\"\n"
                                                     "FILE_LIST = corvane corvane_de.qm\n")
                                       << Script { { "DELETE", "/usr/local/share/corvane/old" },
                                              { "DEST_FILE1", "/usr/local/bin" },
                                              { "DEST_FILE2", "/usr/local/share/corvane/lang" },
                                              { "FILE_LIST", "corvane corvane_de.qm" } };
    QTest::newRow("tree example") << QByteArray(
        "; help files, whole tree\nBSP = 1.36.0 1.41.0\nDELETE=/usr/local/share/corvane/help\n")
                                  << Script { { "BSP", "1.36.0 1.41.0" },
                                         { "DELETE", "/usr/local/share/corvane/help" } };
    QTest::newRow("comment") << QByteArray(";DELETE=/x\n") << Script {};
    QTest::newRow("indented comment") << QByteArray("   \t; DELETE = /x\n") << Script {};
    QTest::newRow("semicolon inside value") << QByteArray("A = b;c\n") << Script { { "A", "b;c" } };
    QTest::newRow("indented line") << QByteArray("   KEY   =   value   \n") << Script { { "KEY", "value" } };
    QTest::newRow("second equals cuts value") << QByteArray("KEY = a=b\n") << Script { { "KEY", "a" } };
    QTest::newRow("empty value before second equals") << QByteArray("KEY==b\n") << Script { { "KEY", "" } };
    QTest::newRow("every quote removed") << QByteArray("KEY = \"a \"b\"\n") << Script { { "KEY", "a b" } };
    QTest::newRow("quoted blanks trimmed") << QByteArray("KEY = \"  padded  \"\n") << Script { { "KEY", "padded" } };
    QTest::newRow("trailing quote only is kept") << QByteArray("KEY = abc\"\n") << Script { { "KEY", "abc\"" } };
    QTest::newRow("inner quote only is kept") << QByteArray("KEY = a\"b\n") << Script { { "KEY", "a\"b" } };
    QTest::newRow("lower-case key kept apart") << QByteArray("delete = /x\n") << Script { { "delete", "/x" } };
    QTest::newRow("empty DEST_FILE1") << QByteArray("DEST_FILE1 =\n") << Script { { "DEST_FILE1", "" } };
    QTest::newRow("CRLF line ends") << QByteArray("A=1\r\nB = 2 \r\n") << Script { { "A", "1" }, { "B", "2" } };
    QTest::newRow("no line end at the end") << QByteArray("A=1") << Script { { "A", "1" } };
    QTest::newRow("lines without equals skipped") << QByteArray("JUST TEXT\n\n   \nA=1\n") << Script { { "A", "1" } };
    QTest::newRow("last line wins") << QByteArray("A=1\nA=2\n") << Script { { "A", "2" } };
    QTest::newRow("empty key") << QByteArray("= x\n") << Script { { "", "x" } };
    QTest::newRow("double blanks in list kept")
        << QByteArray("FILE_LIST = a  b\n") << Script { { "FILE_LIST", "a  b" } };
    QTest::newRow("empty file") << QByteArray() << Script {};
}

void UpdateConfTest::readsScript()
{
    QFETCH(QByteArray, text);
    QFETCH(Script, expected);
    CFakeSystem system(m_dir.path() + QLatin1Char('/'), m_dir.path());
    CWorker worker(system);

    worker.ReadUpdateConf(QFileInfo(writeScript(text)));

    QCOMPARE(worker.script, expected);
}

void UpdateConfTest::rereadEmptiesMap()
{
    CFakeSystem system(m_dir.path() + QLatin1Char('/'), m_dir.path());
    CWorker worker(system);
    worker.ReadUpdateConf(QFileInfo(writeScript("DEST_FILE1=/a\nFILE_LIST=x\n")));

    worker.ReadUpdateConf(QFileInfo(writeScript("BSP=1.36.0\n")));

    QCOMPARE(worker.script, (Script { { "BSP", "1.36.0" } }));
}

void UpdateConfTest::missingFileGivesEmptyMap()
{
    CFakeSystem system(m_dir.path() + QLatin1Char('/'), m_dir.path());
    CWorker worker(system);
    worker.script.insert(QStringLiteral("DEST_FILE1"), QStringLiteral("/old"));

    worker.ReadUpdateConf(QFileInfo(m_dir.filePath(QStringLiteral("missing/UPDATE.CONF"))));

    QVERIFY(worker.script.isEmpty());
}

QTEST_GUILESS_MAIN(UpdateConfTest)
#include "updateconftest.moc"
