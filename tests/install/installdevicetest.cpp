// Installing real signed packages on the simulated device with the device's own
// platform object: openssl checks the signatures, tar unpacks, the worker copies
// onto the device's root. Runs only inside tools/device-sandbox.

#include "common/testpaths.h"
#include "install/cworker.h"
#include "installtesttools.h"
#include "system/csystem_vesta.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <unistd.h>

using namespace InstallTestTools;

namespace {

const QString share = QStringLiteral("/usr/local/share/corvane/");

QString readLink(const QString& path)
{
    char buffer[512];
    const ssize_t length = ::readlink(QFile::encodeName(path).constData(), buffer, sizeof buffer);
    return length < 0 ? QString() : QFile::decodeName(QByteArray(buffer, int(length)));
}

// Runs program with arguments; true when it ended with status 0. output gets
// standard output, trimmed.
bool run(const QString& program, const QStringList& arguments, QString* output = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qWarning("%s failed: %s", qPrintable(program), process.readAllStandardError().constData());
        return false;
    }
    if (output)
        *output = QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();
    return true;
}

// Every entry under the device's installed directories with its kind, mode and
// content digest, so that any change shows. The update log is left out.
QStringList snapshot()
{
    QStringList entries;
    entries << QStringLiteral("/UPDATE.CONF %1").arg(QFileInfo::exists(QStringLiteral("/UPDATE.CONF")));
    QDirIterator it(QStringLiteral("/usr/local"), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
        QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path == share + QStringLiteral("update.log"))
            continue;
        const QFileInfo info(path);
        const QByteArray digest = info.isFile() && !info.isSymLink()
            ? QCryptographicHash::hash(readFile(path), QCryptographicHash::Sha1).toHex()
            : QByteArray();
        entries << QStringLiteral("%1 %2 %3 %4")
                       .arg(path, readLink(path))
                       .arg(int(info.permissions()), 0, 16)
                       .arg(QString::fromLatin1(digest));
    }
    entries.sort();
    return entries;
}

int logLines()
{
    return readFile(share + QStringLiteral("update.log")).count('\n');
}

} // namespace

class InstallDeviceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void programInFileListMode();
    void helpFilesInTreeMode();
    void listedLinkCopiedAsFile();
    void emptyListPieceCountsError();
    void refusals_data();
    void refusals();
    void unknownBspRefused();

private:
    // Runs tools/make-package with the test key; the archive's path.
    QString makePackage(const QString& mode, const QStringList& arguments);
    // Signs archive with the test key, as make-package does.
    bool sign(const QString& archive);
    // A selected record of kind for archive.
    static UpdatePackage record(const QString& archive, int kind);
    int install(const QString& archive, int kind);
    // Prepares the refusal case; false when the package could not be made.
    QString makeRefusedPackage(const QString& refusal);

    QTemporaryDir m_work;
    QString m_key;
    std::unique_ptr<CSystem_Vesta> m_system;
    std::unique_ptr<CWorker> m_worker;
    QStringList m_messages;
    int m_packageCount = 0;
};

void InstallDeviceTest::initTestCase()
{
    QVERIFY2(QFileInfo::exists(QStringLiteral("/var/log/device-calls.log")), "must run in tools/device-sandbox");
    QVERIFY(m_work.isValid());
    const QString keys = m_work.filePath(QStringLiteral("keys"));
    QVERIFY(run(QStringLiteral("bash"),
        { TestPaths::source(QStringLiteral("tools/make-package")), QStringLiteral("keygen"), keys }));
    m_key = keys + QStringLiteral("/private.pem");
    QFile::remove(share + QStringLiteral("qelsslkey.pem"));
    QVERIFY(QFile::copy(keys + QStringLiteral("/public.pem"), share + QStringLiteral("qelsslkey.pem")));
    m_system = std::make_unique<CSystem_Vesta>();
    SystemBudgets budgets;
    budgets.prepareSleepMs = 0; // the pause only gives the device's file system time
    m_system->setBudgets(budgets);
    m_worker = std::make_unique<CWorker>(*m_system);
    connect(m_worker.get(), &CWorker::message, this, [this](const QString& text) { m_messages << text; });
}

void InstallDeviceTest::init()
{
    m_messages.clear();
}

QString InstallDeviceTest::makePackage(const QString& mode, const QStringList& arguments)
{
    const QString out = m_work.filePath(QStringLiteral("stick%1").arg(++m_packageCount));
    QString archive;
    run(QStringLiteral("bash"),
        QStringList { TestPaths::source(QStringLiteral("tools/make-package")), mode, QStringLiteral("--key"), m_key,
            QStringLiteral("--out"), out }
            + arguments,
        &archive);
    return archive;
}

bool InstallDeviceTest::sign(const QString& archive)
{
    return run(QStringLiteral("openssl"),
        { QStringLiteral("dgst"), QStringLiteral("-sha1"), QStringLiteral("-sign"), m_key, QStringLiteral("-out"),
            archive + QStringLiteral(".sha1"), archive });
}

UpdatePackage InstallDeviceTest::record(const QString& archive, int kind)
{
    UpdatePackage package(QFileInfo { archive });
    package.priority = kind;
    package.selected = true;
    return package;
}

int InstallDeviceTest::install(const QString& archive, int kind)
{
    QList<UpdatePackage> packages { record(archive, kind) };
    return m_worker->Install(packages);
}

void InstallDeviceTest::programInFileListMode()
{
    const QString source = m_work.filePath(QStringLiteral("program"));
    const QFile::Permissions executable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup
        | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    QVERIFY(writeFile(source + QStringLiteral("/corvane"), "#!/bin/sh\necho 3.1.0\n", executable));
    QVERIFY(writeFile(source + QStringLiteral("/corvane_de.qm"), "catalogue",
        QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup));
    QVERIFY(writeFile(QStringLiteral("/usr/local/share/corvane/old/stale.txt"), "stale"));
    const QString archive = makePackage(QStringLiteral("files"),
        { "--name", "bin", "--version", "3.1.0", "--bsp", "1.36.0", "--delete", "/usr/local/share/corvane/old",
            source + QStringLiteral("/corvane=/usr/local/bin"),
            source + QStringLiteral("/corvane_de.qm=/usr/local/share/corvane/lang") });
    QVERIFY(!archive.isEmpty());
    const int logBefore = logLines();

    QCOMPARE(install(archive, KindProgram), int(InstallProgram));

    QCOMPARE(readFile(QStringLiteral("/usr/local/bin/corvane")), QByteArray("#!/bin/sh\necho 3.1.0\n"));
    QCOMPARE(QFile::permissions(QStringLiteral("/usr/local/bin/corvane")) & 0x7077, executable & 0x7077);
    QCOMPARE(QFile::permissions(share + QStringLiteral("lang/corvane_de.qm")) & 0x7077,
        QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    QVERIFY(!QFileInfo::exists(QStringLiteral("/usr/local/share/corvane/old")));
    QCOMPARE(m_worker->copiedFiles, 2);
    QCOMPARE(m_worker->errors, 0);
    QCOMPARE(logLines(), logBefore + 1);
    QVERIFY(readFile(share + QStringLiteral("update.log")).endsWith("Z bin-3.1.0-BSP-1.36.0.tar.bz2\n"));
    QCOMPARE(m_messages.last(), QStringLiteral("Ready"));
}

void InstallDeviceTest::helpFilesInTreeMode()
{
    const QString source = m_work.filePath(QStringLiteral("help"));
    const QString help = source + QStringLiteral("/usr/local/share/corvane/help");
    QVERIFY(writeFile(help + QStringLiteral("/index.html"), "index"));
    QVERIFY(writeFile(help + QStringLiteral("/img/logo.png"), "png", QFile::ReadOwner | QFile::WriteOwner));
    QVERIFY(QFile::link(QStringLiteral("index.html"), help + QStringLiteral("/start.html")));
    // An absolute target that exists on the device; a link whose target is missing
    // when the tree is copied would not be listed at all.
    QVERIFY(QFile::link(QStringLiteral("/usr/local/bin/corvane"), help + QStringLiteral("/program")));
    QVERIFY(writeFile(share + QStringLiteral("help/obsolete.html"), "old"));
    const QString archive = makePackage(QStringLiteral("tree"),
        { "--name", "doc", "--version", "1.2.0", "--bsp", "1.36.0", "--delete", "/usr/local/share/corvane/help",
            "--conf-bsp", "1.36.0 1.41.0", source });
    QVERIFY(!archive.isEmpty());
    QFile::remove(QStringLiteral("/UPDATE.CONF"));

    QCOMPARE(install(archive, KindHelpFiles), int(InstallDone));

    QCOMPARE(readFile(share + QStringLiteral("help/index.html")), QByteArray("index"));
    QCOMPARE(
        QFile::permissions(share + QStringLiteral("help/img/logo.png")) & 0x7077, QFile::ReadOwner | QFile::WriteOwner);
    QCOMPARE(readLink(share + QStringLiteral("help/start.html")), QStringLiteral("index.html"));
    QCOMPARE(readLink(share + QStringLiteral("help/program")), QStringLiteral("/usr/local/bin/corvane"));
    QVERIFY(!QFileInfo::exists(share + QStringLiteral("help/obsolete.html")));
    QVERIFY(readFile(QStringLiteral("/UPDATE.CONF")).contains("DELETE = /usr/local/share/corvane/help"));
    QCOMPARE(m_worker->copiedFiles, 3); // index.html, logo.png, UPDATE.CONF
    QCOMPARE(m_worker->copiedLinks, 2);
    QCOMPARE(m_worker->errors, 0);
    QVERIFY(m_messages.contains(QStringLiteral("/usr/local/share/corvane/help")));
    QVERIFY(m_messages.contains(QStringLiteral("/usr/local/share/corvane/help/start.html")));
    QVERIFY(!m_messages.contains(QStringLiteral("/usr/local/share/corvane/help/img"))); // depth 6
}

void InstallDeviceTest::listedLinkCopiedAsFile()
{
    const QString source = m_work.filePath(QStringLiteral("flat"));
    QVERIFY(writeFile(source + QStringLiteral("/target.txt"), "target"));
    QVERIFY(QFile::link(QStringLiteral("target.txt"), source + QStringLiteral("/alias.txt")));
    const QString archive = makePackage(QStringLiteral("files"),
        { "--name", "doc", "--version", "1.3.0", "--bsp", "1.36.0",
            source + QStringLiteral("/target.txt=/usr/local/share/corvane/flat"),
            source + QStringLiteral("/alias.txt=/usr/local/share/corvane/flat") });
    QVERIFY(!archive.isEmpty());

    QCOMPARE(install(archive, KindHelpFiles), int(InstallDone));

    const QString alias = share + QStringLiteral("flat/alias.txt");
    QVERIFY(!QFileInfo(alias).isSymLink());
    QCOMPARE(readFile(alias), QByteArray("target"));
    QCOMPARE(m_worker->copiedFiles, 2);
    QCOMPARE(m_worker->copiedLinks, 0);
}

void InstallDeviceTest::emptyListPieceCountsError()
{
    const QString source = m_work.filePath(QStringLiteral("gap"));
    QVERIFY(writeFile(source + QStringLiteral("/one"), "1"));
    QVERIFY(writeFile(source + QStringLiteral("/two"), "2"));
    const QString conf = m_work.filePath(QStringLiteral("gap.conf"));
    QVERIFY(writeFile(conf,
        "DEST_FILE1 = /usr/local/share/corvane/g1\nDEST_FILE2 = /usr/local/share/corvane/g2\n"
        "DEST_FILE3 = /usr/local/share/corvane/g3\nFILE_LIST = one  two\n"));
    const QString archive = makePackage(QStringLiteral("files"),
        { "--name", "doc", "--version", "1.4.0", "--bsp", "1.36.0", "--conf", conf, source + QStringLiteral("/one=/x"),
            source + QStringLiteral("/two=/x") });
    QVERIFY(!archive.isEmpty());

    QCOMPARE(install(archive, KindHelpFiles), int(InstallDone));

    QCOMPARE(readFile(share + QStringLiteral("g1/one")), QByteArray("1"));
    QCOMPARE(readFile(share + QStringLiteral("g3/two")), QByteArray("2"));
    QVERIFY(QFileInfo(share + QStringLiteral("g2")).isDir());
    QCOMPARE(m_worker->copiedFiles, 2);
    QCOMPARE(m_worker->errors, 1);
}

QString InstallDeviceTest::makeRefusedPackage(const QString& refusal)
{
    // Every refused package would replace the program and add a marker file.
    const QString source = m_work.filePath(QStringLiteral("refused-") + refusal);
    QByteArray filler;
    for (int i = 0; i < 40000; ++i)
        filler.append(char((i * 7919 + i / 13) % 251)); // hard to compress, so a damaged stream shows
    writeFile(source + QStringLiteral("/usr/local/bin/corvane"), "refused " + filler);
    writeFile(source + QStringLiteral("/usr/local/share/corvane/refused/marker"), "marker");
    const QStringList naming { "--name", "bin", "--version", "9.0.0", "--bsp", "1.36.0" };
    if (refusal == QLatin1String("no UPDATE.CONF")) {
        const QString archive = m_work.filePath(QStringLiteral("noconf-9.0.0-BSP-1.36.0.tar.bz2"));
        if (!run(QStringLiteral("tar"), { "-cjf", archive, "-C", source, "." }) || !sign(archive))
            return QString();
        return archive;
    }
    if (refusal == QLatin1String("DELETE of a plain file")) {
        writeFile(share + QStringLiteral("plain.txt"), "plain");
        return makePackage(
            QStringLiteral("tree"), naming + QStringList { "--delete", share + QStringLiteral("plain.txt"), source });
    }
    const QString archive = makePackage(QStringLiteral("tree"), naming + QStringList { source });
    if (refusal == QLatin1String("tampered archive")) {
        QFile file(archive);
        file.open(QIODevice::Append);
        file.write("tampered");
    } else if (refusal == QLatin1String("missing signature")) {
        QFile::remove(archive + QStringLiteral(".sha1"));
    } else if (refusal == QLatin1String("corrupted bzip2 stream")) {
        QFile file(archive);
        file.open(QIODevice::ReadWrite);
        file.seek(file.size() / 2);
        file.write(QByteArray(64, '\0'));
        file.close();
        if (!sign(archive))
            return QString();
    }
    return archive;
}

void InstallDeviceTest::refusals_data()
{
    QTest::addColumn<QString>("message"); // the last message starts with this
    QTest::addColumn<bool>("verified"); // the signature was accepted (logged, unpacked)

    QTest::newRow("tampered archive") << "Verification failure ; " << false;
    QTest::newRow("missing signature") << " ; " << false;
    QTest::newRow("openssl not found") << "Not started: " << false;
    QTest::newRow("openssl hangs") << "Verify Signature timed out!" << false;
    QTest::newRow("corrupted bzip2 stream") << "Unpack error: " << true;
    QTest::newRow("no UPDATE.CONF") << "UPDATE.CONF not found!" << true;
    QTest::newRow("DELETE of a plain file") << "File delete error!" << true;
}

void InstallDeviceTest::refusals()
{
    QFETCH(QString, message);
    QFETCH(bool, verified);
    const QString refusal = QString::fromLatin1(QTest::currentDataTag());
    const QString archive = makeRefusedPackage(refusal);
    QVERIFY(!archive.isEmpty());
    QVERIFY(writeFile(QStringLiteral("/usr/local/bin/corvane"), "#!/bin/sh\necho 3.0.0\n"));
    const QStringList before = snapshot();
    const int logBefore = logLines();
    const QByteArray oldPath = qgetenv("PATH");
    const QString fakeBin = m_work.filePath(QStringLiteral("fakebin"));
    if (refusal == QLatin1String("openssl not found")) {
        qputenv("PATH", "/nonexistent");
    } else if (refusal == QLatin1String("openssl hangs")) {
        QVERIFY(writeFile(
            fakeBin + QStringLiteral("/openssl"), "#!/bin/sh\nexec sleep 60\n", QFile::ReadOwner | QFile::ExeOwner));
        qputenv("PATH", QFile::encodeName(fakeBin) + ':' + oldPath);
        SystemBudgets budgets = m_system->budgets();
        budgets.verifyMs = 1500;
        m_system->setBudgets(budgets);
    }

    const int result = install(archive, KindProgram);
    qputenv("PATH", oldPath);
    SystemBudgets budgets = m_system->budgets();
    budgets.verifyMs = SystemBudgets().verifyMs;
    m_system->setBudgets(budgets);

    QCOMPARE(result, int(InstallFailed));
    QVERIFY2(m_messages.last().startsWith(message), qPrintable(m_messages.last()));
    QCOMPARE(snapshot(), before);
    QCOMPARE(logLines(), logBefore + (verified ? 1 : 0));
    if (!verified) {
        // Nothing from an archive whose signature failed is even unpacked.
        QCOMPARE(
            QDir(m_system->tempDir).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden), QStringList());
        QVERIFY(!m_messages.contains(QStringLiteral("Unpacking... This can take some minutes.")));
    }
}

void InstallDeviceTest::unknownBspRefused()
{
    if (m_system->bspVersion != QLatin1String("9.9.9"))
        QSKIP("needs a device with BSP 9.9.9 (the installdevicetest_unknownbsp run)");
    QVERIFY(m_system->UpdateKeyFile().isNull());
    const QString archive = makeRefusedPackage(QStringLiteral("unknown BSP"));
    QVERIFY(!archive.isEmpty());
    const QStringList before = snapshot();
    const int logBefore = logLines();

    QCOMPARE(install(archive, KindProgram), int(InstallFailed));

    QVERIFY2(m_messages.last().contains(QLatin1String(" ; ")), qPrintable(m_messages.last()));
    QCOMPARE(snapshot(), before);
    QCOMPARE(logLines(), logBefore);
}

QTEST_GUILESS_MAIN(InstallDeviceTest)
#include "installdevicetest.moc"
