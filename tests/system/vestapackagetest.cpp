// Signature check and unpacking of the platform object, inside the simulated
// device, with a package built by tools/make-package and a key made for the test.
// Fake openssl, tar, df, ls and du first on PATH reach the failure paths.
#include "common/testtools.h"
#include "system/csystem_vesta.h"
#include "system/removetree.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace TestTools;

class VestaPackageTest : public QObject {
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
    void unpackBudget_data();
    void unpackBudget();

private:
    QString packageCopy();
    QString fakes(const QString& program, const QByteArray& body);

    QTemporaryDir m_work;
    CSystem_Vesta* m_system = nullptr; // lives until the process ends, like on the device
    QString m_good;
};

void VestaPackageTest::initTestCase()
{
    m_system = new CSystem_Vesta;
    const CPackageMaker maker(m_work.path());
    QVERIFY(maker.isValid());
    QFile::remove(m_system->UpdateKeyFile());
    QVERIFY(QFile::copy(maker.publicKey(), m_system->UpdateKeyFile()));
    const QString tree = m_work.filePath(QStringLiteral("tree"));
    QVERIFY(writeScript(tree + QStringLiteral("/usr/local/bin/x"), "echo hello"));
    QVERIFY(QFile::link(QStringLiteral("x"), tree + QStringLiteral("/usr/local/bin/y")));
    m_good = maker.make(QStringLiteral("tree"), m_work.filePath(QStringLiteral("good")),
        { "--name", "bin", "--version", "1.0.0", "--bsp", "1.36.0", tree });
    QVERIFY(!m_good.isEmpty());
}

void VestaPackageTest::init()
{
    SystemBudgets budgets;
    budgets.prepareSleepMs = 0;
    m_system->setBudgets(budgets);
    m_system->ReadBspVersion();
    QVERIFY(RemoveTree(m_system->tempDir));
    QVERIFY(QDir().mkdir(m_system->tempDir));
}

// A copy of the good package and its signature, to be spoilt.
QString VestaPackageTest::packageCopy()
{
    const QString copy = m_work.filePath(QStringLiteral("copy.tar.bz2"));
    for (const QString suffix : { "", ".sha1" }) {
        QFile::remove(copy + suffix);
        QFile::copy(m_good + suffix, copy + suffix);
    }
    return copy;
}

// A fresh directory of fake programs: program running body (none for a null body),
// and df, ls and du that note their calls in diagnostics.log.
QString VestaPackageTest::fakes(const QString& program, const QByteArray& body)
{
    const QString dir = m_work.filePath(QStringLiteral("fakes"));
    RemoveTree(dir);
    const QByteArray log = QFile::encodeName(m_work.filePath(QStringLiteral("diagnostics.log")));
    QFile::remove(QString::fromLocal8Bit(log));
    for (const QString diagnostic : { "df", "ls", "du" })
        writeScript(dir + QLatin1Char('/') + diagnostic, "echo \"" + diagnostic.toLatin1() + " $*\" >>" + log);
    if (!body.isNull())
        writeScript(dir + QLatin1Char('/') + program, body);
    return dir;
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
    QTest::newRow("unknown BSP, no key path") << "" << "9.9.9" << false;
}

void VestaPackageTest::verifySignature()
{
    QFETCH(QString, spoil);
    QFETCH(QString, bsp);
    QFETCH(bool, verified);
    const QString package = packageCopy();
    QFile file(package);
    if (spoil == QLatin1String("append") && file.open(QIODevice::Append))
        file.write("x");
    if (spoil == QLatin1String("nosig"))
        QVERIFY(QFile::remove(package + QStringLiteral(".sha1")));
    file.close();
    m_system->bspVersion = bsp;

    QString error = QStringLiteral("left from before");
    QCOMPARE(m_system->verifySignature(QFileInfo(package), error), verified);
    // openssl ends with an error code: its output and error output, joined on one line.
    if (!verified)
        QVERIFY2(error.contains(QLatin1String(" ; ")) && error.size() > 3 && !error.contains('\n'), qPrintable(error));
    QCOMPARE(error.isNull(), verified);
}

void VestaPackageTest::fakeOpenssl_data()
{
    QTest::addColumn<QByteArray>("body"); // null: no openssl at all
    QTest::addColumn<bool>("verified");
    QTest::addColumn<QString>("error"); // pattern
    QTest::addColumn<QByteArray>("console");

    QTest::newRow("answer with extra blanks") << QByteArray("printf '  Verified \\t OK \\n\\n'") << true << "" << QByteArray();
    QTest::newRow("answer with full stop") << QByteArray("printf 'Verified OK.'") << false << "" << QByteArray();
    QTest::newRow("exit code 1") << QByteArray("echo 'Verification Failure'; printf 'bad\\n  sig\\n' >&2; exit 1")
                                 << false << "^Verification Failure ; bad sig$"
                                 << QByteArray("??? verifySignature() exit= 1\n");
    QTest::newRow("hangs past budget") << QByteArray("exec sleep 30") << false << "^Verify Signature timed out!$"
                                       << QByteArray("??? verifySignature() timeout.\n");
    QTest::newRow("not found") << QByteArray() << false << "^Not started: .+"
                               << QByteArray("??? verifySignature() not startet.\n");
}

void VestaPackageTest::fakeOpenssl()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, error);
    SystemBudgets budgets = m_system->budgets();
    budgets.verifyMs = 500;
    m_system->setBudgets(budgets);
    const CPathOverride path(fakes(QStringLiteral("openssl"), body), body.isNull());
    const CConsoleWatch console;
    QElapsedTimer clock;
    clock.start();

    QString result;
    QTEST(m_system->verifySignature(QFileInfo(m_good), result), "verified");

    QVERIFY(clock.elapsed() < 5000);
    QVERIFY2(error.isEmpty() ? result.isNull() : result.contains(QRegularExpression(error)), qPrintable(result));
    QTEST(console.written(), "console");
}

void VestaPackageTest::unpack_data()
{
    QTest::addColumn<bool>("truncate");
    QTest::addColumn<QByteArray>("tar"); // fake tar's body; null: the real tar
    QTest::addColumn<bool>("unpacked");
    QTest::addColumn<QString>("error"); // pattern

    QTest::newRow("good package") << false << QByteArray() << true << "";
    QTest::newRow("truncated bzip2 stream") << true << QByteArray() << false << "^ ; .*bzip2";
    QTest::newRow("over budget stays true") << false << QByteArray("exec sleep 30") << true << "";
    QTest::newRow("exit code 2") << false << QByteArray("echo out; echo ' err  text' >&2; exit 2") << false
                                 << "^out ; err text$";
}

void VestaPackageTest::unpack()
{
    QFETCH(bool, truncate);
    QFETCH(QByteArray, tar);
    QFETCH(bool, unpacked);
    QFETCH(QString, error);
    const QString package = packageCopy();
    if (truncate)
        QVERIFY(QFile(package).resize(QFileInfo(package).size() / 2));
    SystemBudgets budgets = m_system->budgets();
    budgets.unpackBaseMs = tar.isNull() ? budgets.unpackBaseMs : 300;
    m_system->setBudgets(budgets);
    const CPathOverride path(fakes(QStringLiteral("tar"), tar));
    QElapsedTimer clock;
    clock.start();

    QString result = QStringLiteral("left from before");
    QCOMPARE(m_system->Unpack(QFileInfo(package), result), unpacked);

    QVERIFY(clock.elapsed() < 5000);
    QVERIFY2(error.isEmpty() ? result.isNull() : result.contains(QRegularExpression(error)), qPrintable(result));
    QCOMPARE(readFile(m_work.filePath(QStringLiteral("diagnostics.log"))),
        unpacked ? QByteArray("<missing>")
                 : QByteArray("df -h /tmp > /dev/console\nls -kls /tmp/pkgupdate > /dev/console\n"
                              "du -amh /tmp > /dev/console\n"));
    if (unpacked && tar.isNull()) {
        QCOMPARE(readFile(QStringLiteral("/tmp/pkgupdate/usr/local/bin/x")), QByteArray("#!/bin/sh\necho hello\n"));
        QVERIFY(QFileInfo(QStringLiteral("/tmp/pkgupdate/usr/local/bin/x")).isExecutable());
        QCOMPARE(readLink(QStringLiteral("/tmp/pkgupdate/usr/local/bin/y")), QStringLiteral("x"));
        QVERIFY(QFile::exists(QStringLiteral("/tmp/pkgupdate/UPDATE.CONF")));
    }
}

void VestaPackageTest::unpackBudget_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<int>("budgetMs");

    QTest::newRow("empty package") << qint64(0) << 5000;
    QTest::newRow("199 bytes round down") << qint64(199) << 5000;
    QTest::newRow("20 MB") << qint64(20 * 1024 * 1024) << 109857;
}

void VestaPackageTest::unpackBudget()
{
    QFETCH(qint64, bytes);
    QTEST(SystemBudgets().unpackBudgetMs(bytes), "budgetMs");
}

QTEST_GUILESS_MAIN(VestaPackageTest)
#include "vestapackagetest.moc"
