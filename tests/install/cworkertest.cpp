// The installation engine on the simulated device. Each data file under data/
// sets up packages and the device, then installs; the transcript of every
// installation (result, messages in order, console lines, platform calls,
// counters, update.log, what changed on the device) is compared with a reviewed
// reference. Tree mode copies onto "/", so this test runs only inside
// simdevice/device-sandbox.

#include "install/cworker.h"
#include "common/devicefiles.h"
#include "common/fakesystem.h"
#include "common/golden.h"
#include "common/testtools.h"
#include "discovery/cupdatecollector.h"
#include "system/csystem_vesta.h"
#include "ui/cmainwidget.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

#include <sys/stat.h>

using namespace TestTools;

namespace {

const QString share = QStringLiteral("/usr/local/share/corvane/");

} // namespace

class CWorkerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void script() { QCOMPARE_GOLDEN("install/data/script.ref", run("install/data/script.txt", *m_device)); }
    void fakeInstallations();
    void deviceInstallation();
    void defaults();

private:
    // Carries out the lines of a data file:
    //   conf TEXT        reads TEXT (with escapes) as UPDATE.CONF; "conf" alone: no file
    //   reject FILE      the fake platform object refuses the signature of FILE
    //   fail CALL        the fake platform object's CALL fails from now on
    //   make MODE ARGS   pkgupdate-pack build into the stick; "@" is the work directory
    //   install NAME KIND VERSION SELECTED(y/n), ...
    //                    installs records of NAME-VERSION-BSP-1.36.0.tar.bz2 on the
    //                    stick; the fake platform unpacks the directory unpacked/NAME
    //   anything else    a file or link (DeviceFiles::writeEntry) in the work directory
    QString run(const QString& dataFile, CSystemTemplate& system, CFakeSystem* fake = nullptr);
    QString transcript(CSystemTemplate& system, CFakeSystem* fake, const QStringList& descriptions);

    QTemporaryDir m_dir;
    std::optional<CSystem_Vesta> m_device;
    CPackageMaker m_maker { m_dir.path() };
};

void CWorkerTest::initTestCase()
{
    QVERIFY2(QFileInfo::exists(QStringLiteral("/var/log/device-calls.log")), "must run in simdevice/device-sandbox");
    ::umask(022); // the modes in the transcripts must not depend on the caller's umask
    // The device's console handler would swallow the golden files' differences.
    const QtMessageHandler testLog = qInstallMessageHandler(nullptr);
    m_device.emplace();
    qInstallMessageHandler(testLog);
    SystemBudgets budgets;
    budgets.prepareSleepMs = 0; // the pause only gives the device's file system time
    m_device->setBudgets(budgets);
    QVERIFY(m_maker.isValid());
    QFile::remove(share + "qelsslkey.pem");
    QVERIFY(QFile::copy(m_maker.publicKey(), share + "qelsslkey.pem"));
}

QString CWorkerTest::run(const QString& dataFile, CSystemTemplate& system, CFakeSystem* fake)
{
    QString text;
    for (const QString& line : dataLines(dataFile)) {
        const QString word = line.section(' ', 0, 0);
        const QString rest = line.section(' ', 1);
        if (word == QLatin1String("conf")) {
            const QString path = m_dir.filePath(QStringLiteral("UPDATE.CONF"));
            QFile::remove(path);
            if (!rest.isEmpty())
                writeFile(path, DeviceFiles::unescaped(rest));
            CWorker worker(system);
            worker.ReadUpdateConf(QFileInfo(path));
            text += line + "\n ->";
            for (auto value = worker.script.cbegin(); value != worker.script.cend(); ++value)
                text += QStringLiteral(" [%1]=[%2]").arg(value.key(), value.value());
            text += '\n';
        } else if (word == QLatin1String("reject")) {
            fake->rejectedPackages << rest;
        } else if (word == QLatin1String("fail")) {
            fake->failingCalls << rest;
        } else if (word == QLatin1String("make")) {
            const QStringList arguments = rest.split(' ').replaceInStrings(QStringLiteral("@"), m_dir.path());
            if (m_maker.make(arguments.first(), m_dir.filePath(QStringLiteral("stick")), arguments.mid(1)).isEmpty())
                text += "pkgupdate-pack build failed: " + line + '\n';
        } else if (word == QLatin1String("install")) {
            text += "== " + line + '\n' + transcript(system, fake, rest.split(QStringLiteral(", "))) + '\n';
        } else if (!DeviceFiles::writeEntry(m_dir.path(), line)) {
            text += "cannot write: " + line + '\n';
        }
    }
    text.replace(QRegularExpression(QStringLiteral("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ")), "<time>Z");
    return text.replace(m_dir.path(), QStringLiteral("@"));
}

QString CWorkerTest::transcript(CSystemTemplate& system, CFakeSystem* fake, const QStringList& descriptions)
{
    QList<UpdatePackage> packages;
    for (const QString& description : descriptions) {
        const QStringList field = description.split(' ');
        const QString file = field[0] + '-' + field[2] + "-BSP-1.36.0.tar.bz2";
        packages.append(UpdatePackage(QFileInfo(m_dir.filePath(QStringLiteral("stick/")) + file)));
        packages.last().name = field[0];
        packages.last().priority = field[1].toInt();
        packages.last().version = CVersion(field[2]);
        packages.last().selected = field[3] == QLatin1String("y");
        if (fake && QFileInfo::exists(m_dir.filePath("unpacked/" + field[0])))
            fake->unpackSources.insert(file, m_dir.filePath("unpacked/" + field[0]));
    }
    if (fake)
        fake->calls.clear();
    CWorker worker(system);
    QStringList messages;
    connect(&worker, &CWorker::message, this, [&messages](const QString& text) { messages << text; });
    DeviceFiles::Snapshot before = DeviceFiles::snapshot();
    const QByteArray log = readFile(share + "update.log");
    const CDiagnosticsRecorder diagnostics;

    const int result = worker.Install(packages);

    DeviceFiles::Snapshot after = DeviceFiles::snapshot();
    before.remove(share + "update.log"); // shown by its new lines instead
    after.remove(share + "update.log");
    QString text = QStringLiteral("result %1, order:").arg(result);
    for (const UpdatePackage& package : qAsConst(packages))
        text += ' ' + package.name + (package.selected ? " (still selected)" : "");
    text += "\nmessages:\n  " + messages.join("\n  ") + "\nconsole:\n  " + diagnostics.lines().join("\n  ");
    text += QString::asprintf("\ncounters: %d files, %d links, %d errors\nupdate.log gained:\n  ", worker.copiedFiles,
        worker.copiedLinks, worker.errors);
    text += QString::fromLatin1(readFile(share + "update.log").mid(log == "<missing>" ? 0 : log.size()))
                .trimmed()
                .replace('\n', "\n  ");
    text += "\nplatform calls: " + (fake ? fake->calls.join(", ") : QStringLiteral("(the device's)"));
    return text + "\ndevice:\n" + DeviceFiles::difference(before, after);
}

void CWorkerTest::fakeInstallations()
{
    CFakeSystem fake(share, QStringLiteral("/tmp/pkgupdate"));
    QCOMPARE_GOLDEN("install/data/fake-installations.ref", run("install/data/fake-installations.txt", fake, &fake));
}

void CWorkerTest::deviceInstallation()
{
    QCOMPARE_GOLDEN("install/data/device-installation.ref", run("install/data/device-installation.txt", *m_device));
}

void CWorkerTest::defaults()
{
    // The time budgets and the program query's limits are pinned with the platform and the run sequence.
    const CollectorEnvironment query;
    QString text = QString::asprintf("program version query: '%s -v'\nhelp-files version: %s\npackages per medium: "
                                     "%d\nmessage line: %d characters\n",
        qPrintable(query.programPath), qPrintable(query.helpVersionFile), CUpdateCollector::packageLimit,
        CMainWidget::messageLimit);

    // A chain of 32 directories with a file in each, copied from depth 0.
    const QString source = m_dir.filePath(QStringLiteral("deep"));
    const QString target = m_dir.filePath(QStringLiteral("deepcopy"));
    for (int depth = 0; depth < 32; ++depth)
        QVERIFY(writeFile(source + QStringLiteral("/d").repeated(depth) + "/f", "f"));
    CWorker worker(*m_device);
    text += "tree messages:";
    connect(&worker, &CWorker::message, this, [&](const QString& path) {
        const int depth = int(path.mid(target.size()).count('/'));
        text += path.endsWith("/f") ? QStringLiteral(" file %1").arg(depth - 1)
                                    : QStringLiteral(" directory %1").arg(depth);
    });
    worker.CopyTree(source, target, 0);

    const QString link = m_dir.filePath(QStringLiteral("long"));
    QVERIFY(QFile::link(QString("./").repeated(200), link));
    QVERIFY(m_device->CopySymlink(link, link + "copy"));
    text += QStringLiteral("\nlink target copied: %1 of 400 bytes\n").arg(readLink(link + "copy").size());
    QCOMPARE_GOLDEN("install/data/defaults.ref", text);
}

QTEST_GUILESS_MAIN(CWorkerTest)
#include "cworkertest.moc"
