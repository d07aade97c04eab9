// The installation engine with the fake platform object: UPDATE.CONF, the copy
// rules of both package modes, and the order, results and counters of Install.
// An empty or missing DEST_FILE and the tree mode write to "/", so this test runs
// only inside the device sandbox.

#include "common/fakesystem.h"
#include "common/testtools.h"
#include "install/cworker.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace TestTools;
using Script = QMap<QString, QString>;

class CWorkerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void readsScript_data();
    void readsScript();
    void treeMessagesFollowDepth_data();
    void treeMessagesFollowDepth();
    void flatArchiv_data();
    void flatArchiv();
    void bspWarning_data();
    void bspWarning();
    void install_data();
    void install();

private:
    QString src(const QString& relative = QString()) const { return m_dir->filePath(QStringLiteral("src/") + relative); }
    QString dst(const QString& relative = QString()) const { return m_dir->filePath(QStringLiteral("dst/") + relative); }
    QString unpacked(const QString& name) const { return m_system->tempDir + QLatin1Char('/') + name; }

    std::optional<QTemporaryDir> m_dir;
    std::optional<CFakeSystem> m_system;
    std::optional<CWorker> m_worker;
    QStringList m_messages;
};

namespace {

// A record from "name kind major selected mode"; prepares what the fake unpacks.
UpdatePackage addPackage(const QString& description, const QString& dir, CFakeSystem& system)
{
    const QStringList field = description.split(QLatin1Char(' '));
    const QString name = field.at(0);
    UpdatePackage record;
    record.name = name;
    record.file = QFileInfo(dir + QStringLiteral("/stick/") + name + QStringLiteral("-1.0.0-BSP-1.36.0.tar.bz2"));
    record.priority = field.at(1).toInt();
    record.version = CVersion(field.at(2).toInt(), 0, 0, false);
    record.selected = field.at(3) == QLatin1String("y");
    if (field.at(4) == QLatin1String("reject"))
        system.rejectedPackages << record.file.fileName();
    const QString unpacked = dir + QStringLiteral("/unpacked/") + name;
    writeFile(unpacked + QLatin1Char('/') + name, name.toLatin1());
    QByteArray script = "DEST_FILE1 = " + dir.toLatin1() + "/dest\nFILE_LIST = " + name.toLatin1() + '\n';
    if (field.at(4) == QLatin1String("delmissing"))
        script += "DELETE = " + dir.toLatin1() + "/missing\n";
    writeFile(unpacked + QStringLiteral("/UPDATE.CONF"), script);
    system.unpackSources.insert(record.file.fileName(), unpacked);
    return record;
}

QStringList loggedNames(const QString& log)
{
    QStringList names;
    if (!QFileInfo::exists(log))
        return names;
    for (const QString& line : QString::fromLatin1(readFile(log)).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        names << line.section(QLatin1Char(' '), 1).section(QLatin1Char('-'), 0, 0);
    return names;
}

} // namespace

void CWorkerTest::initTestCase()
{
    QVERIFY2(QFileInfo::exists(QStringLiteral("/var/log/device-calls.log")), "must run in tools/device-sandbox");
}

void CWorkerTest::init()
{
    m_worker.reset();
    m_system.reset();
    m_dir.emplace();
    m_system.emplace(m_dir->filePath(QStringLiteral("share/")), m_dir->filePath(QStringLiteral("unpack")));
    QDir().mkpath(m_system->tempDir);
    QDir().mkpath(m_system->shareDir);
    m_worker.emplace(*m_system);
    m_messages.clear();
    connect(&*m_worker, &CWorker::message, this, [this](const QString& text) { m_messages << text; });
}

void CWorkerTest::readsScript_data()
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

void CWorkerTest::readsScript()
{
    QFETCH(QByteArray, text);
    const QString path = m_dir->filePath(QStringLiteral("UPDATE.CONF"));
    if (!text.isNull())
        QVERIFY(writeFile(path, text));

    m_worker->ReadUpdateConf(QFileInfo(path));

    QTEST(m_worker->script, "expected");
}

void CWorkerTest::treeMessagesFollowDepth_data()
{
    QTest::addColumn<int>("startDepth");
    QTest::addColumn<QStringList>("expected"); // relative to the destination; "." is itself

    const QStringList allFiles { "a/b/c/f3", "a/b/f2", "a/f1", "f0" };
    QTest::newRow("directories at depth 4 and 5") << 3 << QStringList { "a", "a/b" } + allFiles;
    QTest::newRow("depth 6 directory not emitted") << 5 << QStringList { "." } + allFiles;
    QTest::newRow("depth 29 last with message") << 29 << QStringList { "f0" };
    QTest::newRow("depth 30 silent") << 30 << QStringList {};
}

void CWorkerTest::treeMessagesFollowDepth()
{
    QFETCH(int, startDepth);
    QFETCH(QStringList, expected);
    for (const QString file : { "f0", "a/f1", "a/b/f2", "a/b/c/f3" })
        QVERIFY(writeFile(src(file), file.toLatin1()));

    m_worker->CopyTree(src().chopped(1), dst().chopped(1), startDepth);

    for (QString& relative : expected)
        relative = relative == QLatin1String(".") ? dst().chopped(1) : dst(relative);
    QCOMPARE(m_messages, expected);
    QCOMPARE(readFile(dst(QStringLiteral("a/b/c/f3"))), QByteArray("a/b/c/f3"));
}

void CWorkerTest::flatArchiv_data()
{
    QTest::addColumn<QString>("fileList"); // null: no FILE_LIST key
    QTest::addColumn<QStringList>("destinations"); // DEST_FILE1, 2, ...; "@" is the temp dir
    QTest::addColumn<QStringList>("placed"); // "path=content" of regular files expected afterwards
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("errors");

    QTest::newRow("missing DEST_FILE goes to root")
        << "a rootfile" << QStringList { "@/d1" } << QStringList { "@/d1/a=A", "/rootfile=R" } << 2 << 0;
    QTest::newRow("relative directory taken from root")
        << "a" << QStringList { "flatrel/dir" } << QStringList { "/flatrel/dir/a=A" } << 1 << 0;
    QTest::newRow("no FILE_LIST is one empty name") << QString() << QStringList { "@/d1" } << QStringList {} << 0 << 1;
}

void CWorkerTest::flatArchiv()
{
    QFETCH(QString, fileList);
    QFETCH(QStringList, destinations);
    QFETCH(QStringList, placed);
    for (const QString name : { "a", "rootfile" })
        writeFile(unpacked(name), name.left(1).toUpper().toLatin1());
    if (!fileList.isNull())
        m_worker->script.insert(QStringLiteral("FILE_LIST"), fileList);
    for (int index = 0; index < destinations.size(); ++index)
        m_worker->script.insert(QStringLiteral("DEST_FILE%1").arg(index + 1),
            destinations[index].replace(QLatin1Char('@'), m_dir->path()));

    m_worker->FlatArchiv();

    for (QString expectation : placed) {
        expectation.replace(QLatin1Char('@'), m_dir->path());
        QCOMPARE(readFile(expectation.section(QLatin1Char('='), 0, 0)), expectation.section(QLatin1Char('='), 1).toLatin1());
    }
    QTEST(m_worker->copiedFiles, "files");
    QTEST(m_worker->errors, "errors");
}

void CWorkerTest::bspWarning_data()
{
    QTest::addColumn<QString>("scriptBsp"); // null: no BSP key
    QTest::addColumn<QString>("deviceBsp");
    QTest::addColumn<QStringList>("warnings");

    QTest::newRow("no BSP key") << QString() << "1.36.0" << QStringList {};
    QTest::newRow("one of several") << "1.36.0 1.41.0" << "1.41.0" << QStringList {};
    QTest::newRow("other version") << "1.36.0 1.41.0" << "1.7.0" << QStringList { "    \"1.36.0 1.41.0\" \"1.7.0\"" };
}

void CWorkerTest::bspWarning()
{
    QFETCH(QString, scriptBsp);
    QFETCH(QString, deviceBsp);
    m_system->bspVersion = deviceBsp;
    writeFile(unpacked(QStringLiteral("usr/local/share/corvane/bspcheck.txt")), deviceBsp.toLatin1());
    const CDiagnosticsRecorder diagnostics;
    if (!scriptBsp.isNull())
        m_worker->script.insert(QStringLiteral("BSP"), scriptBsp);

    m_worker->NewArchiv();

    QTEST(diagnostics.lines(), "warnings");
    // A mismatch only warns: the tree is installed all the same.
    QCOMPARE(readFile(QStringLiteral("/usr/local/share/corvane/bspcheck.txt")), deviceBsp.toLatin1());
}

void CWorkerTest::install_data()
{
    QTest::addColumn<QStringList>("packages"); // "name kind major selected mode"
    QTest::addColumn<QStringList>("order"); // names after sorting
    QTest::addColumn<int>("result");
    QTest::addColumn<QStringList>("messages"); // "@" stands for the temporary directory
    QTest::addColumn<QStringList>("stillSelected");
    QTest::addColumn<QStringList>("installed"); // names in update.log, whose file reached its destination
    QTest::addColumn<QStringList>("diagnostics");

    const QString verify = QStringLiteral("Verify key from %1");
    const QString unpacking = QStringLiteral("Unpacking... This can take some minutes.");
    const QString ready = QStringLiteral("Ready");

    QTest::newRow("help files then installer")
        << QStringList { "ins 0 1 y ok", "doc 1 2 y delmissing" } << QStringList { "doc", "ins" } << int(InstallInstaller)
        << QStringList { verify.arg("doc"), unpacking, "Delete @/missing", ready, verify.arg("ins"), unpacking, ready }
        << QStringList {}
        << QStringList { "doc", "ins" } << QStringList { "Ready (1/0#0)", "Ready (2/0#0)" };
    QTest::newRow("program first leaves later records selected")
        << QStringList { "doc 1 1 y ok", "bin 3 2 y ok" } << QStringList { "bin", "doc" } << int(InstallProgram)
        << QStringList { verify.arg("bin"), unpacking, ready } << QStringList { "doc" } << QStringList { "bin" }
        << QStringList { "Ready (1/0#0)" };
    QTest::newRow("empty selection touches nothing")
        << QStringList { "bin 3 2 n ok", "doc 1 1 n ok" } << QStringList { "doc", "bin" } << int(InstallDone)
        << QStringList {} << QStringList {} << QStringList {} << QStringList {};
    QTest::newRow("failure in second package keeps the first")
        << QStringList { "ins 0 1 y reject", "doc 1 2 y ok" } << QStringList { "doc", "ins" } << int(InstallFailed)
        << QStringList { verify.arg("doc"), unpacking, ready, verify.arg("ins"), "Verification Failure" }
        << QStringList { "ins" } << QStringList { "doc" }
        << QStringList { "Ready (1/0#0)", "??? Signature error= Verification Failure" };
}

void CWorkerTest::install()
{
    QFETCH(QStringList, packages);
    QFETCH(QStringList, messages);
    QFETCH(QStringList, installed);
    QList<UpdatePackage> list;
    for (const QString& description : packages)
        list << addPackage(description, m_dir->path(), *m_system);
    const CDiagnosticsRecorder diagnostics;

    QTEST(m_worker->Install(list), "result");

    QStringList names;
    QStringList selected;
    for (const UpdatePackage& record : list) {
        names << record.name;
        if (record.selected)
            selected << record.name;
    }
    QTEST(names, "order");
    QCOMPARE(m_messages, messages.replaceInStrings(QStringLiteral("@"), m_dir->path()));
    QTEST(selected, "stillSelected");
    QCOMPARE(loggedNames(m_system->shareDir + QStringLiteral("update.log")), installed);
    for (const QString& name : names)
        QCOMPARE(readFile(m_dir->filePath(QStringLiteral("dest/") + name)) == name.toLatin1(), installed.contains(name));
    QTEST(diagnostics.lines(), "diagnostics");
    QCOMPARE(m_system->calls.isEmpty(), messages.isEmpty());
}

QTEST_GUILESS_MAIN(CWorkerTest)
#include "cworkertest.moc"
