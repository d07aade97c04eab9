#include "settings/cinitfile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class CInitFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void readRules_data();
    void readRules();
    void getters_data();
    void getters();
    void writeFormat();
    void writtenOnlyWhenModified_data();
    void writtenOnlyWhenModified();
    void unwritableFileIsSilent();
    void readVersion_data();
    void readVersion();
    void readVersionDefaultPath();

private:
    QString path(const QString& name) const { return m_dir->filePath(name); }
    static void writeFile(const QString& filePath, const QByteArray& content);
    static QByteArray readFile(const QString& filePath);

    QScopedPointer<QTemporaryDir> m_dir;
};

void CInitFileTest::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
}

void CInitFileTest::writeFile(const QString& filePath, const QByteArray& content)
{
    QFile file(filePath);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QByteArray CInitFileTest::readFile(const QString& filePath)
{
    QFile file(filePath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// Each file is read and written back; the written file shows what was understood.
void CInitFileTest::readRules_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("written");

    QTest::newRow("plain") << QByteArray("Language=:/lang/de\n") << QByteArray("Language=:/lang/de\n\n");
    QTest::newRow("blanks trimmed") << QByteArray("  key \t=  value  \n") << QByteArray("key=value\n\n");
    QTest::newRow("quoted value") << QByteArray("k = \"a b\"\n") << QByteArray("k=a b\n\n");
    QTest::newRow("every quote removed") << QByteArray("k=\"a\"b\"\n") << QByteArray("k=ab\n\n");
    QTest::newRow("quotes then blanks") << QByteArray("k=\" a \"\n") << QByteArray("k=a\n\n");
    QTest::newRow("inner quote kept") << QByteArray("k=b\"c\n") << QByteArray("k=b\"c\n\n");
    QTest::newRow("second = cuts") << QByteArray("x=1=2\n") << QByteArray("x=1\n\n");
    QTest::newRow("empty key") << QByteArray("=v\n") << QByteArray("=v\n\n");
    QTest::newRow("empty value") << QByteArray("k=\n") << QByteArray("k=\n\n");
    QTest::newRow("comment") << QByteArray(";Language=:/lang/de\n") << QByteArray("\n");
    QTest::newRow("indented comment") << QByteArray("   ;Language=:/lang/de\n") << QByteArray("\n");
    QTest::newRow("section and blank lines") << QByteArray("[main]\n\n\nb=2\n\na=1") << QByteArray("a=1\nb=2\n\n");
    QTest::newRow("CRLF") << QByteArray("a=1\r\nb=2\r\n") << QByteArray("a=1\nb=2\n\n");
    QTest::newRow("last duplicate wins") << QByteArray("a=1\na=2\n") << QByteArray("a=2\n\n");
    QTest::newRow("keys case-sensitive sorted")
        << QByteArray("b=1\nB=2\na=3\n;c=4\nA=5\n") << QByteArray("A=5\nB=2\na=3\nb=1\n\n");
    QTest::newRow("empty file") << QByteArray() << QByteArray("\n");
}

void CInitFileTest::readRules()
{
    QFETCH(QByteArray, content);
    const QString file = path(QStringLiteral("installer.ini"));
    writeFile(file, content);

    CInitFile store(file);
    store.Read();
    QVERIFY(!store.isModified());
    store.Write();
    QTEST(readFile(file), "written");
}

void CInitFileTest::getters_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("string");
    QTest::addColumn<bool>("boolWithFalseDefault");
    QTest::addColumn<bool>("boolWithTrueDefault");

    QTest::newRow("true") << "t" << "true" << true << true;
    QTest::newRow("TRUE") << "upper" << "TRUE" << false << false;
    QTest::newRow("1") << "one" << "1" << false << false;
    QTest::newRow("quoted true") << "quoted" << "true" << true << true;
    QTest::newRow("empty value present") << "empty" << "" << false << false;
    QTest::newRow("missing key") << "absent" << "default" << false << true;
}

void CInitFileTest::getters()
{
    QFETCH(QString, key);
    writeFile(path(QStringLiteral("a.ini")), "t=true\nupper=TRUE\none=1\nquoted=\"true\"\nempty=\n");
    CInitFile store(path(QStringLiteral("a.ini")));
    store.Read();
    QTEST(store.GetString(key, QStringLiteral("default")), "string");
    QTEST(store.GetBool(key, false), "boolWithFalseDefault");
    QTEST(store.GetBool(key, true), "boolWithTrueDefault");
}

void CInitFileTest::writeFormat()
{
    const QString file = path(QStringLiteral("installer.ini"));
    writeFile(file, "; settings\nZeta = \"old\"\n");
    {
        CInitFile store(file);
        store.Read();
        store.SetString(QStringLiteral("Language"), QStringLiteral(":/lang/de"));
        store.SetBool(QStringLiteral("ReRun"), true);
        store.SetBool(QStringLiteral("Off"), false);
        QVERIFY(store.isModified());
        QCOMPARE(store.GetString(QStringLiteral("Language"), QString()), QStringLiteral(":/lang/de"));
        QCOMPARE(readFile(file), QByteArray("; settings\nZeta = \"old\"\n"));
        QTest::ignoreMessage(QtDebugMsg, " < \"Language\" \":/lang/de\"");
        QTest::ignoreMessage(QtDebugMsg, " < \"ReRun\" \"true\"");
    }
    QCOMPARE(readFile(file), QByteArray("Language=:/lang/de\nOff=false\nReRun=true\nZeta=old\n\n"));
}

void CInitFileTest::writtenOnlyWhenModified_data()
{
    QTest::addColumn<bool>("fileExists");
    QTest::addColumn<bool>("setSomething");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("read only") << true << false << QByteArray(";keep\na = 1\n");
    QTest::newRow("missing stays missing") << false << false << QByteArray("<missing>");
    QTest::newRow("same value still writes") << true << true << QByteArray("a=1\n\n");
    QTest::newRow("missing file created") << false << true << QByteArray("a=1\n\n");
}

void CInitFileTest::writtenOnlyWhenModified()
{
    QFETCH(bool, fileExists);
    QFETCH(bool, setSomething);
    const QString file = path(QStringLiteral("x.ini"));
    if (fileExists)
        writeFile(file, ";keep\na = 1\n");
    {
        CInitFile store(file);
        store.Read();
        if (setSomething)
            store.SetString(QStringLiteral("a"), QStringLiteral("1"));
    }
    QTEST(readFile(file), "after");

    // A later Read drops unsaved changes and clears the mark.
    CInitFile store(file);
    store.SetBool(QStringLiteral("b"), true);
    store.Read();
    QVERIFY(!store.isModified());
    QVERIFY(!store.GetBool(QStringLiteral("b"), false));
}

void CInitFileTest::unwritableFileIsSilent()
{
    CInitFile store(path(QStringLiteral("no/such/dir/x.ini")));
    store.SetString(QStringLiteral("a"), QStringLiteral("1"));
    store.Write();
    QVERIFY(!store.isModified());
    QVERIFY(!QFile::exists(store.filePath()));
}

void CInitFileTest::readVersion_data()
{
    QTest::addColumn<QByteArray>("content"); // "<missing>": no file
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("modified");
    QTest::addColumn<QString>("debugLine"); // %1: the file path

    QTest::newRow("dotted") << QByteArray("; help\nversion = 1.2.3\n") << "version" << "1.2.3" << false << "";
    QTest::newRow("build") << QByteArray("version=Build 77 M") << "version" << "Build 77 M" << true << "";
    QTest::newRow("quotes kept") << QByteArray("version=\"1.2.3\"") << "version" << "0.2.0" << false << "";
    QTest::newRow("second = cuts") << QByteArray("version=1.0.0=2.0.0") << "version" << "1.0.0" << false << "";
    QTest::newRow("key case-sensitive") << QByteArray("Version=1.2.3") << "version" << "Unknown" << false
                                        << "Item not found  \"version\" \"%1\"";
    QTest::newRow("missing file") << QByteArray("<missing>") << "version" << "Unknown" << false
                                  << "File not open  \"%1\"";
}

void CInitFileTest::readVersion()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, key);
    QFETCH(QString, debugLine);
    QFETCH(QString, expected);

    QString file = path(QStringLiteral("version.txt"));
    if (content != "<missing>")
        writeFile(file, content);
    if (!debugLine.isEmpty())
        QTest::ignoreMessage(QtDebugMsg, qPrintable(debugLine.arg(file)));
    const CVersion version = ReadVersion(file, key);
    QCOMPARE(version.toString(), expected);
    QTEST(version.modified, "modified");
    QCOMPARE(file, path(QStringLiteral("version.txt")));
}

void CInitFileTest::readVersionDefaultPath()
{
    const QString previous = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_dir->path()));
    writeFile(QStringLiteral("version"), "version=4.5.6\n");
    QString file;
    const CVersion version = ReadVersion(file, QStringLiteral("version"));
    QVERIFY(QDir::setCurrent(previous));
    QCOMPARE(file, QStringLiteral("version"));
    QCOMPARE(version.toString(), QStringLiteral("4.5.6"));
}

QTEST_GUILESS_MAIN(CInitFileTest)
#include "cinitfiletest.moc"
