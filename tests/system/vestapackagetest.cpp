// Signature check and unpacking of the platform object, inside the simulated
// device, with packages built by tools/make-package and a key made for the test.
// Fake openssl and tar programs first on PATH reach the failure paths.
#include "common/testpaths.h"
#include "system/csystem_vesta.h"
#include "system/removetree.h"
#include "vestatesttools.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace VestaTestTools;

namespace {

const char* const kDiagnosticsLog = "diagnostics.log";

} // namespace

class VestaPackageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void verifySignature_data();
    void verifySignature();
    void fakeOpenssl_data();
    void fakeOpenssl();
    void unpack_data();
    void unpack();
    void fakeTar_data();
    void fakeTar();
    void unpackBudget_data();
    void unpackBudget();

private:
    QString makePackage(const QStringList& arguments);
    QString packageCopy(const QString& name);
    QString prepareFakes(const QByteArray& program, const QByteArray& body);

    QTemporaryDir m_work;
    CSystem_Vesta* m_system = nullptr; // lives until the process ends, like on the device
    QString m_good;
    QString m_otherKey;
    QString m_fakeDir;
};

QString VestaPackageTest::makePackage(const QStringList& arguments)
{
    QProcess maker;
    maker.start(TestPaths::source(QStringLiteral("tools/make-package")), arguments);
    if (!maker.waitForFinished(30000) || maker.exitCode() != 0)
        return QString();
    return QString::fromLocal8Bit(maker.readAllStandardOutput()).trimmed();
}

void VestaPackageTest::initTestCase()
{
    m_system = new CSystem_Vesta;
    QCOMPARE(m_system->bspVersion, QStringLiteral("1.36.0"));
    const QString keys = m_work.filePath(QStringLiteral("keys"));
    const QString otherKeys = m_work.filePath(QStringLiteral("other"));
    QVERIFY(makePackage({"keygen", keys}).isEmpty());
    QVERIFY(makePackage({"keygen", otherKeys}).isEmpty());
    QFile::remove(m_system->UpdateKeyFile());
    QVERIFY(QFile::copy(keys + "/public.pem", m_system->UpdateKeyFile()));

    const QString tree = m_work.filePath(QStringLiteral("tree/usr/local/bin"));
    QVERIFY(QDir().mkpath(tree));
    QVERIFY(writeScript(tree, QStringLiteral("x"), "echo hello"));
    QVERIFY(QFile::link(QStringLiteral("x"), tree + "/y"));
    m_good = makePackage({"tree", "--name", "bin", "--version", "1.0.0", "--bsp", "1.36.0", "--key",
                          keys + "/private.pem", "--out", m_work.filePath("good"), m_work.filePath("tree")});
    QVERIFY(!m_good.isEmpty());
    m_otherKey = makePackage({"tree", "--name", "bin", "--version", "1.0.0", "--bsp", "1.36.0", "--key",
                              otherKeys + "/private.pem", "--out", m_work.filePath("other"),
                              m_work.filePath("tree")});
    QVERIFY(!m_otherKey.isEmpty());
}

void VestaPackageTest::init()
{
    SystemBudgets budgets;
    budgets.verifyMs = 10000;
    budgets.prepareSleepMs = 0;
    m_system->setBudgets(budgets);
    m_system->ReadBspVersion();
    QVERIFY(RemoveTree(m_system->tempDir));
    QVERIFY(QDir().mkdir(m_system->tempDir));
}

// A copy of the good package (and its signature) under another name, to be spoilt.
QString VestaPackageTest::packageCopy(const QString& name)
{
    const QString copy = m_work.filePath(name);
    QFile::remove(copy);
    QFile::remove(copy + ".sha1");
    QFile::copy(m_good, copy);
    QFile::copy(m_good + ".sha1", copy + ".sha1");
    return copy;
}

void VestaPackageTest::verifySignature_data()
{
    QTest::addColumn<QString>("spoil");
    QTest::addColumn<QString>("bsp");
    QTest::addColumn<bool>("verified");

    QTest::newRow("good package") << "" << "1.36.0" << true;
    QTest::newRow("good package, 1.7.0 shares the key") << "" << "1.7.0" << true;
    QTest::newRow("tampered archive") << "append" << "1.36.0" << false;
    QTest::newRow("missing signature file") << "nosig" << "1.36.0" << false;
    QTest::newRow("signed with another key") << "otherkey" << "1.36.0" << false;
    QTest::newRow("unknown BSP, no key path") << "" << "9.9.9" << false;
    QTest::newRow("1.41.0 key not installed") << "" << "1.41.0" << false;
}

void VestaPackageTest::verifySignature()
{
    QFETCH(QString, spoil);
    QFETCH(QString, bsp);
    QFETCH(bool, verified);

    QString package = packageCopy(QStringLiteral("check.tar.bz2"));
    if (spoil == QLatin1String("append")) {
        QFile file(package);
        QVERIFY(file.open(QIODevice::Append));
        file.write("x");
    } else if (spoil == QLatin1String("nosig")) {
        QVERIFY(QFile::remove(package + ".sha1"));
    } else if (spoil == QLatin1String("otherkey")) {
        package = m_otherKey;
    }
    m_system->bspVersion = bsp;
    QString error = QStringLiteral("left from before");
    QCOMPARE(m_system->verifySignature(QFileInfo(package), error), verified);
    if (verified) {
        QVERIFY(error.isNull());
    } else {
        // openssl ends with an error code: its output and error output, joined.
        QVERIFY2(error.contains(QLatin1String(" ; ")) && error.size() > 3, qPrintable(error));
        QVERIFY(!error.contains(QLatin1Char('\n')));
    }
}

QString VestaPackageTest::prepareFakes(const QByteArray& program, const QByteArray& body)
{
    m_fakeDir = m_work.filePath(QStringLiteral("fakes"));
    RemoveTree(m_fakeDir);
    QDir().mkpath(m_fakeDir);
    if (!body.isNull())
        writeScript(m_fakeDir, QString::fromLatin1(program), body);
    return m_fakeDir;
}

void VestaPackageTest::fakeOpenssl_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("verified");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QByteArray>("console");

    const QString null;
    QTest::newRow("answer with line end") << QByteArray("printf 'Verified OK\\n'") << true << null << QByteArray();
    QTest::newRow("answer with extra blanks")
        << QByteArray("printf '  Verified \\t OK \\n\\n'") << true << null << QByteArray();
    QTest::newRow("answer cut at NUL") << QByteArray("printf 'Verified OK\\000 junk'") << true << null << QByteArray();
    QTest::newRow("answer with full stop") << QByteArray("printf 'Verified OK.'") << false << null << QByteArray();
    QTest::newRow("no answer") << QByteArray("exit 0") << false << null << QByteArray();
    QTest::newRow("exit code 1")
        << QByteArray("printf 'Verification Failure\\n'; printf 'bad\\n  sig\\n' >&2; exit 1") << false
        << "Verification Failure ; bad sig" << QByteArray("??? verifySignature() exit= 1\n");
    QTest::newRow("crash") << QByteArray("kill -9 $$") << false << "Not started: Process crashed" << QByteArray();
    QTest::newRow("hangs past budget") << QByteArray("exec sleep 30") << false << "Verify Signature timed out!"
                                       << QByteArray("??? verifySignature() timeout.\n");
    QTest::newRow("not found") << QByteArray() << false << "Not started: " << QByteArray("??? verifySignature() not startet.\n");
}

void VestaPackageTest::fakeOpenssl()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, verified);
    QFETCH(QString, error);
    QFETCH(QByteArray, console);

    SystemBudgets budgets = m_system->budgets();
    budgets.verifyMs = 500;
    m_system->setBudgets(budgets);
    const CPathOverride path(prepareFakes("openssl", body), body.isNull());
    const CConsoleWatch consoleWatch;
    QElapsedTimer clock;
    clock.start();
    QString result;
    QCOMPARE(m_system->verifySignature(QFileInfo(m_good), result), verified);
    QVERIFY(clock.elapsed() < 5000);
    if (body.isNull()) // the error text of a missing program differs between systems
        QVERIFY2(result.startsWith(error) && result.size() > error.size(), qPrintable(result));
    else
        QCOMPARE(result, error);
    QCOMPARE(result.isNull(), error.isNull());
    QCOMPARE(consoleWatch.written(), console);
}

void VestaPackageTest::unpack_data()
{
    QTest::addColumn<QString>("spoil");
    QTest::addColumn<bool>("unpacked");
    QTest::addColumn<QString>("errorPart");

    QTest::newRow("good package") << "" << true << QString();
    QTest::newRow("not a bzip2 file") << "text" << false << "bzip2";
    QTest::newRow("truncated bzip2 stream") << "truncate" << false << "bzip2";
    QTest::newRow("missing archive") << "remove" << false << "tar";
}

void VestaPackageTest::unpack()
{
    QFETCH(QString, spoil);
    QFETCH(bool, unpacked);
    QFETCH(QString, errorPart);

    const QString package = packageCopy(QStringLiteral("unpack.tar.bz2"));
    QFile file(package);
    if (spoil == QLatin1String("text")) {
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("this is no archive\n");
    } else if (spoil == QLatin1String("truncate")) {
        QVERIFY(file.resize(file.size() / 2));
    } else if (spoil == QLatin1String("remove")) {
        QVERIFY(file.remove());
    }
    file.close();
    // Fake df, ls and du record how the diagnostics were asked for.
    const QString log = m_work.filePath(QString::fromLatin1(kDiagnosticsLog));
    QFile::remove(log);
    const QString fakes = prepareFakes("df", QByteArray("echo \"df $*\" >>") + QFile::encodeName(log));
    writeScript(fakes, QStringLiteral("ls"), QByteArray("echo \"ls $*\" >>") + QFile::encodeName(log));
    writeScript(fakes, QStringLiteral("du"), QByteArray("echo \"du $*\" >>") + QFile::encodeName(log));
    const CPathOverride path(fakes);

    QString error = QStringLiteral("left from before");
    QCOMPARE(m_system->Unpack(QFileInfo(package), error), unpacked);
    if (unpacked) {
        QVERIFY(error.isNull());
        QCOMPARE(readFile(QStringLiteral("/tmp/pkgupdate/usr/local/bin/x")), QByteArray("#!/bin/sh\necho hello\n"));
        QCOMPARE(QFileInfo(QStringLiteral("/tmp/pkgupdate/usr/local/bin/y")).symLinkTarget(),
                 QStringLiteral("/tmp/pkgupdate/usr/local/bin/x"));
        QVERIFY(QFileInfo(QStringLiteral("/tmp/pkgupdate/usr/local/bin/x")).isExecutable());
        QVERIFY(QFile::exists(QStringLiteral("/tmp/pkgupdate/UPDATE.CONF")));
        QCOMPARE(readFile(log), QByteArray());
        return;
    }
    QVERIFY2(error.startsWith(QLatin1String(" ; ")) && error.contains(errorPart), qPrintable(error));
    QCOMPARE(readFile(log), QByteArray("df -h /tmp > /dev/console\n"
                                       "ls -kls /tmp/pkgupdate > /dev/console\n"
                                       "du -amh /tmp > /dev/console\n"));
}

void VestaPackageTest::fakeTar_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("unpacked");
    QTest::addColumn<QString>("error");
    QTest::addColumn<QByteArray>("console");

    QTest::newRow("over budget stays true") << QByteArray("exec sleep 30") << true << QString() << QByteArray();
    QTest::newRow("exit code 2") << QByteArray("echo out; echo ' err  text' >&2; exit 2") << false
                                 << "out ; err text" << QByteArray();
    QTest::newRow("crash") << QByteArray("kill -9 $$") << false << "crash: Process crashed"
                           << QByteArray("??? Unpack \"crash: Process crashed\"\n");
    QTest::newRow("not found") << QByteArray() << false << "Not started: " << QByteArray();
}

void VestaPackageTest::fakeTar()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, unpacked);
    QFETCH(QString, error);
    QFETCH(QByteArray, console);

    SystemBudgets budgets = m_system->budgets();
    budgets.unpackBaseMs = 300;
    budgets.unpackBytesPerMs = 1000000;
    m_system->setBudgets(budgets);
    const CPathOverride path(prepareFakes("tar", body), body.isNull());
    const CConsoleWatch consoleWatch;
    QElapsedTimer clock;
    clock.start();
    QString result;
    QCOMPARE(m_system->Unpack(QFileInfo(m_good), result), unpacked);
    QVERIFY(clock.elapsed() < 5000);
    if (body.isNull())
        QVERIFY2(result.startsWith(error) && result.size() > error.size(), qPrintable(result));
    else
        QCOMPARE(result, error);
    QCOMPARE(consoleWatch.written(), console);
}

void VestaPackageTest::unpackBudget_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<int>("baseMs");
    QTest::addColumn<int>("bytesPerMs");
    QTest::addColumn<int>("budgetMs");

    QTest::newRow("empty package") << qint64(0) << 5000 << 200 << 5000;
    QTest::newRow("199 bytes round down") << qint64(199) << 5000 << 200 << 5000;
    QTest::newRow("200 bytes") << qint64(200) << 5000 << 200 << 5001;
    QTest::newRow("20 MB") << qint64(20 * 1024 * 1024) << 5000 << 200 << 109857;
    QTest::newRow("lowered budget") << qint64(1000) << 100 << 200 << 105;
}

void VestaPackageTest::unpackBudget()
{
    QFETCH(qint64, bytes);
    QFETCH(int, baseMs);
    QFETCH(int, bytesPerMs);
    QFETCH(int, budgetMs);

    SystemBudgets budgets;
    QCOMPARE(budgets.unpackBaseMs, 5000);
    QCOMPARE(budgets.unpackBytesPerMs, 200);
    budgets.unpackBaseMs = baseMs;
    budgets.unpackBytesPerMs = bytesPerMs;
    QCOMPARE(budgets.unpackBudgetMs(bytes), budgetMs);
}

QTEST_GUILESS_MAIN(VestaPackageTest)
#include "vestapackagetest.moc"
