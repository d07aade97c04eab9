// What pkgupdate-pack check predicts for a stick against what the real installer
// then does with it on the simulated device (pkgupdate-pack simulate works its
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
    void installsAsPredicted_data();
    void installsAsPredicted();
    void refusesWithoutWindow();
};

void CheckPredictionTest::installsAsPredicted_data()
{
    // Kind and BSP (CPackageMaker::makeSample), or pkgupdate-pack build options for a files package.
    QTest::addColumn<QStringList>("packages");
    // Every kind of name; a wrong BSP, a missing signature and a tampered archive;
    // an installer and a program that are not pre-selected (not newer, not newest).
    QTest::newRow("every-kind") << QStringList { "doc 1.36.0", "doc 1.41.0", "tampered 1.36.0",
        "--name ins --version 2.0.0 --bsp 1.36.0", "--name bin --version 3.0.5 --bsp 1.36.0",
        "--old-style --version 2.1.0 --bsp pkg --no-signature" };
    // The help files first, then the program, which ends the run with a reboot.
    QTest::newRow("reboot") << QStringList { "bin 1.36.0", "doc 1.36.0" };
    // Help files of a lower version than the program come after it: the reboot leaves them.
    QTest::newRow("reboot-leaves-help") << QStringList { "bin 1.36.0", "--name doc --version 3.0.1 --bsp 1.36.0" };
    // Help files alone: the window stays open with "Ready", Quit restarts the application.
    QTest::newRow("help-only") << QStringList { "doc 1.36.0" };
    // The installer first: it hands over, the help files are left to the new one.
    QTest::newRow("hand-over") << QStringList { "doc 1.36.0", "ins 1.36.0" };
    // Mistakes of device makers: a DELETE the installer refuses; the installer's
    // binary itself as /usr/local/bin/pkgupdate, which refuses the lone stick path
    // of the hand-over; an installer package without it; a relative destination.
    QTest::newRow("delete-refused") << QStringList { "--name doc --version 3.1.0 --bsp 1.36.0 --delete /usr/local" };
    QTest::newRow("hand-over-refused") << QStringList {
        "--name ins --version 2.1.0 --bsp 1.36.0 BUILD/pkgupdate=/usr/local/bin"
    };
    QTest::newRow("installer-missing") << QStringList { "--name ins --version 2.1.0 --bsp 1.36.0" };
    QTest::newRow("relative-destination")
        << QStringList { "--name bin --version 3.1.0 --bsp 1.36.0 SOURCE/README.md=usr/share" };
}

// A row's build options, with BUILD/ and SOURCE/ made paths, and a file when none is given.
static QStringList buildArguments(const QString& row)
{
    QStringList arguments = QString(row)
                                .replace("BUILD/", TestPaths::build(QString()))
                                .replace("SOURCE/", TestPaths::source(QString()))
                                .split(' ');
    if (arguments.filter(QStringLiteral("=")).isEmpty())
        arguments << TestPaths::source("README.md=/usr");
    return arguments;
}

void CheckPredictionTest::installsAsPredicted()
{
    QFETCH(QStringList, packages);
    QTemporaryDir row;
    const CPackageMaker maker(row.path());
    // A blank in the stick's path, as where a desktop mounts it: the device sees /media/usb.
    const QString stick = row.filePath(QStringLiteral("USB DISK"));
    QVERIFY(QDir().mkpath(stick));
    for (const QString& package : packages) {
        QVERIFY(package.startsWith("--")
                ? !maker.make("files", stick, buildArguments(package)).isEmpty()
                : maker.makeSample(package.section(' ', 0, 0), stick, package.section(' ', 1)));
    }

    const QStringList device { "--help-version", "3.0.0", "--key", maker.publicKey(), stick };
    const QString pack = TestPaths::build(QStringLiteral("pack/pkgupdate-pack"));
    const ToolResult check = runTool(pack, QStringList { "check" } + device);
    const ToolResult json = runTool(pack, QStringList { "check", "--json" } + device);
    const ToolResult run = runTool(TestPaths::source("tools/stick-simulator"),
        QStringList { "--build", TestPaths::build(QString()), "--out", row.filePath("out") } + device, 600000);

    const QJsonObject install = QJsonDocument::fromJson(json.output.toUtf8()).object()["install"].toObject();
    QStringList logged;
    for (const QString& line : QString(readFile(row.filePath("out/device/root/usr/local/share/corvane/update.log"), ""))
                                   .split('\n', Qt::SkipEmptyParts))
        logged << line.section(' ', -1);
    QCOMPARE(logged, install["logged"].toVariant().toStringList());
    // openssl's error lines start with its thread's number.
    const QRegularExpression thread(QStringLiteral("[0-9A-F]+:error:"));
    const QString stop = QString("??? Signature error= " + install["refusal"].toString()).replace(thread, "error:");
    QVERIFY2(install["stoppedAt"].isNull()
            || QString(readFile(row.filePath("out/device/console"))).replace(thread, "error:").contains(stop)
            || readFile(row.filePath("out/messages.txt")).contains(install["refusal"].toString().toUtf8()),
        qPrintable(stop));
    QCOMPARE(check.exitCode, run.exitCode);
    const QString next = run.output.section(QStringLiteral("== Next: "), 1);
    QCOMPARE(next.section(' ', 0, 2), install["next"].toString().section(' ', 0, 2));

    QString text;
    for (const ToolResult* result : { &check, &json, &run })
        text += QStringLiteral("exit %1\n%2%3\n").arg(result->exitCode).arg(result->output, result->errors);
    text.replace(row.path(), QStringLiteral("ROW"));
    text.replace(QRegularExpression("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ"), QStringLiteral("TIME"));
    text.replace(
        QRegularExpression("(Verification failure ; )[^\"\\n]*"), QStringLiteral("\\1(openssl's error lines)"));
    text.replace(QRegularExpression("((?:update.log|bin/pkgupdate)  \\d+) \\w+"), QStringLiteral("\\1 SUM"));
    QVERIFY(Golden::matches(QStringLiteral("system/data/check-%1.ref").arg(QTest::currentDataTag()), text));
}

// check alone: two pre-selected programs, a BSP whose key was not given, a
// stick with nothing that can be ticked, a device described by a config file
// (options beside it win), wrong arguments and a config file with a wrong line.
void CheckPredictionTest::refusesWithoutWindow()
{
    QTemporaryDir row;
    const CPackageMaker maker(row.path());
    const QString stick = row.filePath(QStringLiteral("stick"));
    QVERIFY(maker.makeSample("bin", stick, "1.41.0") && maker.makeSample("doc", stick, "1.36.0"));
    QVERIFY(
        !maker
             .make("files", stick,
                 { "--name", "bin_b", "--version", "3.1.0", "--bsp", "1.41.0", TestPaths::source("README.md=/usr") })
             .isEmpty());
    const QString config = row.filePath(QStringLiteral("device.conf"));
    QVERIFY(writeFile(config, "# the panel in the hall\nbsp 1.7.0\nno-program\n"));
    QVERIFY(writeFile(row.filePath("wrong.conf"), "bsp 1.41.0\n\nbsb 1.36.0\n"));
    QString text;
    for (const QStringList& arguments :
        QList<QStringList> { { "--bsp", "1.41.0", stick }, { "--bsp", "1.7.0", "--key", maker.publicKey(), stick },
            { "--json" }, { stick, "--key", "none" }, { "--config", config, "--bsp", "1.41.0", stick },
            { "--config", row.filePath("wrong.conf"), stick }, { "--program-exit", "x", stick } }) {
        const ToolResult result = runTool(TestPaths::build("pack/pkgupdate-pack"), QStringList("check") + arguments);
        text += QStringLiteral("$ check %1\nexit %2\n%3%4\n")
                    .arg(arguments.join(' '))
                    .arg(result.exitCode)
                    .arg(result.output, result.errors);
    }
    QCOMPARE_GOLDEN("system/data/check-refusals.ref", text.replace(row.path(), QStringLiteral("ROW")));
}

QTEST_GUILESS_MAIN(CheckPredictionTest)
#include "checkpredictiontest.moc"
