#include "install/cworker.h"

#include "install/creplacementbatch.h"
#include "install/updateconf.h"
#include "system/csystemtemplate.h"
#include "system/removetree.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <unistd.h>

namespace {

const char* boolText(bool value)
{
    return value ? "true" : "false";
}

// path with links and "." or ".." resolved as far as it exists.
QString resolvedPath(const QString& path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(path) : canonical;
}

} // namespace

// Opens the worker's replacement batch unless one is open already; the scope that
// opened it commits it when it ends, so nested copies share one batch.
class CWorker::BatchScope {
public:
    explicit BatchScope(CWorker& worker)
        : m_worker(worker)
        , m_opened(!worker.m_batch)
    {
        if (m_opened)
            worker.openBatch();
    }
    ~BatchScope()
    {
        if (m_opened)
            m_worker.commitBatch();
    }
    BatchScope(const BatchScope&) = delete;
    BatchScope& operator=(const BatchScope&) = delete;

private:
    CWorker& m_worker;
    const bool m_opened;
};

CWorker::CWorker(CSystemTemplate& system, QObject* parent)
    : QObject(parent)
    , m_system(system)
{
}

CWorker::~CWorker() = default;

int CWorker::Install(QList<UpdatePackage>& packages)
{
    copiedFiles = 0;
    copiedLinks = 0;
    errors = 0;
    qDebug() << "CWorker::Install()" << packages.size();
    if (!packages.isEmpty())
        sortPackages(packages);
    for (UpdatePackage& package : packages) {
        if (!package.selected)
            continue;
        const int result = installPackage(package);
        if (result != InstallDone)
            return result;
    }
    return InstallDone;
}

int CWorker::installPackage(UpdatePackage& package)
{
    qDebug() << "\n----------------------------------------" << package.priority << package.name;
    m_system.PrepareTempDir();
    if (!verifyAndUnpack(package))
        return InstallFailed;
    const QFileInfo updateConf(m_system.tempDir + QLatin1Char('/') + QLatin1String(kUpdateConfName));
    if (!updateConf.exists()) {
        qCritical() << "UPDATE.CONF not found!";
        Q_EMIT message(tr("UPDATE.CONF not found!"));
        return InstallFailed;
    }
    qDebug() << "Found UPDATE.CONF";
    ReadUpdateConf(updateConf);
    if (!deleteScriptPath())
        return InstallFailed;
    if (script.contains(QStringLiteral("DEST_FILE1")))
        FlatArchiv();
    else
        NewArchiv();
    package.selected = false;
    qWarning().noquote() << QStringLiteral("Ready (%1/%2#%3)").arg(copiedFiles).arg(copiedLinks).arg(errors);
    Q_EMIT message(tr("Ready"));
    if (package.priority == KindInstaller)
        return InstallInstaller;
    if (package.priority == KindProgram)
        return InstallProgram;
    return InstallDone;
}

bool CWorker::verifyAndUnpack(const UpdatePackage& package)
{
    QString error;
    qDebug() << "Verifying ...";
    Q_EMIT message(tr("Verify key from %1").arg(package.name));
    if (!m_system.verifySignature(package.file, error)) {
        qCritical().noquote() << "Signature error=" << error;
        Q_EMIT message(error);
        return false;
    }
    // Logged before unpacking: the log lists every package whose signature was accepted.
    AppendUpdateLog(package.file.fileName());
    qDebug() << "Unpacking ...";
    Q_EMIT message(tr("Unpacking... This can take some minutes."));
    if (!m_system.Unpack(package.file, error)) {
        qCritical().noquote() << "Unpack error:" << error;
        Q_EMIT message(tr("Unpack error: ") + error);
        return false;
    }
    return true;
}

bool CWorker::deleteScriptPath()
{
    const QString deleteKey = QStringLiteral("DELETE");
    if (!script.contains(deleteKey))
        return true;
    const QString path = script.value(deleteKey);
    const bool removed = mayDelete(path) && RemoveTree(path);
    qDebug() << "   DELETE" << path << boolText(removed);
    if (!removed) {
        qCritical() << "Delete error";
        Q_EMIT message(tr("File delete error!"));
        return false;
    }
    Q_EMIT message(tr("Delete %1").arg(path));
    return true;
}

bool CWorker::mayDelete(const QString& path)
{
    return deletePathAllowed(
        path, { m_system.shareDir, m_system.UpdateKeyFile(), m_system.installerPath }, resolvedPath);
}

bool deletePathAllowed(const QString& path, const QStringList& kept, QString (*resolve)(const QString&))
{
    // An empty value names nothing and removes nothing.
    if (path.isEmpty())
        return true;
    // A relative path would be taken against whatever the working directory is.
    if (QDir::isRelativePath(path))
        return false;
    const QString target = resolve(path);
    if (target == QLatin1String("/"))
        return false;
    // Without the keys no package verifies again; without the installer none installs.
    for (const QString& keptFile : kept) {
        const QString keptPath = keptFile.isEmpty() ? QString() : resolve(keptFile);
        if (!keptPath.isEmpty() && (keptPath == target || keptPath.startsWith(target + QLatin1Char('/'))))
            return false;
    }
    return true;
}

void CWorker::ReadUpdateConf(const QFileInfo& file)
{
    script = readUpdateConf(file.filePath());
}

void CWorker::FlatArchiv()
{
    const BatchScope batch(*this);
    // Every single blank separates: two blanks in a row make an empty name that
    // still uses up a DEST_FILE number.
    const QStringList names = script.value(QStringLiteral("FILE_LIST")).split(QLatin1Char(' '));
    qDebug() << "CWorker::FlatArchiv() cnt=" << names.size();
    for (int index = 0; index < names.size(); ++index)
        copyListedFile(index + 1, names.at(index));
    qDebug() << "CWorker::FlatArchiv() cnt=" << names.size();
}

void CWorker::copyListedFile(int number, const QString& name)
{
    const QString key = QStringLiteral("DEST_FILE") + QString::number(number);
    if (!script.contains(key))
        script.insert(key, QString());
    const QString directory = script.value(key);
    const QString destination = directory + QLatin1Char('/') + name;
    const QString source = m_system.tempDir + QLatin1Char('/') + name;
    qDebug() << "    " << name << key << " = " << directory << destination;
    qDebug() << "    " << name << source;
    // An empty directory is "/" itself, which exists; mkpath would only complain.
    if (!directory.isEmpty())
        QDir(QStringLiteral("/")).mkpath(directory);
    // The copy follows a link: a listed link is installed as the file it points to.
    const bool copied = stage(source, destination, false);
    qDebug() << "   cp" << name << boolText(copied);
    if (copied)
        ++copiedFiles;
    else
        ++errors;
}

void CWorker::NewArchiv()
{
    const BatchScope batch(*this);
    qDebug() << "CWorker::NewArchiv()";
    const QString packageBsp = script.value(QStringLiteral("BSP"));
    if (!packageBsp.isEmpty() && !packageBsp.contains(m_system.bspVersion))
        qWarning() << "   " << packageBsp << m_system.bspVersion;
    // An empty destination puts a top-level entry x at "/x": the tree goes onto the root.
    CopyTree(m_system.tempDir, QString(), 0);
}

void CWorker::CopyTree(const QString& source, const QString& destination, int depth)
{
    if (!QFileInfo(source).isDir())
        return;
    const BatchScope batch(*this);
    if (depth == 4 || depth == 5)
        Q_EMIT message(destination);
    const QStringList directories
        = QDir(source).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Unsorted);
    for (const QString& name : directories) {
        const QString target = destination + QLatin1Char('/') + name;
        QDir().mkpath(target);
        CopyTree(source + QLatin1Char('/') + name, target, depth + 1);
    }
    copyTreeFiles(source, destination, depth);
}

void CWorker::copyTreeFiles(const QString& source, const QString& destination, int depth)
{
    // Without QDir::System dangling links are not listed, so they are not copied.
    // The listing knows each entry's type: a file is not looked up a second time.
    QDirIterator files(source, QDir::Files | QDir::Hidden);
    while (files.hasNext()) {
        files.next();
        const QString name = files.fileName();
        const QString target = destination + QLatin1Char('/') + name;
        copyEntry(source + QLatin1Char('/') + name, target, files.fileInfo().isSymLink());
        if (depth <= 29)
            Q_EMIT message(target);
    }
}

void CWorker::CopyOne(const QString& source, const QString& destination)
{
    copyEntry(source, destination, QFileInfo(source).isSymLink());
}

void CWorker::copyEntry(const QString& source, const QString& destination, bool link)
{
    const BatchScope batch(*this);
    if (stage(source, destination, link)) {
        ++(link ? copiedLinks : copiedFiles);
    } else {
        ++errors;
        qWarning() << "copy   Error=" << source;
    }
}

void CWorker::openBatch()
{
    m_batch = std::make_unique<CReplacementBatch>([this](int fd) { return m_system.SyncFileSystem(fd); });
}

bool CWorker::stageFile(const QString& source, const QString& destination)
{
    using Staging = CReplacementBatch::Staging;
    Staging staging = m_batch->stageCopy(source, destination);
    if (staging != Staging::NoRoom)
        return staging == Staging::Staged;
    // The flash is full: what is staged goes in place first, which frees the room
    // of the old files it replaces.
    qWarning() << "copy   full flash, files put in place before" << destination;
    commitBatch();
    openBatch();
    staging = m_batch->stageCopy(source, destination);
    if (staging == Staging::NoRoom) {
        // Still no room beside the old file: it goes first, as a plain copy would do
        // it. A power cut before the rename leaves this one file missing, never torn.
        qWarning() << "copy   full flash, old file removed first" << destination;
        ::unlink(QFile::encodeName(destination).constData());
        staging = m_batch->stageCopy(source, destination);
    }
    return staging == Staging::Staged;
}

bool CWorker::stage(const QString& source, const QString& destination, bool link)
{
    if (!link)
        return stageFile(source, destination);
    // A directory in the way: the link call fails on it and reports why.
    if (!m_batch->prepareLink(destination))
        return m_system.CopySymlink(source, destination);
    if (!m_system.CopySymlink(source, CReplacementBatch::stagingPath(destination)))
        return false;
    m_batch->addLink(source, destination);
    return true;
}

void CWorker::commitBatch()
{
    const std::vector<CReplacementBatch::Failure> failures = m_batch->commit();
    m_batch.reset();
    for (const CReplacementBatch::Failure& failure : failures) {
        --(failure.link ? copiedLinks : copiedFiles);
        ++errors;
        qWarning() << "copy   Error=" << failure.source;
    }
}

void CWorker::AppendUpdateLog(const QString& text)
{
    QFile log(m_system.shareDir + QStringLiteral("update.log"));
    if (!log.open(QIODevice::WriteOnly | QIODevice::Append))
        return;
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd'T'hh:mm:ss"));
    const QByteArray line = (stamp + QStringLiteral("Z ") + text + QLatin1Char('\n')).toLocal8Bit();
    const qint64 oldSize = log.size();
    // A line that does not fit (a full flash) is taken back, not left half written.
    if (log.write(line) != line.size() || !log.flush())
        log.resize(oldSize);
    // Durable at once: the line records that a package was accepted.
    ::fsync(log.handle());
    log.close();
}
