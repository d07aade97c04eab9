#include "system/csystem_vesta.h"

#include "system/commandrunner.h"
#include "system/consolelog.h"
#include "system/exitstatus.h"
#include "system/procversion.h"
#include "system/removetree.h"

#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

const char* const kConsolePath = "/dev/console";
const char* const kProcVersionPath = "/proc/version";
const char* const kKeyFile = "/usr/local/share/corvane/qelsslkey.pem";
const char* const kKeyFile141 = "/usr/local/share/corvane/qelupdatekey141.pem";
const int kSymlinkBufferSize = 300;

void openConsoleOrExit()
{
    QString error;
    if (openConsoleLog(QString::fromLatin1(kConsolePath), error))
        return;
    const QByteArray text = "Error: " + error.toLocal8Bit() + '\n';
    std::fputs(text.constData(), stdout);
    std::fflush(stdout);
    std::exit(ExitStatus::NoConsole);
}

// Shows the state of the RAM disk after a failed unpack. The commands are started
// without a shell, so "> /dev/console" reaches them as arguments.
void logUnpackDiagnostics()
{
    const char* const commands[]
        = { "df -h /tmp > /dev/console", "ls -kls /tmp/pkgupdate > /dev/console", "du -amh  /tmp > /dev/console" };
    for (const char* command : commands) {
        runCommandSync(QString::fromLatin1(command));
        qDebug();
    }
}

// The result of a finished openssl run: crash, exit code and its answer.
bool judgeVerification(CWaitedCommand& openssl, QString& error)
{
    QProcess& process = openssl.process();
    if (process.exitStatus() != QProcess::NormalExit) {
        // The same wording as a failed start.
        error = QStringLiteral("Not started: %1").arg(process.errorString());
        qDebug() << "   crash!!!" << error;
        return false;
    }
    const QString output = openssl.standardOutput();
    const QString errorOutput = openssl.standardError();
    if (process.exitCode() == 0)
        return output == QLatin1String("Verified OK");
    qCritical() << "verifySignature() exit=" << process.exitCode();
    error = output + QStringLiteral(" ; ") + errorOutput;
    return false;
}

} // namespace

QString UpdateKeys::standardKey()
{
    return QString::fromLatin1(kKeyFile);
}

QString UpdateKeys::bsp141Key()
{
    return QString::fromLatin1(kKeyFile141);
}

namespace {

// The BSP versions the device has a public key for, with that key.
struct BspKey {
    const char* bsp;
    const char* keyFile;
};
const BspKey kBspKeys[] = { { "1.7.0", kKeyFile }, { "1.36.0", kKeyFile }, { "1.41.0", kKeyFile141 } };

} // namespace

QString UpdateKeys::forBsp(const QString& bspVersion)
{
    for (const BspKey& entry : kBspKeys) {
        if (bspVersion == QLatin1String(entry.bsp))
            return QString::fromLatin1(entry.keyFile);
    }
    return QString();
}

QStringList UpdateKeys::knownBsps()
{
    QStringList versions;
    for (const BspKey& entry : kBspKeys)
        versions << QString::fromLatin1(entry.bsp);
    return versions;
}

bool verifyPackageSignature(
    const QString& keyFile, const QFileInfo& package, const SystemBudgets& budgets, QString& error)
{
    if (!error.isNull())
        error = QString();
    const QString path = package.absoluteFilePath();
    CWaitedCommand openssl(QStringLiteral("openssl dgst -sha1 -verify %1 -signature %2.sha1 %2").arg(keyFile, path));
    QProcess& process = openssl.process();
    if (!openssl.start(budgets.startMs)) {
        qCritical("verifySignature() not startet.");
        error = QStringLiteral("Not started: %1").arg(process.errorString());
        return false;
    }
    if (!openssl.waitForFinished(budgets.verifyMs)) {
        qCritical("verifySignature() timeout.");
        error = QStringLiteral("Verify Signature timed out!");
        return false;
    }
    return judgeVerification(openssl, error);
}

int SystemBudgets::unpackBudgetMs(qint64 packageBytes) const
{
    return int(packageBytes / unpackBytesPerMs) + unpackBaseMs;
}

CSystem_Vesta::CSystem_Vesta()
    : CSystemTemplate(QStringLiteral("/usr/local/share/corvane/"), QStringLiteral("/tmp/pkgupdate"))
{
    ReadBspVersion();
    openConsoleOrExit();
    qInstallMessageHandler(consoleMessageHandler);
    qDebug() << "CSystem_Vesta  debug=" << false;
}

CSystem_Vesta::~CSystem_Vesta() = default;

bool CSystem_Vesta::ReadBspVersion()
{
    bspVersion = QString();
    QFile file(QString::fromLatin1(kProcVersionPath));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    bspVersion = bspVersionFromProcVersion(file.readAll());
    file.close();
    return true;
}

QString CSystem_Vesta::UpdateKeyFile()
{
    const QString key = UpdateKeys::forBsp(bspVersion);
    if (key.isNull())
        qDebug() << "pkgupdate: Unknowen BSP" << bspVersion;
    return key;
}

bool CSystem_Vesta::Execute(const QString& command)
{
    qDebug() << "CSystem_Vesta::Execute" << command;
    return true;
}

bool CSystem_Vesta::Stop_CV3()
{
    qDebug() << "Stop CV3";
    // Started without a shell: the init script gets "||" and the rest as arguments.
    runCommandSync(QStringLiteral("/etc/init.d/corvane stop || killall -9 corvane"));
    return true;
}

bool CSystem_Vesta::Start_CV3()
{
    runCommandSync(QStringLiteral("/etc/init.d/corvane stop"));
    const int exitCode = runCommandSync(QStringLiteral("/etc/init.d/corvane start"));
    qDebug() << "Start_CV3()" << exitCode;
    return true;
}

bool CSystem_Vesta::Installer(const QString& argument)
{
    const QString command = QStringLiteral("%1 %2").arg(installerPath, argument);
    qDebug() << "CSystem::Installer()" << command;
    QString error;
    const bool started = startCommandDetached(command, &error);
    if (!started)
        qCritical() << "CSystem::Installer()" << error;
    return started;
}

bool CSystem_Vesta::Reset()
{
    qDebug() << "CSystem::Reset()";
    QString error;
    const bool started = startCommandDetached(QStringLiteral("/sbin/reboot"), &error);
    if (!started)
        qCritical() << "CSystem::Reset()" << error;
    return started;
}

bool CSystem_Vesta::PrepareTempDir()
{
    const bool removed = RemoveTree(tempDir);
    const QFileInfo temp(tempDir);
    const bool created = temp.dir().mkdir(temp.fileName());
    QThread::msleep(m_budgets.prepareSleepMs);
    return removed && created;
}

bool CSystem_Vesta::Mount_Tmpf_Bigger(bool bigger)
{
    const int sizeMb = bigger ? kTmpfsBiggerMb : kTmpfsNormalMb;
    const QString command = QStringLiteral("mount -t tmpfs -o remount,size=%1m,mode=1777 tmp /tmp").arg(sizeMb);
    QString errorText;
    const int exitCode = runCommandSync(command, &errorText);
    if (exitCode != 0) {
        qDebug() << "CSystem::Mount_Tmpf_Bigger()" << exitCode << command;
        qDebug() << errorText;
    }
    return exitCode == 0;
}

bool CSystem_Vesta::verifySignature(const QFileInfo& package, QString& error)
{
    return verifyPackageSignature(UpdateKeyFile(), package, m_budgets, error);
}

bool CSystem_Vesta::Unpack(const QFileInfo& package, QString& error)
{
    if (!error.isNull())
        error = QString();
    CWaitedCommand tar(QStringLiteral("tar -xjf %1 -C %2/").arg(package.absoluteFilePath(), tempDir));
    QProcess& process = tar.process();
    if (!tar.start(m_budgets.startMs)) {
        error = QStringLiteral("Not started: %1").arg(process.errorString());
        return false;
    }
    const int maxMs = m_budgets.unpackBudgetMs(package.size());
    QElapsedTimer clock;
    clock.start();
    // Deliberately lenient: a time-out is no failure by itself; a tar still running
    // reads as exit code 0 and is killed when tar goes out of scope.
    if (!tar.waitForFinished(maxMs)) {
        qDebug() << "   timeout or error   Status=" << process.exitStatus() << process.error() << process.exitCode()
                 << process.errorString();
    }
    qDebug() << "Unpack  max=" << maxMs / 1000 << "s  used=" << clock.elapsed() / 1000;
    return judgeUnpack(tar, error);
}

bool CSystem_Vesta::judgeUnpack(CWaitedCommand& tar, QString& error)
{
    QProcess& process = tar.process();
    if (process.exitStatus() != QProcess::NormalExit) {
        error = QStringLiteral("crash: %1").arg(process.errorString());
        qCritical() << "Unpack" << error;
        return false;
    }
    if (process.exitCode() == 0)
        return true;
    const QString output = tar.standardOutput();
    const QString errorOutput = tar.standardError();
    error = output + QStringLiteral(" ; ") + errorOutput;
    qDebug() << "   err" << errorOutput;
    qDebug() << "   out" << output;
    qDebug();
    logUnpackDiagnostics();
    return false;
}

bool CSystem_Vesta::SyncFileSystem(int fd)
{
    // sync() reports nothing; syncfs() reports a write-back error of the file system
    // since fd was opened.
    return ::syncfs(fd) == 0;
}

bool CSystem_Vesta::CopySymlink(const QString& source, const QString& destination)
{
    char target[kSymlinkBufferSize];
    const ssize_t length = ::readlink(QFile::encodeName(source).constData(), target, sizeof target);
    bool ok = length >= 0;
    if (ok) {
        const QByteArray targetText(target, int(length));
        ok = ::symlink(targetText.constData(), QFile::encodeName(destination).constData()) == 0;
    }
    if (!ok)
        qCritical("CopySymlink  %i  %s", errno, std::strerror(errno));
    return ok;
}
