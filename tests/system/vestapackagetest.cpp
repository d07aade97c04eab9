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

#include <memory>
#include <optional>

using namespace TestTools;

class VestaPackageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void verifySignature_data();
    void verifySignature();
    void unpack_data();
    void unpack();
    void unpackBudget();

private:
    QString packageCopy(const QString& spoil);
    QString fakes(const QString& program, const QByteArray& body);
    void checkError(const QString& error, const QString& pattern);

    QTemporaryDir m_work;
    std::unique_ptr<CSystem_Vesta> m_system; // ends with the test object, after every test
    QString m_good;
    QElapsedTimer m_clock;
};

void VestaPackageTest::initTestCase()
{
    m_system = std::make_unique<CSystem_Vesta>();
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
    budgets.verifyMs = 500;
    m_system->setBudgets(budgets);
    m_system->ReadBspVersion();
    QVERIFY(RemoveTree(m_system->tempDir));
    QVERIFY(QDir().mkdir(m_system->tempDir));
    m_clock.start();
}

// A copy of the good package and its signature, spoilt: "append" a byte,
// "nosig" without its .sha1, "truncate" to half its size.
QString VestaPackageTest::packageCopy(const QString& spoil)
{
    const QString copy = m_work.filePath(QStringLiteral("copy.tar.bz2"));
    for (const QString suffix : { "", ".sha1" }) {
        QFile::remove(copy + suffix);
        QFile::copy(m_good + suffix, copy + suffix);
    }
    QFile file(copy);
    if (spoil == QLatin1String("append") && file.open(QIODevice::Append))
        file.write("x");
    if (spoil == QLatin1String("nosig"))
        QFile::remove(copy + QStringLiteral(".sha1"));
    if (spoil == QLatin1String("truncate"))
        file.resize(file.size() / 2);
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

// Well within the time-outs, with an error matching pattern or a null error for none.
void VestaPackageTest::checkError(const QString& error, const QString& pattern)
{
    QVERIFY(m_clock.elapsed() < 5000);
    QVERIFY2(pattern.isEmpty() ? error.isNull() : error.contains(QRegularExpression(pattern)), qPrintable(error));
}

void VestaPackageTest::verifySignature_data()
{
    QTest::addColumn<QString>("spoil");
    QTest::addColumn<QByteArray>("openssl"); // a fake's body; null: the real one; "none": not on PATH
    QTest::addColumn<bool>("verified");
    QTest::addColumn<QString>("error"); // pattern
    QTest::addColumn<QByteArray>("console");

    const QByteArray real;
    const QString joined = QStringLiteral("^[^\n]* ; [^\n]+$"); // openssl's output and error output on one line
    const QByteArray exit1("??? verifySignature() exit= 1\n");
    QTest::newRow("good package") << "" << real << true << "" << QByteArray();
    QTest::newRow("tampered archive") << "append" << real << false << joined << exit1;
    QTest::newRow("missing signature file") << "nosig" << real << false << joined << exit1;
    QTest::newRow("unknown BSP, no key path") << "bsp" << real << false << joined << exit1;
    QTest::newRow("answer with extra blanks") << "" << QByteArray("printf '  Verified \\t OK \\n\\n'") << true << ""
                                              << QByteArray();
    QTest::newRow("answer with full stop") << "" << QByteArray("printf 'Verified OK.'") << false << "" << QByteArray();
    QTest::newRow("exit code 1, output joined")
        << "" << QByteArray("echo 'Verification Failure'; printf 'bad\\n  sig\\n' >&2; exit 1") << false
        << "^Verification Failure ; bad sig$" << exit1;
    QTest::newRow("hangs past budget") << "" << QByteArray("exec sleep 30") << false << "^Verify Signature timed out!$"
                                       << QByteArray("??? verifySignature() timeout.\n");
    QTest::newRow("not found") << "" << QByteArray("none") << false << "^Not started: .+"
                               << QByteArray("??? verifySignature() not startet.\n");
}

void VestaPackageTest::verifySignature()
{
    QFETCH(QString, spoil);
    QFETCH(QByteArray, openssl);
    const QString package = packageCopy(spoil);
    if (spoil == QLatin1String("bsp"))
        m_system->bspVersion = QStringLiteral("9.9.9");
    std::optional<CPathOverride> path;
    if (!openssl.isNull())
        path.emplace(fakes(QStringLiteral("openssl"), openssl == "none" ? QByteArray() : openssl), openssl == "none");
    const CConsoleWatch console;

    QString result = QStringLiteral("left from before");
    QTEST(m_system->verifySignature(QFileInfo(package), result), "verified");

    QFETCH(QString, error);
    checkError(result, error);
    QTEST(console.written(), "console");
}

void VestaPackageTest::unpack_data()
{
    QTest::addColumn<QString>("spoil");
    QTest::addColumn<QByteArray>("tar"); // fake tar's body; null: the real tar
    QTest::addColumn<bool>("unpacked");
    QTest::addColumn<QString>("error"); // pattern

    QTest::newRow("good package") << "" << QByteArray() << true << "";
    QTest::newRow("truncated bzip2 stream") << "truncate" << QByteArray() << false << "^ ; .*bzip2";
    QTest::newRow("over budget stays true") << "" << QByteArray("exec sleep 30") << true << "";
    QTest::newRow("exit code 2") << "" << QByteArray("echo out; echo ' err  text' >&2; exit 2") << false
                                 << "^out ; err text$";
}

void VestaPackageTest::unpack()
{
    QFETCH(QString, spoil);
    QFETCH(QByteArray, tar);
    QFETCH(bool, unpacked);
    const QString package = packageCopy(spoil);
    SystemBudgets budgets = m_system->budgets();
    budgets.unpackBaseMs = tar.isNull() ? budgets.unpackBaseMs : 300;
    m_system->setBudgets(budgets);
    const CPathOverride path(fakes(QStringLiteral("tar"), tar));

    QString result = QStringLiteral("left from before");
    QCOMPARE(m_system->Unpack(QFileInfo(package), result), unpacked);

    QFETCH(QString, error);
    checkError(result, error);
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

void VestaPackageTest::unpackBudget()
{
    QCOMPARE(SystemBudgets().unpackBudgetMs(0), 5000);
    QCOMPARE(SystemBudgets().unpackBudgetMs(199), 5000);
    QCOMPARE(SystemBudgets().unpackBudgetMs(20 * 1024 * 1024), 109857);
}

QTEST_GUILESS_MAIN(VestaPackageTest)
#include "vestapackagetest.moc"
