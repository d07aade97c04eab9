// Runs of the real installer worked through its window on the simulated device,
// as pkgupdate-pack simulate and tools/demo report them to device makers: packages
// found, what the technician did, every message-line text, update.log, the files
// the device gained, changed or lost, the installer's output, console lines, the
// calls of the device's programs and its next step, against golden transcripts.
#include "common/golden.h"
#include "common/testtools.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace TestTools;

class StickRunTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void reports_data();
    void reports();
};

void StickRunTest::reports_data()
{
    // Kind and BSP (CPackageMaker::makeSample), or pkgupdate-pack build options for a files
    // package; no packages: the demo.
    QTest::addColumn<QStringList>("packages");

    QTest::newRow("demo") << QStringList();
    QTest::newRow("hand-over") << QStringList { "ins 1.36.0" };
    QTest::newRow("refused") << QStringList { "tampered 1.36.0", "doc 1.41.0",
        "--old-style --version 2.1.0 --bsp pkg --no-signature" };
    QTest::newRow("quit-without-installing") << QStringList { "bin 1.41.0" };
}

void StickRunTest::reports()
{
    QFETCH(QStringList, packages);
    QTemporaryDir row;
    const CPackageMaker maker(row.path());
    QVERIFY(QDir().mkpath(row.filePath(QStringLiteral("stick"))));
    for (const QString& package : packages) {
        QVERIFY(package.startsWith("--")
                ? !maker.make("files", row.filePath("stick"), package.split(' ') << TestPaths::source("README.md=/usr"))
                       .isEmpty()
                : maker.makeSample(package.section(' ', 0, 0), row.filePath("stick"), package.section(' ', 1)));
    }
    const ToolResult report = packages.isEmpty()
        ? runTool(TestPaths::source("tools/demo"),
            { "--headless", "--build", TestPaths::build(QString()), "--out", row.filePath("out") }, 600000)
        : runTool(TestPaths::packCommand().constFirst(),
            TestPaths::packCommand().mid(1)
                + QStringList { "simulate", "--build", TestPaths::build(QString()), "--out", row.filePath("out"),
                    "--key", maker.publicKey(), "--help-version", "3.0.0", row.filePath("stick") },
            600000);
    QString text = QStringLiteral("exit %1\n%2%3").arg(report.exitCode).arg(report.output, report.errors);
    text.replace(row.path(), QStringLiteral("ROW"));
    text.replace(QRegularExpression("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ"), QStringLiteral("TIME"));
    text.replace(QRegularExpression("(Verification failure ; ).*"), QStringLiteral("\\1(openssl's error lines)"));
    text.replace(QRegularExpression("(update.log  \\d+) \\w+"), QStringLiteral("\\1 SUM"));
    QVERIFY(Golden::matches(QStringLiteral("system/data/%1.ref").arg(QTest::currentDataTag()), text));
}

QTEST_GUILESS_MAIN(StickRunTest)
#include "stickruntest.moc"
