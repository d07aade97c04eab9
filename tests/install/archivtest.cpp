// File-list and tree mode with the fake platform object. Both write device
// paths (an empty or missing DEST_FILE means "/", tree mode copies onto "/"), so
// this test runs only inside the device sandbox.

#include "common/fakesystem.h"
#include "install/cworker.h"
#include "installtesttools.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <optional>

using namespace InstallTestTools;

class ArchivTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void flatArchiv_data();
    void flatArchiv();
    void flatArchivAddsMissingKeys();
    void bspWarning_data();
    void bspWarning();
    void treeLandsOnRoot();

private:
    QString unpacked(const QString& name) const { return m_system->tempDir + QLatin1Char('/') + name; }

    std::optional<QTemporaryDir> m_dir;
    std::optional<CFakeSystem> m_system;
    std::optional<CDiagnosticsRecorder> m_diagnostics;
    QStringList m_messages;
};

void ArchivTest::initTestCase()
{
    // The device's root is private to this run; refuse to go on anywhere else.
    QVERIFY2(QFileInfo::exists(QStringLiteral("/var/log/device-calls.log")), "must run in tools/device-sandbox");
}

void ArchivTest::init()
{
    m_dir.emplace();
    QVERIFY(m_dir->isValid());
    m_system.emplace(m_dir->filePath(QStringLiteral("share/")), m_dir->filePath(QStringLiteral("unpack")));
    QDir().mkpath(m_system->tempDir);
    m_messages.clear();
    m_diagnostics.emplace();
}

void ArchivTest::cleanup()
{
    m_diagnostics.reset();
    m_system.reset();
    m_dir.reset();
}

void ArchivTest::flatArchiv_data()
{
    QTest::addColumn<QString>("fileList");
    QTest::addColumn<QStringList>("destinations"); // DEST_FILE1, 2, ...; "-" leaves the key out; "@" is the temp dir
    QTest::addColumn<QStringList>("placed"); // "path=content" of regular files expected afterwards
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("errors");

    QTest::newRow("two files, two directories")
        << "a b" << QStringList { "@/d1", "@/d2/deep" } << QStringList { "@/d1/a=A", "@/d2/deep/b=B" } << 2 << 0;
    QTest::newRow("double blank uses up a number")
        << "a  b" << QStringList { "@/d1", "@/d2", "@/d3" } << QStringList { "@/d1/a=A", "@/d3/b=B" } << 2 << 1;
    QTest::newRow("missing DEST_FILE goes to root")
        << "a rootfile" << QStringList { "@/d1" } << QStringList { "@/d1/a=A", "/rootfile=R" } << 2 << 0;
    QTest::newRow("empty DEST_FILE1 goes to root")
        << "emptydest" << QStringList { "" } << QStringList { "/emptydest=E" } << 1 << 0;
    QTest::newRow("relative directory taken from root")
        << "a" << QStringList { "flatrel/dir" } << QStringList { "/flatrel/dir/a=A" } << 1 << 0;
    QTest::newRow("missing source counts an error")
        << "a notthere" << QStringList { "@/d1", "@/d2" } << QStringList { "@/d1/a=A" } << 1 << 1;
    QTest::newRow("trailing blank makes an empty name")
        << "a " << QStringList { "@/d1", "@/d2" } << QStringList { "@/d1/a=A" } << 1 << 1;
    QTest::newRow("listed link copied as file")
        << "link" << QStringList { "@/d1" } << QStringList { "@/d1/link=A" } << 1 << 0;
    QTest::newRow("existing destination replaced")
        << "b" << QStringList { "@/old" } << QStringList { "@/old/b=B" } << 1 << 0;
    QTest::newRow("no FILE_LIST is one empty name") << QString() << QStringList { "@/d1" } << QStringList {} << 0 << 1;
}

void ArchivTest::flatArchiv()
{
    QFETCH(QString, fileList);
    QFETCH(QStringList, destinations);
    QFETCH(QStringList, placed);
    QFETCH(int, files);
    QFETCH(int, errors);
    for (const char* name : { "a", "b", "rootfile", "emptydest" })
        writeFile(unpacked(QLatin1String(name)), QByteArray(1, char(QChar::fromLatin1(name[0]).toUpper().toLatin1())));
    QVERIFY(QFile::link(QStringLiteral("a"), unpacked(QStringLiteral("link"))));
    writeFile(m_dir->filePath(QStringLiteral("old/b")), "old");
    CWorker worker(*m_system);
    if (!fileList.isNull())
        worker.script.insert(QStringLiteral("FILE_LIST"), fileList);
    for (int index = 0; index < destinations.size(); ++index) {
        if (destinations.at(index) != QLatin1String("-"))
            worker.script.insert(QStringLiteral("DEST_FILE%1").arg(index + 1),
                QString(destinations.at(index)).replace(QStringLiteral("@"), m_dir->path()));
    }

    worker.FlatArchiv();

    for (QString expectation : placed) {
        expectation.replace(QStringLiteral("@"), m_dir->path());
        const QString path = expectation.section(QLatin1Char('='), 0, 0);
        QVERIFY2(!QFileInfo(path).isSymLink(), qPrintable(path));
        QCOMPARE(readFile(path), expectation.section(QLatin1Char('='), 1).toLatin1());
    }
    QCOMPARE(worker.copiedFiles, files);
    QCOMPARE(worker.copiedLinks, 0);
    QCOMPARE(worker.errors, errors);
    QVERIFY(m_messages.isEmpty());
}

void ArchivTest::flatArchivAddsMissingKeys()
{
    writeFile(unpacked(QStringLiteral("a")), "A");
    CWorker worker(*m_system);
    worker.script.insert(QStringLiteral("FILE_LIST"), QStringLiteral("a  a"));
    worker.script.insert(QStringLiteral("DEST_FILE1"), m_dir->filePath(QStringLiteral("d1")));

    worker.FlatArchiv();

    QCOMPARE(worker.script.value(QStringLiteral("DEST_FILE2"), QStringLiteral("absent")), QString());
    QCOMPARE(worker.script.value(QStringLiteral("DEST_FILE3"), QStringLiteral("absent")), QString());
    QVERIFY(!worker.script.contains(QStringLiteral("DEST_FILE4")));
    QCOMPARE(readFile(QStringLiteral("/a")), QByteArray("A"));
}

void ArchivTest::bspWarning_data()
{
    QTest::addColumn<QString>("scriptBsp"); // null: no BSP key
    QTest::addColumn<QString>("deviceBsp");
    QTest::addColumn<QStringList>("warnings");

    QTest::newRow("no BSP key") << QString() << "1.36.0" << QStringList {};
    QTest::newRow("empty BSP") << ""
                               << "1.36.0" << QStringList {};
    QTest::newRow("same version") << "1.36.0"
                                  << "1.36.0" << QStringList {};
    QTest::newRow("one of several") << "1.36.0 1.41.0"
                                    << "1.41.0" << QStringList {};
    QTest::newRow("inside longer text") << "BSP-1.7.0-x"
                                        << "1.7.0" << QStringList {};
    QTest::newRow("other version") << "1.36.0 1.41.0"
                                   << "1.7.0" << QStringList { "    \"1.36.0 1.41.0\" \"1.7.0\"" };
    QTest::newRow("package text shorter than device") << "1.3"
                                                      << "1.36.0" << QStringList { "    \"1.3\" \"1.36.0\"" };
}

void ArchivTest::bspWarning()
{
    QFETCH(QString, scriptBsp);
    QFETCH(QString, deviceBsp);
    QFETCH(QStringList, warnings);
    m_system->bspVersion = deviceBsp;
    writeFile(unpacked(QStringLiteral("usr/local/share/corvane/bspcheck.txt")), "x");
    CWorker worker(*m_system);
    if (!scriptBsp.isNull())
        worker.script.insert(QStringLiteral("BSP"), scriptBsp);

    worker.NewArchiv();

    QCOMPARE(m_diagnostics->lines(), warnings);
    // A mismatch only warns: the tree is installed all the same.
    QCOMPARE(readFile(QStringLiteral("/usr/local/share/corvane/bspcheck.txt")), QByteArray("x"));
}

void ArchivTest::treeLandsOnRoot()
{
    writeFile(unpacked(QStringLiteral("UPDATE.CONF")), "DELETE=/usr/local/share/corvane/help\n");
    writeFile(unpacked(QStringLiteral("usr/local/bin/tool")), "tool");
    writeFile(unpacked(QStringLiteral("usr/local/share/corvane/help/index.html")), "index");
    writeFile(unpacked(QStringLiteral("usr/local/share/corvane/help/de/page.html")), "seite");
    CWorker worker(*m_system);
    connect(&worker, &CWorker::message, this, [this](const QString& text) { m_messages << text; });
    worker.ReadUpdateConf(QFileInfo(unpacked(QStringLiteral("UPDATE.CONF"))));

    worker.NewArchiv();

    QCOMPARE(readFile(QStringLiteral("/UPDATE.CONF")), QByteArray("DELETE=/usr/local/share/corvane/help\n"));
    QCOMPARE(readFile(QStringLiteral("/usr/local/bin/tool")), QByteArray("tool"));
    QCOMPARE(readFile(QStringLiteral("/usr/local/share/corvane/help/de/page.html")), QByteArray("seite"));
    QStringList expected { "/UPDATE.CONF", "/usr/local/bin/tool", "/usr/local/share/corvane",
        "/usr/local/share/corvane/help", "/usr/local/share/corvane/help/index.html",
        "/usr/local/share/corvane/help/de/page.html" };
    std::sort(expected.begin(), expected.end());
    std::sort(m_messages.begin(), m_messages.end());
    QCOMPARE(m_messages, expected);
    QCOMPARE(worker.copiedFiles, 4);
}

QTEST_GUILESS_MAIN(ArchivTest)
#include "archivtest.moc"
