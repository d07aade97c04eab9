// The installer as a power cut and a hostile package find it, on a flash that is a
// tmpfs over /usr/local. A large tree is installed as help files and as a program,
// on a roomy flash and on one that fills up; then the installer is killed (SIGKILL)
// at random moments, most of them while it copies (PKGUPDATE_KILL_POINTS per case,
// at least 8; each case prints how many it tried and what it found), and every file
// the package touches, installer.ini included, must be wholly old or wholly new; a
// staging file left by an interrupted installation is gone once its directory is
// installed to. Packages that DELETE vital directories or carry a huge UPDATE.CONF
// are refused or cut. Runs only inside simdevice/device-sandbox.

#include "common/golden.h"
#include "common/testtools.h"
#include "install/cworker.h"
#include "settings/cparameter.h"
#include "system/csystem_vesta.h"

#include <QDateTime>
#include <QProcess>
#include <QRandomGenerator>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <csignal>
#include <set>
#include <sys/mount.h>

using namespace TestTools;

namespace {

const QString kShare = QStringLiteral("/usr/local/share/corvane/");

// A device file before or after the installation; the sizes differ, so a cut file is
// neither. installer.ini after it is what the installer writes when it ends.
QByteArray content(const QString& path, bool fresh)
{
    if (path.endsWith(QLatin1String(".ini")))
        return fresh ? "Language=:/lang/de\nReRun=true\n\n" : "Language=:/lang/de\n\n";
    return (fresh ? "new " : "old ") + path.toLatin1().repeated(fresh ? 60 : 20);
}

// The files a package touches: the program, installer.ini and 238 help files.
const QStringList kFiles = [] {
    QStringList files { QStringLiteral("/usr/local/bin/corvane"), kShare + QStringLiteral("installer.ini") };
    for (int index = 2; index < 240; ++index)
        files << kShare + QStringLiteral("help/d%1/f%2.html").arg(index % 12).arg(index);
    return files;
}();

// Runs the installer (main) and returns its exit code; kills it after killAfterUs unless that is negative.
int runChild(const QString& archive, qint64 killAfterUs = -1)
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), { QStringLiteral("--install"), archive });
    if (child.waitForStarted() && killAfterUs >= 0 && ::usleep(useconds_t(killAfterUs)) == 0)
        ::kill(-pid_t(child.processId()), SIGKILL); // its group: tar and openssl too
    return child.waitForFinished(60000) ? child.exitCode() : -1;
}

// "old", "new", "new and old"; or what is wrong.
QString deviceState()
{
    std::set<QString> states;
    for (const QString& file : kFiles) // "bad" when neither, "old" or "new", never both
        states.insert(QStringList { "bad " + file, "old", "new" }.at(
            int(readFile(file) == content(file, false)) + 2 * int(readFile(file) == content(file, true))));
    return QStringList(states.cbegin(), states.cend()).join(QStringLiteral(" and "));
}

} // namespace

class InstallSafetyTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_work;
    CPackageMaker m_maker { m_work.path() };

    void resetDevice()
    {
        runTool(QStringLiteral("rm"), { "-rf", "/usr/local/bin", "/usr/local/share" });
        writeFile(kShare + QStringLiteral("qelsslkey.pem"), readFile(m_maker.publicKey()));
        for (const QString& file : kFiles)
            QVERIFY(writeFile(file, content(file, false)));
        // Left by an interrupted installation of a file that is no longer installed.
        QVERIFY(writeFile(kShare + QStringLiteral("help/d0/.gone.html.pkgupdate"), "stale"));
    }

private Q_SLOTS:
    void installations()
    {
        QVERIFY2(
            QFileInfo::exists(QStringLiteral("/var/log/device-calls.log")), "must run in simdevice/device-sandbox");
        QVERIFY(::mount("flash", "/usr/local", "tmpfs", 0, "size=64m") == 0 && m_maker.isValid());
        QFile::link(kShare, QStringLiteral("/share-link"));
        for (const QString& file : kFiles)
            writeFile(m_work.filePath("tree") + file, content(file, true));
        writeFile(m_work.filePath(QStringLiteral("UPDATE.CONF")), "BSP = " + QByteArray(4 << 20, 'x'));
        const QStringList common { "--version", "3.1.0", "--bsp", "1.36.0", m_work.filePath(QStringLiteral("tree")) };
        QString transcript;
        for (const QString& testCase : dataLines("install/data/installsafety.txt")) {
            const QStringList row = QString(testCase).replace("WORK", m_work.path()).split(' ');
            const QString archive = m_maker.make("tree", m_work.filePath("stick"), row.mid(1) + common);
            resetDevice();
            const qint64 filler = QStorageInfo(QStringLiteral("/usr/local")).bytesAvailable() - row[0].toInt() * 1024;
            runTool("fallocate", { "-l", QString::number(row[0] == "0" ? 0 : filler), "/usr/local/filler" + row[0] });
            QFile(QStringLiteral("/dev/console")).resize(0);
            const qint64 startMs = QDateTime::currentMSecsSinceEpoch();
            transcript += QStringLiteral("%1: exit %2").arg(row.join(' ')).arg(runChild(archive));
            const double wholeRunUs = (QDateTime::currentMSecsSinceEpoch() - startMs) * 1000.0;
            transcript += ", device " + deviceState() + '\n';
            transcript += runTool("find", { "/usr/local", "-name", ".*" }).output; // temporaries left over
            for (const QString& line : QString(readFile("/dev/console")).split('\n', Qt::SkipEmptyParts))
                transcript += line.startsWith("copy") ? QString() : "    " + line.right(99) + '\n';
            QStringList states;
            // Not killed: a flash too full to stage even one file (1 kB), where each old
            // file is removed before its copy.
            const bool killed = row.size() == 3 && row[0] != QLatin1String("1");
            for (int point = qMax(qEnvironmentVariableIntValue("PKGUPDATE_KILL_POINTS"), 8); killed && point > 0;
                 --point) {
                resetDevice();
                // Most moments near the end, where the files are copied.
                runChild(archive, qint64(wholeRunUs * (1 - std::pow(QRandomGenerator::global()->generateDouble(), 3))));
                states << deviceState();
                QVERIFY2(!states.last().contains("bad"), qPrintable(states.last()));
            }
            qInfo().noquote() << row.join(' ') + ':' << states.size() << "kill points:" << states.join(", ");
        }
        QCOMPARE_GOLDEN("install/data/installsafety.ref", transcript.replace(m_work.path(), "WORK"));
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--install") == 0 && ::setpgid(0, 0) == 0) {
        // The installer while it replaces files: Install, then installer.ini written as
        // the window writes it after a successful installation.
        CSystem_Vesta system;
        system.setBudgets(SystemBudgets { 1000, 50000, 5000, 200, 0 });
        CWorker worker(system);
        CParameter settings(system.shareDir);
        QList<UpdatePackage> packages { UpdatePackage(QFileInfo(QString::fromLocal8Bit(argv[2]))) };
        parseName(packages[0], system.bspVersion);
        packages[0].selected = true;
        const int result = worker.Install(packages);
        if (result != InstallFailed)
            settings.SetReRun();
        return result;
    }
    InstallSafetyTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "installsafetytest.moc"
