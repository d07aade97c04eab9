// tools/make-package: the archive's name, its entries, its UPDATE.CONF and its
// signature, checked with tar and openssl.
#include "common/testtools.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace TestTools;

class MakePackageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void package_data();
    void package();
};

void MakePackageTest::package_data()
{
    QTest::addColumn<QStringList>("arguments"); // "SRC": a tree holding usr/local/bin/x
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("conf");
    QTest::addColumn<QStringList>("entries");

    const QString head = QStringLiteral("; made by make-package\n");
    QTest::newRow("tree") << QStringList { "--name", "bin", "--version", "3.2.1", "--bsp", "1.36.0", "--delete", "/a b",
        "--conf-bsp", "1.36.0 1.41.0", "SRC" } << "bin-3.2.1-BSP-1.36.0.tar.bz2"
                          << head + "DELETE = /a b\nBSP = 1.36.0 1.41.0\n"
                          << QStringList { "./UPDATE.CONF", "./usr/local/bin/x" };
    QTest::newRow("old style files, no signature")
        << QStringList { "--old-style", "--version", "2.1.0", "--bsp", "pkg", "--no-signature", "SRC/usr/local/bin/x=/y",
               "SRC/usr/local/bin/x=" }
        << "2.1.0-pkg-update.tar.bz2" << head + "DEST_FILE1 = /y\nDEST_FILE2 = \nFILE_LIST = x x\n"
        << QStringList { "./UPDATE.CONF", "./x" };
}

void MakePackageTest::package()
{
    QFETCH(QStringList, arguments);
    QTemporaryDir work;
    const CPackageMaker maker(work.path());
    QVERIFY(maker.isValid());
    QVERIFY(writeFile(work.filePath(QStringLiteral("src/usr/local/bin/x")), "x"));
    const bool tree = QTest::currentDataTag() == QByteArray("tree");
    const QString archive = maker.make(tree ? QStringLiteral("tree") : QStringLiteral("files"), work.path(),
        arguments.replaceInStrings(QStringLiteral("SRC"), work.filePath(QStringLiteral("src"))));
    QTEST(QFileInfo(archive).fileName(), "fileName");

    QStringList listed = runTool(QStringLiteral("tar"), { "-tjf", archive }).output.split('\n', Qt::SkipEmptyParts);
    listed = listed.filter(QRegularExpression(QStringLiteral("[^/]$")));
    listed.sort();
    QTEST(listed, "entries");
    QTEST(runTool(QStringLiteral("tar"), { "-xjOf", archive, "./UPDATE.CONF" }).output, "conf");
    QCOMPARE(QFile::exists(archive + ".sha1"), tree);
    if (tree)
        QCOMPARE(runTool(QStringLiteral("openssl"),
                     { "dgst", "-sha1", "-verify", maker.publicKey(), "-signature", archive + ".sha1", archive })
                     .output,
            QStringLiteral("Verified OK\n"));
}

QTEST_GUILESS_MAIN(MakePackageTest)
#include "makepackagetest.moc"
