// One update run per row, with a fake platform object: the command line, what
// is done to the device, the console lines and the exit status, for every way
// the window can be left, both RAM-disk failures and a new installer or reboot
// that cannot be started.
#include "app/updaterun.h"
#include "common/fakesystem.h"
#include "common/golden.h"
#include "common/testtools.h"
#include "discovery/cupdatecollector.h"
#include "install/cworker.h"

#include <QApplication>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace {

// Ends the event loop with loopResult once the main application is stopped, that
// is once the window is about to open, and notes the pointers pushed by then.
class CLeavingSystem : public CFakeSystem {
public:
    using CFakeSystem::CFakeSystem;

    bool Stop_CV3() override
    {
        QStringList pointers;
        for (; QApplication::overrideCursor(); QApplication::restoreOverrideCursor())
            pointers << (QApplication::overrideCursor()->shape() == Qt::BlankCursor ? "blank" : "other");
        const QSize icon = QApplication::windowIcon().availableSizes().value(0);
        calls << QStringLiteral("Stop_CV3, pointers: %1, window icon %2x%3")
                     .arg(pointers.join(QLatin1Char(' ')))
                     .arg(icon.width())
                     .arg(icon.height());
        QTimer::singleShot(0, [this] { QCoreApplication::exit(loopResult); });
        return true;
    }
    bool Mount_Tmpf_Bigger(bool bigger) override
    {
        (void)CFakeSystem::Mount_Tmpf_Bigger(bigger); // notes the call
        return !failing.contains(QLatin1String(bigger ? "enlarge" : "shrink"));
    }

    int loopResult = 0;
    QStringList failing; // "enlarge", "shrink": that mount fails
};

} // namespace

class RunSequenceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runs();
};

void RunSequenceTest::runs()
{
    QTemporaryDir work;
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(work.path())); // else Qt warns about it
    qputenv("QT_QPA_GENERIC_PLUGINS", "none"); // the touch input is the panel start's matter
    const QString stick = work.filePath(QStringLiteral("stick"));
    QVERIFY(TestTools::writeFile(stick + "/bin-3.1.0-BSP-1.36.0.tar.bz2", "x"));
    QVERIFY(TestTools::writeFile(stick + "/bin-3.1.0-BSP-1.36.0.tar.bz2.sha1", "x"));
    CollectorEnvironment device;
    device.deviceBsp = QStringLiteral("1.36.0");
    device.programPath = work.filePath(QStringLiteral("none"));
    QString transcript = QStringLiteral("installer %1, program query: start %2 ms, answer %3 ms\n")
                             .arg(device.installerVersion.toString())
                             .arg(device.programStartMs)
                             .arg(device.programFinishMs);
    for (const QString& line : TestTools::dataLines(QStringLiteral("app/data/runs.txt"))) {
        const QStringList row = line.split(QStringLiteral(" | "));
        CLeavingSystem system(work.filePath(QStringLiteral("share/")), work.filePath(QStringLiteral("tmp")));
        system.loopResult = row[2].toInt();
        system.failing = system.failingCalls = row[3].split(QLatin1Char(' '), Qt::SkipEmptyParts);
        CUpdateCollector collector(6, device);
        CWorker worker(system);
        QByteArrayList arguments { "pkgupdate" };
        for (const QString& argument : row[1].split(QLatin1Char(' '), Qt::SkipEmptyParts))
            arguments << (argument == QLatin1String("STICK") ? stick : argument).toLocal8Bit();
        QVector<char*> argv;
        for (QByteArray& argument : arguments)
            argv << argument.data();
        int argc = argv.size();
        qputenv("QWS_MOUSE_PROTO", row[4].mid(1).chopped(1).toLocal8Bit());
        // A previous package left in the unpack directory, with a link out of it.
        QVERIFY(TestTools::writeFile(work.filePath("share/keep"), "x")
            && TestTools::writeFile(work.filePath("tmp/old"), "x"));
        QVERIFY(QFile::link(work.filePath("share"), work.filePath("tmp/share"))
            || QFile::exists(work.filePath("tmp/share")));
        const TestTools::CDiagnosticsRecorder console;

        const int status = runInstaller(
            argc, argv.data(), { system, collector, worker, CVersion(2, 0, 0, false), CVersion("34725"), QString() });

        transcript
            += QStringLiteral(
                "\n== %1\npkgupdate %2\nexit %3\ncalls: %4\nunpack directory %6, share %7\nconsole:\n%5\n")
                   .arg(row[0], row[1])
                   .arg(status)
                   .arg(system.calls.join(QStringLiteral(" | ")),
                       console.lines().filter(QRegularExpression("^(?!This plugin|No such plugin)")).join('\n'),
                       QFile::exists(work.filePath("tmp/old")) ? QStringLiteral("kept") : QStringLiteral("cleared"),
                       QFile::exists(work.filePath("share/keep")) ? QStringLiteral("kept") : QStringLiteral("lost"))
                   .replace(stick, QStringLiteral("STICK"));
    }
    QCOMPARE_GOLDEN("app/data/runs.ref", transcript);
}

QTEST_APPLESS_MAIN(RunSequenceTest)
#include "runsequencetest.moc"
