// What pkgupdate-pack check predicts for a stick against what the real installer
// then does with it on the simulated device (the stick simulator works its
// window): the packages installed, in that order, and the text Install stops
// with. Both reports are kept as one golden transcript.
#include "common/golden.h"
#include "common/testtools.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace TestTools;

class CheckPredictionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void installsAsPredicted();
};

void CheckPredictionTest::installsAsPredicted()
{
    // Every kind of name; a wrong BSP, a missing signature and a tampered archive;
    // an installer and a program that are not pre-selected (not newer, not newest).
    QTemporaryDir row;
    const CPackageMaker maker(row.path());
    const QString stick = row.filePath(QStringLiteral("stick"));
    QVERIFY(QDir().mkpath(stick));
    for (const char* sample : { "doc 1.36.0", "doc 1.41.0", "tampered 1.36.0" })
        QVERIFY(maker.makeSample(QString(sample).section(' ', 0, 0), stick, QString(sample).section(' ', 1)));
    for (const char* options : { "--name ins --version 2.0.0 --bsp 1.36.0", "--name bin --version 3.0.5 --bsp 1.36.0",
             "--old-style --version 2.1.0 --bsp pkg --no-signature" }) {
        const QStringList arguments = QString(options).split(' ') << TestPaths::source("README.md=/usr");
        QVERIFY(!maker.make(QStringLiteral("files"), stick, arguments).isEmpty());
    }

    const QStringList device { "--help-version", "3.0.0", "--key", maker.publicKey(), stick };
    const QString pack = TestPaths::build(QStringLiteral("tools/pack/pkgupdate-pack"));
    const ToolResult check = runTool(pack, QStringList { "check" } + device);
    const ToolResult json = runTool(pack, QStringList { "check", "--json" } + device);
    const ToolResult run = runTool(TestPaths::source("tools/stick-simulator"),
        QStringList { "--build", TestPaths::build(QString()), "--out", row.filePath("out") } + device, 600000);

    const QJsonObject install = QJsonDocument::fromJson(json.output.toUtf8()).object()["install"].toObject();
    QStringList logged;
    for (const QString& line : QString(readFile(row.filePath("out/device/root/usr/local/share/corvane/update.log"), ""))
                                   .split('\n', Qt::SkipEmptyParts))
        logged << line.section(' ', -1);
    QCOMPARE(logged, install["installed"].toVariant().toStringList());
    // openssl's error lines start with its thread's number.
    const QRegularExpression thread(QStringLiteral("[0-9A-F]+:error:"));
    const QString stop = QString("??? Signature error= " + install["refusal"].toString()).replace(thread, "error:");
    QVERIFY2(QString(readFile(row.filePath("out/device/console"))).replace(thread, "error:").contains(stop),
        qPrintable(stop));

    QString text;
    for (const ToolResult* result : { &check, &json, &run })
        text += QStringLiteral("exit %1\n%2%3\n").arg(result->exitCode).arg(result->output, result->errors);
    text.replace(row.path(), QStringLiteral("ROW"));
    text.replace(QRegularExpression("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ"), QStringLiteral("TIME"));
    text.replace(
        QRegularExpression("(Verification failure ; )[^\"\\n]*"), QStringLiteral("\\1(openssl's error lines)"));
    text.replace(QRegularExpression("(update.log  \\d+) \\w+"), QStringLiteral("\\1 SUM"));
    QCOMPARE_GOLDEN("system/data/check-prediction.ref", text);
}

QTEST_GUILESS_MAIN(CheckPredictionTest)
#include "checkpredictiontest.moc"
