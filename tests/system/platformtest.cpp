// The platform object on the simulated device: the rows of data/platform-rows.txt,
// each an operation with its setup, give one golden transcript of results, error
// texts, console lines and the calls of the programs started. Every program
// started by name is a wrapper, the whole PATH, that notes its call in the
// device's call log and runs the real tool or a body of its own (a crash, a hang
// past the budget), or is left out for a failed start.
#include "common/devicefiles.h"
#include "common/golden.h"
#include "common/testtools.h"
#include "system/csystem_vesta.h"
#include "system/removetree.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <memory>

using namespace TestTools;

namespace {

const QString kCallLog = QStringLiteral("/var/log/device-calls.log");
const QString kWork = QStringLiteral("/home/work");
const QString kScratch = kWork + QStringLiteral("/scratch");
const QString kGood = kWork + QStringLiteral("/good/bin-1.0.0-BSP-1.36.0.tar.bz2");
const QString kCopy = kWork + QStringLiteral("/copy.tar.bz2");

QString outcome(bool result, const QString& error = QStringLiteral("-"))
{
    return QLatin1String(result ? "true" : "false")
        + (error == QLatin1String("-") ? QString()
                : error.isNull()       ? ", error null"
                                       : ", error \"" + error + '"');
}

// A line per entry below dir: its path and what DeviceFiles::snapshot notes of it.
QString tree(const QString& dir)
{
    QString text;
    const DeviceFiles::Snapshot entries = DeviceFiles::snapshot(dir);
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry)
        text += "\n  " + entry.key().mid(dir.size() + 1) + ' ' + entry.value();
    return text;
}

// A clean scratch and unpack directory, then the entries of argument ("d:dir",
// "f:file", "l:link=target"; below the scratch directory unless absolute), and
// the good package as kCopy: "as built", "appended" a byte, "unsigned" or "cut" in half.
void prepareFiles(const QString& argument)
{
    QDir(kScratch).removeRecursively();
    QFile::remove(QStringLiteral("/tmp/pkgupdate"));
    QDir(QStringLiteral("/tmp/pkgupdate")).removeRecursively();
    for (const QString& entry : argument.split(' ').filter(QRegularExpression("^[dfl]:"))) {
        const QString path = QDir(kScratch).filePath(entry.mid(2).section('=', 0, 0));
        QDir().mkpath(QFileInfo(path).path());
        (void)(entry[0] == 'd'    ? QDir().mkpath(path)
                : entry[0] == 'f' ? writeFile(path, "x")
                                  : QFile::link(entry.section('=', 1), path));
    }
    for (const QString suffix : { "", ".sha1" }) {
        QFile::remove(kCopy + suffix);
        QFile::copy(kGood + suffix, kCopy + suffix);
    }
    QFile copy(kCopy);
    if (argument == QLatin1String("appended") && copy.open(QIODevice::Append))
        copy.write("x");
    if (argument == QLatin1String("cut"))
        copy.resize(copy.size() / 2);
    if (argument == QLatin1String("unsigned"))
        QFile::remove(kCopy + ".sha1");
}

// Wrappers for the programs started by name, as setup asks (see the rows file).
void makeWrappers(const QStringList& setup)
{
    QDir(QStringLiteral("/root/bin")).removeRecursively();
    for (const QString tool : { "openssl", "tar", "mount", "df", "ls", "du" }) {
        const QString body = setup.filter(QRegularExpression('^' + tool + '=')).value(0).section('=', 1);
        const QByteArray real = tool.size() == 2 ? "" : "PATH=/usr/bin exec /usr/bin/" + tool.toLatin1() + " \"$@\"";
        if (!setup.contains('-' + tool))
            writeScript("/root/bin/" + tool,
                "echo \"" + tool.toLatin1() + " $*\" >>" + kCallLog.toLatin1() + '\n'
                    + (body.isEmpty() ? real : body.toLatin1())); // df, ls and du only note their call
    }
}

QString run(CSystem_Vesta& system, const QString& operation, const QString& argument)
{
    prepareFiles(argument);
    QString error = QStringLiteral("left from before");
    if (operation == QLatin1String("verifySignature")) {
        const bool verified = system.verifySignature(QFileInfo(kCopy), error);
        return outcome(verified, error);
    }
    if (operation == QLatin1String("Unpack")) {
        QDir().mkdir(system.tempDir);
        const bool unpacked = system.Unpack(QFileInfo(kCopy), error);
        return outcome(unpacked, error) + tree(system.tempDir);
    }
    if (operation == QLatin1String("PrepareTempDir")) {
        QElapsedTimer clock;
        clock.start();
        const bool prepared = system.PrepareTempDir();
        return outcome(prepared) + (clock.elapsed() >= 1000 ? ", paused" : "") + tree(system.tempDir);
    }
    const bool result = operation == QLatin1String("Stop_CV3") ? system.Stop_CV3()
        : operation == QLatin1String("Start_CV3")              ? system.Start_CV3()
        : operation == QLatin1String("Installer")              ? system.Installer(argument)
        : operation == QLatin1String("Reset")                  ? system.Reset()
        : operation == QLatin1String("Mount_Tmpf_Bigger") ? system.Mount_Tmpf_Bigger(argument == QLatin1String("true"))
        : operation == QLatin1String("Execute")           ? system.Execute(argument)
        : operation == QLatin1String("RemoveTree")        ? RemoveTree(kScratch + "/t")
                                                   : system.CopySymlink(kScratch + "/source", kScratch + "/copy");
    return outcome(result) + tree(kScratch);
}

// Sets up and runs one row ("operation [argument]" and its setup); its transcript.
QString perform(CSystem_Vesta& system, const QString& operation, const QStringList& setup)
{
    makeWrappers(setup);
    SystemBudgets budgets;
    budgets.verifyMs = 2000;
    budgets.unpackBaseMs = setup.filter("unpackMs=").value(0, "=5000").section('=', 1).toInt();
    budgets.prepareSleepMs = setup.filter("pauseMs=").value(0, "=0").section('=', 1).toInt();
    system.setBudgets(budgets);
    system.bspVersion = setup.filter("bsp=").value(0, "=1.36.0").section('=', 1);
    const QStringList removed = setup.filter(QRegularExpression("^-/")).replaceInStrings("-/", "/");
    for (const QString& program : removed)
        QFile::rename(program, program + ".off");
    const QStringList plain = setup.filter(QRegularExpression("^-x/")).replaceInStrings("-x/", "/");
    const QFile::Permissions executable = QFile::ExeOwner | QFile::ExeUser | QFile::ExeGroup | QFile::ExeOther;
    for (const QString& program : plain)
        QFile::setPermissions(program, QFile::permissions(program) & ~executable);
    writeFile(kCallLog, QByteArray());
    const qint64 consoleStart = QFileInfo(QStringLiteral("/dev/console")).size();
    QElapsedTimer clock;
    clock.start();

    const QString result = run(system, operation.section(' ', 0, 0), operation.section(' ', 1));

    const bool slow = clock.elapsed() > 5000;
    for (const QString& program : removed)
        QFile::rename(program + ".off", program);
    for (const QString& program : plain)
        QFile::setPermissions(program, QFile::permissions(program) | executable);
    // Programs started detached note their call a little later.
    for (int waited = 0; waited < 3000 && readFile(kCallLog).isEmpty()
         && operation.contains(QRegularExpression("^(Installer|Reset)")) && removed.isEmpty() && plain.isEmpty();
         waited += 50)
        QThread::msleep(50);
    return QStringLiteral("%1%2\nconsole: %3\ncalls:\n%4")
        .arg(result, QLatin1String(slow ? " (slow)" : ""),
            QString::fromLocal8Bit(readFile("/dev/console").mid(consoleStart)).replace('\n', " | "),
            QString::fromLocal8Bit(readFile(kCallLog)));
}

} // namespace

class PlatformTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void operations();
};

void PlatformTest::operations()
{
    // Lives until the process ends, like on the device.
    static const auto system = std::make_unique<CSystem_Vesta>();
    const CPackageMaker maker(kWork);
    QVERIFY(maker.isValid() && QFile::copy(maker.publicKey(), system->UpdateKeyFile()));
    QVERIFY(writeScript(kWork + "/tree/usr/local/bin/x", "echo hello"));
    QVERIFY(QFile::link(QStringLiteral("x"), kWork + "/tree/usr/local/bin/y"));
    QCOMPARE(maker.make("tree", kWork + "/good",
                 { "--name", "bin", "--version", "1.0.0", "--bsp", "1.36.0", kWork + "/tree" }),
        kGood);
    qputenv("PATH", "/root/bin");

    const SystemBudgets defaults;
    QString transcript = QString::asprintf("budgets: start %d ms, signature %d ms, unpack %d ms + 1 ms per %d bytes "
                                           "(empty %d ms, 20 MiB %d ms), pause %d ms\n",
        defaults.startMs, defaults.verifyMs, defaults.unpackBaseMs, defaults.unpackBytesPerMs,
        defaults.unpackBudgetMs(0), defaults.unpackBudgetMs(20 << 20), defaults.prepareSleepMs);
    for (const QString& row : dataLines("system/data/platform-rows.txt")) {
        const QStringList fields = row.split(QStringLiteral(" | "));
        transcript += "\n== " + fields[0] + '\n' + perform(*system, fields.value(1), fields.mid(2));
    }
    // openssl's own error lines, without thread number and source line.
    transcript.replace(QRegularExpression("[0-9A-F]{8,}:error:[0-9A-F]{8}:"), QStringLiteral("error:"));
    transcript.replace(QRegularExpression("\\.\\./[\\w/]+\\.c:\\d+:"), QStringLiteral("SOURCE:"));
    // A difference is shown by diff, on the test's output rather than the console.
    qputenv("PATH", "/usr/bin");
    qInstallMessageHandler(nullptr);
    QCOMPARE_GOLDEN("system/data/platform.ref", transcript);
}

QTEST_GUILESS_MAIN(PlatformTest)
#include "platformtest.moc"
