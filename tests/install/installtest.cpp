// CWorker::Install with the fake platform object: order, results, messages,
// selection flags, the update log and the running counters. Runs in the device
// sandbox all the same, so a fault cannot write to the host's "/".

#include "common/fakesystem.h"
#include "common/testtools.h"
#include "install/cworker.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace TestTools;

class InstallTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void install_data();
    void install();
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

void InstallTest::install_data()
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
        << QStringList { "ins 0 1 y ok", "doc 1 2 y ok" } << QStringList { "doc", "ins" } << int(InstallInstaller)
        << QStringList { verify.arg("doc"), unpacking, ready, verify.arg("ins"), unpacking, ready } << QStringList {}
        << QStringList { "doc", "ins" } << QStringList { "Ready (1/0#0)", "Ready (2/0#0)" };
    QTest::newRow("program first leaves later records selected")
        << QStringList { "doc 1 1 y ok", "bin 3 2 y ok" } << QStringList { "bin", "doc" } << int(InstallProgram)
        << QStringList { verify.arg("bin"), unpacking, ready } << QStringList { "doc" } << QStringList { "bin" }
        << QStringList { "Ready (1/0#0)" };
    QTest::newRow("empty selection touches nothing")
        << QStringList { "bin 3 2 n ok", "doc 1 1 n ok" } << QStringList { "doc", "bin" } << int(InstallDone)
        << QStringList {} << QStringList {} << QStringList {} << QStringList {};
    QTest::newRow("DELETE of a missing path")
        << QStringList { "doc 1 1 y delmissing" } << QStringList { "doc" } << int(InstallDone)
        << QStringList { verify.arg("doc"), unpacking, "Delete @/missing", ready } << QStringList {}
        << QStringList { "doc" } << QStringList { "Ready (1/0#0)" };
    QTest::newRow("failure in second package keeps the first")
        << QStringList { "ins 0 1 y reject", "doc 1 2 y ok" } << QStringList { "doc", "ins" } << int(InstallFailed)
        << QStringList { verify.arg("doc"), unpacking, ready, verify.arg("ins"), "Verification Failure" }
        << QStringList { "ins" } << QStringList { "doc" }
        << QStringList { "Ready (1/0#0)", "??? Signature error= Verification Failure" };
}

void InstallTest::install()
{
    QFETCH(QStringList, packages);
    QFETCH(QStringList, messages);
    QFETCH(QStringList, installed);
    QTemporaryDir dir;
    CFakeSystem system(dir.filePath(QStringLiteral("share/")), dir.filePath(QStringLiteral("unpack")));
    QDir().mkpath(system.shareDir);
    QList<UpdatePackage> list;
    for (const QString& description : packages)
        list << addPackage(description, dir.path(), system);
    const CDiagnosticsRecorder diagnostics;
    CWorker worker(system);
    QStringList shown;
    connect(&worker, &CWorker::message, this, [&shown](const QString& text) { shown << text; });

    QTEST(worker.Install(list), "result");

    QStringList names;
    QStringList selected;
    for (const UpdatePackage& record : list) {
        names << record.name;
        if (record.selected)
            selected << record.name;
    }
    QTEST(names, "order");
    QCOMPARE(shown, messages.replaceInStrings(QStringLiteral("@"), dir.path()));
    QTEST(selected, "stillSelected");
    QCOMPARE(loggedNames(system.shareDir + QStringLiteral("update.log")), installed);
    for (const QString& name : names)
        QCOMPARE(readFile(dir.filePath(QStringLiteral("dest/") + name)) == name.toLatin1(), installed.contains(name));
    QTEST(diagnostics.lines(), "diagnostics");
    QCOMPARE(system.calls.isEmpty(), messages.isEmpty());
}

QTEST_GUILESS_MAIN(InstallTest)
#include "installtest.moc"
