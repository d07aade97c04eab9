// CWorker::Install with the fake platform object: order, results, messages,
// selection flags, the update log and the running counters. Packages are in
// file-list mode with destinations in a temporary directory; the test runs in
// the device sandbox all the same, so a fault cannot write to the host's "/".

#include "common/fakesystem.h"
#include "install/cworker.h"
#include "installtesttools.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace InstallTestTools;

class InstallTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void install_data();
    void install();
    void emptySelectionTouchesNothing();

private:
    // A record from "name kind major selected mode"; prepares what the fake unpacks.
    UpdatePackage addPackage(const QString& description);
    QString tmp(const QString& relative) const { return m_dir->filePath(relative); }
    QStringList loggedNames() const;

    std::optional<QTemporaryDir> m_dir;
    std::optional<CFakeSystem> m_system;
    std::optional<CDiagnosticsRecorder> m_diagnostics;
    QStringList m_messages;
};

void InstallTest::init()
{
    m_dir.emplace();
    QVERIFY(m_dir->isValid());
    m_system.emplace(tmp(QStringLiteral("share/")), tmp(QStringLiteral("unpack")));
    QDir().mkpath(m_system->shareDir);
    writeFile(tmp(QStringLiteral("plainfile")), "plain");
    m_messages.clear();
    m_diagnostics.emplace();
}

void InstallTest::cleanup()
{
    m_diagnostics.reset();
    m_system.reset();
    m_dir.reset();
}

UpdatePackage InstallTest::addPackage(const QString& description)
{
    const QStringList field = description.split(QLatin1Char(' '));
    const QString name = field.at(0);
    const QString mode = field.at(4);
    UpdatePackage record;
    record.name = name;
    record.file = QFileInfo(tmp(QStringLiteral("stick/") + name + QStringLiteral("-1.0.0-BSP-1.36.0.tar.bz2")));
    record.priority = field.at(1).toInt();
    record.version = CVersion(field.at(2).toInt(), 0, 0, false);
    record.selected = field.at(3) == QLatin1String("y");
    if (mode == QLatin1String("reject"))
        m_system->rejectedPackages << record.file.fileName();
    if (mode == QLatin1String("nounpack"))
        return record;
    const QString unpacked = tmp(QStringLiteral("unpacked/") + name);
    writeFile(unpacked + QLatin1Char('/') + name + QStringLiteral(".bin"), name.toLatin1());
    QByteArray script = "DEST_FILE1 = " + tmp(QStringLiteral("dest/") + name).toLatin1()
        + "\nFILE_LIST = " + name.toLatin1() + ".bin\n";
    if (mode == QLatin1String("delfile"))
        script += "DELETE = " + tmp(QStringLiteral("plainfile")).toLatin1() + '\n';
    if (mode == QLatin1String("delmissing"))
        script += "DELETE = " + tmp(QStringLiteral("missing")).toLatin1() + '\n';
    if (mode != QLatin1String("noconf"))
        writeFile(unpacked + QStringLiteral("/UPDATE.CONF"), script);
    m_system->unpackSources.insert(record.file.fileName(), unpacked);
    return record;
}

QStringList InstallTest::loggedNames() const
{
    QStringList names;
    if (!QFileInfo::exists(m_system->shareDir + QStringLiteral("update.log")))
        return names;
    const QStringList lines = QString::fromLatin1(readFile(m_system->shareDir + QStringLiteral("update.log")))
                                  .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines)
        names << line.section(QLatin1Char(' '), 1).section(QLatin1Char('-'), 0, 0);
    return names;
}

void InstallTest::install_data()
{
    QTest::addColumn<QStringList>("packages"); // "name kind major selected mode"
    QTest::addColumn<QStringList>("order"); // names after sorting
    QTest::addColumn<int>("result");
    QTest::addColumn<QStringList>("messages"); // "@" stands for the temporary directory
    QTest::addColumn<QStringList>("stillSelected");
    QTest::addColumn<QStringList>("logged"); // names in update.log
    QTest::addColumn<QStringList>("installed"); // names whose file reached its destination
    QTest::addColumn<QStringList>("diagnostics");

    const QString verify = QStringLiteral("Verify key from %1");
    const QString unpacking = QStringLiteral("Unpacking... This can take some minutes.");
    const QString ready = QStringLiteral("Ready");

    QTest::newRow("help files then installer")
        << QStringList { "ins 0 1 y ok", "doc 1 2 y ok" } << QStringList { "doc", "ins" } << int(InstallInstaller)
        << QStringList { verify.arg("doc"), unpacking, ready, verify.arg("ins"), unpacking, ready } << QStringList {}
        << QStringList { "doc", "ins" } << QStringList { "doc", "ins" }
        << QStringList { "Ready (1/0#0)", "Ready (2/0#0)" };
    QTest::newRow("program first leaves later records selected")
        << QStringList { "doc 1 1 y ok", "bin 3 2 y ok" } << QStringList { "bin", "doc" } << int(InstallProgram)
        << QStringList { verify.arg("bin"), unpacking, ready } << QStringList { "doc" } << QStringList { "bin" }
        << QStringList { "bin" } << QStringList { "Ready (1/0#0)" };
    QTest::newRow("unselected records skipped")
        << QStringList { "bin 3 2 n ok", "doc 1 1 y ok" } << QStringList { "doc", "bin" } << int(InstallDone)
        << QStringList { verify.arg("doc"), unpacking, ready } << QStringList {} << QStringList { "doc" }
        << QStringList { "doc" } << QStringList { "Ready (1/0#0)" };
    QTest::newRow("unrecognised kind goes on")
        << QStringList { "xyz 2 1 y ok" } << QStringList { "xyz" } << int(InstallDone)
        << QStringList { verify.arg("xyz"), unpacking, ready } << QStringList {} << QStringList { "xyz" }
        << QStringList { "xyz" } << QStringList { "Ready (1/0#0)" };
    QTest::newRow("signature rejected") << QStringList { "doc 1 1 y reject" } << QStringList { "doc" }
                                        << int(InstallFailed)
                                        << QStringList { verify.arg("doc"), "Verification Failure" }
                                        << QStringList { "doc" } << QStringList {} << QStringList {}
                                        << QStringList { "??? Signature error= Verification Failure" };
    QTest::newRow("unpack failure after logging")
        << QStringList { "doc 1 1 y nounpack" } << QStringList { "doc" } << int(InstallFailed)
        << QStringList { verify.arg("doc"), unpacking, "Unpack error: bzip2: (stdin) is not a bzip2 file. ; " }
        << QStringList { "doc" } << QStringList { "doc" } << QStringList {}
        << QStringList { "??? Unpack error: bzip2: (stdin) is not a bzip2 file. ; " };
    QTest::newRow("no UPDATE.CONF") << QStringList { "doc 1 1 y noconf" } << QStringList { "doc" } << int(InstallFailed)
                                    << QStringList { verify.arg("doc"), unpacking, "UPDATE.CONF not found!" }
                                    << QStringList { "doc" } << QStringList { "doc" } << QStringList {}
                                    << QStringList { "??? UPDATE.CONF not found!" };
    QTest::newRow("DELETE of a plain file")
        << QStringList { "doc 1 1 y delfile" } << QStringList { "doc" } << int(InstallFailed)
        << QStringList { verify.arg("doc"), unpacking, "File delete error!" } << QStringList { "doc" }
        << QStringList { "doc" } << QStringList {} << QStringList { "??? Delete error" };
    QTest::newRow("DELETE of a missing path")
        << QStringList { "doc 1 1 y delmissing" } << QStringList { "doc" } << int(InstallDone)
        << QStringList { verify.arg("doc"), unpacking, "Delete @/missing", ready } << QStringList {}
        << QStringList { "doc" } << QStringList { "doc" } << QStringList { "Ready (1/0#0)" };
    QTest::newRow("failure in second package keeps the first")
        << QStringList { "ins 0 1 y reject", "doc 1 2 y ok" } << QStringList { "doc", "ins" } << int(InstallFailed)
        << QStringList { verify.arg("doc"), unpacking, ready, verify.arg("ins"), "Verification Failure" }
        << QStringList { "ins" } << QStringList { "doc" } << QStringList { "doc" }
        << QStringList { "Ready (1/0#0)", "??? Signature error= Verification Failure" };
}

void InstallTest::install()
{
    QFETCH(QStringList, packages);
    QFETCH(QStringList, order);
    QFETCH(int, result);
    QFETCH(QStringList, messages);
    QFETCH(QStringList, stillSelected);
    QFETCH(QStringList, logged);
    QFETCH(QStringList, installed);
    QFETCH(QStringList, diagnostics);
    QList<UpdatePackage> list;
    for (const QString& description : packages)
        list << addPackage(description);
    CWorker worker(*m_system);
    connect(&worker, &CWorker::message, this, [this](const QString& text) { m_messages << text; });

    QCOMPARE(worker.Install(list), result);

    QStringList names;
    QStringList selected;
    for (const UpdatePackage& record : list) {
        names << record.name;
        if (record.selected)
            selected << record.name;
    }
    QCOMPARE(names, order);
    QCOMPARE(m_messages, messages.replaceInStrings(QStringLiteral("@"), m_dir->path()));
    QCOMPARE(selected, stillSelected);
    QCOMPARE(loggedNames(), logged);
    QStringList landed;
    for (const QString& name : order) {
        if (readFile(tmp(QStringLiteral("dest/%1/%1.bin").arg(name))) == name.toLatin1())
            landed << name;
    }
    QCOMPARE(landed, installed);
    QCOMPARE(m_diagnostics->lines(), diagnostics);
}

void InstallTest::emptySelectionTouchesNothing()
{
    QList<UpdatePackage> list { addPackage(QStringLiteral("bin 3 2 n ok")),
        addPackage(QStringLiteral("doc 1 1 n ok")) };
    CWorker worker(*m_system);
    connect(&worker, &CWorker::message, this, [this](const QString& text) { m_messages << text; });

    QCOMPARE(worker.Install(list), int(InstallDone));
    QList<UpdatePackage> none;
    QCOMPARE(worker.Install(none), int(InstallDone));

    QVERIFY(m_messages.isEmpty());
    QVERIFY(m_system->calls.isEmpty());
    QVERIFY(!QFileInfo::exists(m_system->tempDir));
    QVERIFY(!QFileInfo::exists(tmp(QStringLiteral("dest"))));
    QVERIFY(!QFileInfo::exists(m_system->shareDir + QStringLiteral("update.log")));
    QVERIFY(m_diagnostics->lines().isEmpty());
}

QTEST_GUILESS_MAIN(InstallTest)
#include "installtest.moc"
