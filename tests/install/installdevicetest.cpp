// Installing real signed packages on the simulated device with the device's own
// platform object: openssl checks the signatures, tar unpacks, the worker copies
// onto the device's root. Runs only inside tools/device-sandbox.

#include "common/testtools.h"
#include "install/cworker.h"
#include "system/csystem_vesta.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <optional>

using namespace TestTools;

namespace {

const QString share = QStringLiteral("/usr/local/share/corvane/");

// Every entry under the device's installed directories with its link target, mode
// and content digest, so that any change shows. The update log is left out.
QStringList snapshot()
{
    QStringList entries { QStringLiteral("/UPDATE.CONF %1").arg(QFileInfo::exists(QStringLiteral("/UPDATE.CONF"))) };
    QDirIterator it(QStringLiteral("/usr/local"), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
        QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        const QByteArray content = info.isFile() && !info.isSymLink() ? readFile(path) : QByteArray();
        if (path != share + QStringLiteral("update.log"))
            entries << QStringLiteral("%1 %2 %3 %4")
                           .arg(path, readLink(path))
                           .arg(int(info.permissions()), 0, 16)
                           .arg(QString::fromLatin1(QCryptographicHash::hash(content, QCryptographicHash::Sha1).toHex()));
    }
    entries.sort();
    return entries;
}

QStringList logLines() { return QString::fromLatin1(readFile(share + QStringLiteral("update.log"))).split('\n'); }

} // namespace

class InstallDeviceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { m_messages.clear(); }
    void programInFileListMode();
    void helpFilesInTreeMode();
    void refusals_data();
    void refusals();

private:
    QString makePackage(const QString& mode, const QStringList& arguments);
    int install(const QString& archive, int kind);
    QString makeRefusedPackage(const QString& refusal);
    void setVerifyBudget(int ms);

    QTemporaryDir m_work;
    std::optional<CPackageMaker> m_maker;
    std::unique_ptr<CSystem_Vesta> m_system;
    std::unique_ptr<CWorker> m_worker;
    QStringList m_messages;
    int m_packageCount = 0;
};

void InstallDeviceTest::initTestCase()
{
    QVERIFY2(QFileInfo::exists(QStringLiteral("/var/log/device-calls.log")), "must run in tools/device-sandbox");
    m_maker.emplace(m_work.path());
    QVERIFY(m_maker->isValid());
    QFile::remove(share + QStringLiteral("qelsslkey.pem"));
    QVERIFY(QFile::copy(m_maker->publicKey(), share + QStringLiteral("qelsslkey.pem")));
    m_system = std::make_unique<CSystem_Vesta>();
    setVerifyBudget(SystemBudgets().verifyMs);
    m_worker = std::make_unique<CWorker>(*m_system);
    connect(m_worker.get(), &CWorker::message, this, [this](const QString& text) { m_messages << text; });
}

void InstallDeviceTest::setVerifyBudget(int ms)
{
    SystemBudgets budgets;
    budgets.prepareSleepMs = 0; // the pause only gives the device's file system time
    budgets.verifyMs = ms;
    m_system->setBudgets(budgets);
}

QString InstallDeviceTest::makePackage(const QString& mode, const QStringList& arguments)
{
    return m_maker->make(mode, m_work.filePath(QStringLiteral("stick%1").arg(++m_packageCount)), arguments);
}

int InstallDeviceTest::install(const QString& archive, int kind)
{
    UpdatePackage package(QFileInfo { archive });
    package.priority = kind;
    package.selected = true;
    QList<UpdatePackage> packages { package };
    return m_worker->Install(packages);
}

void InstallDeviceTest::programInFileListMode()
{
    const QString source = m_work.filePath(QStringLiteral("program"));
    const QFile::Permissions executable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup
        | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    const QFile::Permissions private640 = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
    QVERIFY(writeFile(source + QStringLiteral("/corvane"), "#!/bin/sh\necho 3.1.0\n", executable));
    QVERIFY(writeFile(source + QStringLiteral("/corvane_de.qm"), "catalogue", private640));
    QVERIFY(QFile::link(QStringLiteral("corvane_de.qm"), source + QStringLiteral("/alias.qm")));
    // The double blank uses up DEST_FILE2 and counts an error.
    const QString conf = m_work.filePath(QStringLiteral("program.conf"));
    QVERIFY(writeFile(conf,
        "DEST_FILE1 = /usr/local/bin\nDEST_FILE2 = /usr/local/share/corvane/gap\n"
        "DEST_FILE3 = /usr/local/share/corvane/lang\nDEST_FILE4 = /usr/local/share/corvane/lang\n"
        "FILE_LIST = corvane  corvane_de.qm alias.qm\n"));
    const QString archive = makePackage(QStringLiteral("files"),
        { "--name", "bin", "--version", "3.1.0", "--bsp", "1.36.0", "--conf", conf, source + "/corvane=/x",
            source + "/corvane_de.qm=/x", source + "/alias.qm=/x" });
    QVERIFY(!archive.isEmpty());
    const int logBefore = logLines().size();

    QCOMPARE(install(archive, KindProgram), int(InstallProgram));

    QCOMPARE(readFile(QStringLiteral("/usr/local/bin/corvane")), QByteArray("#!/bin/sh\necho 3.1.0\n"));
    QCOMPARE(QFile::permissions(QStringLiteral("/usr/local/bin/corvane")) & 0x7077, executable & 0x7077);
    QCOMPARE(QFile::permissions(share + QStringLiteral("lang/corvane_de.qm")) & 0x7077, private640);
    QCOMPARE(readLink(share + QStringLiteral("lang/alias.qm")), QString()); // a listed link is copied as a file
    QCOMPARE(readFile(share + QStringLiteral("lang/alias.qm")), QByteArray("catalogue"));
    QCOMPARE(m_worker->copiedFiles, 3);
    QCOMPARE(m_worker->copiedLinks, 0);
    QCOMPARE(m_worker->errors, 1);
    QCOMPARE(logLines().size(), logBefore + 1);
    const QRegularExpression logLine(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ bin-3.1.0-BSP-1.36.0.tar.bz2$"));
    QVERIFY2(logLine.match(logLines().at(logBefore - 1)).hasMatch(), qPrintable(logLines().at(logBefore - 1)));
}

void InstallDeviceTest::helpFilesInTreeMode()
{
    const QString source = m_work.filePath(QStringLiteral("help"));
    const QString help = source + QStringLiteral("/usr/local/share/corvane/help");
    QVERIFY(writeFile(help + QStringLiteral("/index.html"), "index"));
    QVERIFY(writeFile(help + QStringLiteral("/img/logo.png"), "png", QFile::ReadOwner | QFile::WriteOwner));
    QVERIFY(writeFile(help + QStringLiteral("/.hidden"), "hidden"));
    QVERIFY(QFile::link(QStringLiteral("index.html"), help + QStringLiteral("/start.html")));
    QVERIFY(QFile::link(QStringLiteral("img"), help + QStringLiteral("/images")));
    QVERIFY(QFile::link(QStringLiteral("nowhere"), help + QStringLiteral("/dangling")));
    // An absolute target that exists on the device; a link whose target is missing
    // when the tree is copied would not be listed at all.
    QVERIFY(QFile::link(QStringLiteral("/usr/local/bin/corvane"), help + QStringLiteral("/program")));
    QVERIFY(writeFile(share + QStringLiteral("help/obsolete.html"), "old"));
    const QString archive = makePackage(QStringLiteral("tree"),
        { "--unsafe-links", "--name", "doc", "--version", "1.2.0", "--bsp", "1.36.0", "--delete",
            "/usr/local/share/corvane/help", "--conf-bsp", "1.36.0 1.41.0", source });
    QVERIFY(!archive.isEmpty());
    QFile::remove(QStringLiteral("/UPDATE.CONF"));

    QCOMPARE(install(archive, KindHelpFiles), int(InstallDone));

    QCOMPARE(readFile(share + QStringLiteral("help/index.html")), QByteArray("index"));
    QCOMPARE(
        QFile::permissions(share + QStringLiteral("help/img/logo.png")) & 0x7077, QFile::ReadOwner | QFile::WriteOwner);
    QCOMPARE(readLink(share + QStringLiteral("help/start.html")), QStringLiteral("index.html"));
    QCOMPARE(readLink(share + QStringLiteral("help/program")), QStringLiteral("/usr/local/bin/corvane"));
    QCOMPARE(readFile(share + QStringLiteral("help/.hidden")), QByteArray("hidden"));
    QCOMPARE(readFile(share + QStringLiteral("help/images/logo.png")), QByteArray("png")); // a directory link becomes one
    QVERIFY(!QFileInfo(share + QStringLiteral("help/images")).isSymLink());
    QVERIFY(!QFileInfo(share + QStringLiteral("help/dangling")).isSymLink()); // not listed, so not copied
    // RemoveTree stops at a link to a directory; without this the next PrepareTempDir would fail.
    QVERIFY(QFile::remove(m_system->tempDir + QStringLiteral("/usr/local/share/corvane/help/images")));
    QVERIFY(!QFileInfo::exists(share + QStringLiteral("help/obsolete.html")));
    QVERIFY(readFile(QStringLiteral("/UPDATE.CONF")).contains("DELETE = /usr/local/share/corvane/help"));
    QCOMPARE(m_worker->copiedFiles, 5); // index.html, .hidden, logo.png twice, UPDATE.CONF
    QCOMPARE(m_worker->copiedLinks, 2);
    QCOMPARE(m_worker->errors, 0);
}

QString InstallDeviceTest::makeRefusedPackage(const QString& refusal)
{
    // Every refused package would replace the program and add a marker file.
    const QString source = m_work.filePath(QStringLiteral("refused-") + refusal);
    QByteArray filler; // hard to compress, so a damaged stream shows
    for (int i = 0; i < 2000; ++i)
        filler += QCryptographicHash::hash(QByteArray::number(i), QCryptographicHash::Sha1);
    writeFile(source + QStringLiteral("/usr/local/bin/corvane"), "refused " + filler);
    writeFile(source + QStringLiteral("/usr/local/share/corvane/refused/marker"), "marker");
    QStringList arguments { "--name", "bin", "--version", "9.0.0", "--bsp", "1.36.0", source };
    if (refusal == QLatin1String("no UPDATE.CONF")) {
        const QString archive = m_work.filePath(QStringLiteral("noconf-9.0.0-BSP-1.36.0.tar.bz2"));
        const bool made = runTool(QStringLiteral("tar"), { "-cjf", archive, "-C", source, "." }).exitCode == 0;
        return made && m_maker->sign(archive) ? archive : QString();
    }
    if (refusal == QLatin1String("DELETE of a plain file")) {
        writeFile(share + QStringLiteral("plain.txt"), "plain");
        arguments << "--delete" << share + QStringLiteral("plain.txt");
    }
    const QString archive = makePackage(QStringLiteral("tree"), arguments);
    QFile file(archive);
    if (refusal == QLatin1String("tampered archive") && file.open(QIODevice::Append))
        file.write("tampered");
    if (refusal == QLatin1String("missing signature"))
        QFile::remove(archive + QStringLiteral(".sha1"));
    if (refusal == QLatin1String("corrupted bzip2 stream") && file.open(QIODevice::ReadWrite)) {
        file.seek(file.size() / 2);
        file.write(QByteArray(64, '\0'));
        file.close();
        return m_maker->sign(archive) ? archive : QString();
    }
    return archive;
}

void InstallDeviceTest::refusals_data()
{
    QTest::addColumn<QString>("message"); // pattern of the last message
    QTest::addColumn<bool>("verified"); // the signature was accepted (logged, unpacked)

    QTest::newRow("tampered archive") << "^Verification failure ; " << false;
    QTest::newRow("missing signature") << "^ ; " << false;
    QTest::newRow("openssl not found") << "^Not started: " << false;
    QTest::newRow("openssl hangs") << "^Verify Signature timed out!" << false;
    QTest::newRow("corrupted bzip2 stream") << "^Unpack error: " << true;
    QTest::newRow("no UPDATE.CONF") << "^UPDATE.CONF not found!" << true;
    QTest::newRow("DELETE of a plain file") << "^File delete error!" << true;
    // Run only by installdevicetest_unknownbsp, on a device whose BSP has no key.
    QTest::newRow("unknown BSP") << " ; " << false;
}

void InstallDeviceTest::refusals()
{
    QFETCH(QString, message);
    QFETCH(bool, verified);
    const QString refusal = QString::fromLatin1(QTest::currentDataTag());
    if ((refusal == QLatin1String("unknown BSP")) != (m_system->bspVersion == QLatin1String("9.9.9")))
        QSKIP("the unknown BSP case runs alone on a device with BSP 9.9.9");
    const QString archive = makeRefusedPackage(refusal);
    QVERIFY(!archive.isEmpty());
    QVERIFY(writeFile(QStringLiteral("/usr/local/bin/corvane"), "#!/bin/sh\necho 3.0.0\n"));
    const QStringList before = snapshot();
    const int logBefore = logLines().size();
    const QString fakeBin = m_work.filePath(QStringLiteral("fakebin"));
    QVERIFY(writeScript(fakeBin + QStringLiteral("/openssl"), "exec sleep 60"));
    std::optional<CPathOverride> path;
    if (refusal == QLatin1String("openssl not found"))
        path.emplace(QStringLiteral("/nonexistent"), true);
    if (refusal == QLatin1String("openssl hangs")) {
        path.emplace(fakeBin);
        setVerifyBudget(1500);
    }

    QCOMPARE(install(archive, KindProgram), int(InstallFailed));
    path.reset();
    setVerifyBudget(SystemBudgets().verifyMs);

    QVERIFY2(m_messages.last().contains(QRegularExpression(message)), qPrintable(m_messages.last()));
    QCOMPARE(snapshot(), before);
    QCOMPARE(logLines().size(), logBefore + (verified ? 1 : 0));
    // Nothing from an archive whose signature failed is even unpacked.
    if (!verified)
        QCOMPARE(QDir(m_system->tempDir).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden), QStringList());
}

QTEST_GUILESS_MAIN(InstallDeviceTest)
#include "installdevicetest.moc"
