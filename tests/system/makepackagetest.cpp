// tools/make-package: the archive's name, its entries, its UPDATE.CONF and its
// signature, checked by unpacking what it made with tar and openssl.
#include "common/testpaths.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int exitCode = -1;
    QString output;
};

Run runTool(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(30000);
    return Run{process.exitCode(), QString::fromLocal8Bit(process.readAllStandardOutput())};
}

} // namespace

class MakePackageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void package_data();
    void package();

private:
    QTemporaryDir m_work;
    QString m_keys;
};

void MakePackageTest::initTestCase()
{
    m_keys = m_work.filePath(QStringLiteral("keys"));
    QCOMPARE(runTool(TestPaths::source(QStringLiteral("tools/make-package")), {"keygen", m_keys}).exitCode, 0);
    QVERIFY(QFile::exists(m_keys + "/private.pem"));
    QVERIFY(QFile(m_keys + "/public.pem").open(QIODevice::ReadOnly));
    QDir().mkpath(m_work.filePath("src/usr/local/bin"));
    QFile file(m_work.filePath("src/usr/local/bin/x"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("x");
    file.close();
    QVERIFY(QFile::link(QStringLiteral("x"), m_work.filePath("src/usr/local/bin/y")));
    QFile second(m_work.filePath("b.qm"));
    QVERIFY(second.open(QIODevice::WriteOnly));
}

void MakePackageTest::package_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("conf");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<bool>("signature");

    const QStringList common{"--name", "bin", "--version", "3.2.1", "--bsp", "1.36.0"};
    const QString head = QStringLiteral("; made by make-package\n");
    const QStringList treeEntries{"./UPDATE.CONF", "./usr/local/bin/x", "./usr/local/bin/y"};
    QTest::newRow("tree") << (QStringList{"tree"} + common + QStringList{"--delete", "/a b", "--conf-bsp", "1.36.0 1.41.0", "SRC"})
                          << "bin-3.2.1-BSP-1.36.0.tar.bz2" << head + "DELETE = /a b\nBSP = 1.36.0 1.41.0\n"
                          << treeEntries << true;
    QTest::newRow("files in order") << (QStringList{"files"} + common + QStringList{"WORK/b.qm=/usr/share", "SRC/usr/local/bin/x="})
                                    << "bin-3.2.1-BSP-1.36.0.tar.bz2"
                                    << head + "DEST_FILE1 = /usr/share\nDEST_FILE2 = \nFILE_LIST = b.qm x\n"
                                    << QStringList{"./UPDATE.CONF", "./b.qm", "./x"} << true;
    QTest::newRow("old style, no signature")
        << QStringList{"files", "--old-style", "--version", "2.1.0", "--bsp", "pkg", "--no-signature", "WORK/b.qm=/x"}
        << "2.1.0-pkg-update.tar.bz2" << head + "DEST_FILE1 = /x\nFILE_LIST = b.qm\n"
        << QStringList{"./UPDATE.CONF", "./b.qm"} << false;
    QTest::newRow("file name and script given")
        << (QStringList{"tree", "--file-name", "odd.tar.bz2", "--conf", "WORK/b.qm"} + common + QStringList{"SRC"})
        << "odd.tar.bz2" << "" << treeEntries << true;
}

void MakePackageTest::package()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, fileName);
    QFETCH(QString, conf);
    QFETCH(QStringList, entries);
    QFETCH(bool, signature);

    QTemporaryDir out;
    arguments.replaceInStrings(QStringLiteral("SRC"), m_work.filePath("src"));
    arguments.replaceInStrings(QStringLiteral("WORK"), m_work.path());
    arguments << "--key" << m_keys + "/private.pem" << "--out" << out.path();
    const Run made = runTool(TestPaths::source(QStringLiteral("tools/make-package")), arguments);
    QCOMPARE(made.exitCode, 0);
    const QString archive = out.filePath(fileName);
    QCOMPARE(made.output, archive + "\n");

    const Run listing = runTool(QStringLiteral("tar"), {"-tjf", archive});
    QStringList listed = listing.output.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    listed.removeAll(QStringLiteral("./"));
    listed.removeAll(QStringLiteral("./usr/"));
    listed.removeAll(QStringLiteral("./usr/local/"));
    listed.removeAll(QStringLiteral("./usr/local/bin/"));
    listed.sort();
    QCOMPARE(listed, entries);
    QCOMPARE(runTool(QStringLiteral("tar"), {"-xjOf", archive, "./UPDATE.CONF"}).output, conf);

    QCOMPARE(QFile::exists(archive + ".sha1"), signature);
    if (signature) {
        const Run verify = runTool(QStringLiteral("openssl"), {"dgst", "-sha1", "-verify", m_keys + "/public.pem",
                                                              "-signature", archive + ".sha1", archive});
        QCOMPARE(verify.output, QStringLiteral("Verified OK\n"));
    }
}

QTEST_GUILESS_MAIN(MakePackageTest)
#include "makepackagetest.moc"
