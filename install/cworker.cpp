#include "install/cworker.h"

#include "install/updateconf.h"
#include "system/csystemtemplate.h"
#include "system/removetree.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>

namespace {

const QString updateConfName = QStringLiteral("UPDATE.CONF");

const char* boolText(bool value)
{
    return value ? "true" : "false";
}

} // namespace

CWorker::CWorker(CSystemTemplate& system, QObject* parent)
    : QObject(parent)
    , m_system(system)
{
}

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
    const QFileInfo updateConf(m_system.tempDir + QLatin1Char('/') + updateConfName);
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
    const bool removed = RemoveTree(path);
    qDebug() << "   DELETE" << path << boolText(removed);
    if (!removed) {
        qCritical() << "Delete error";
        Q_EMIT message(tr("File delete error!"));
        return false;
    }
    Q_EMIT message(tr("Delete %1").arg(path));
    return true;
}

void CWorker::ReadUpdateConf(const QFileInfo& file)
{
    script = readUpdateConf(file.filePath());
}

void CWorker::FlatArchiv()
{
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
    qDebug() << "   rm" << destination << boolText(QFile::remove(destination));
    // QFile::copy follows a link: a listed link is installed as the file it points to.
    const bool copied = QFile::copy(source, destination);
    qDebug() << "   cp" << name << boolText(copied);
    if (copied)
        ++copiedFiles;
    else
        ++errors;
}

void CWorker::NewArchiv()
{
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
    const QStringList files = QDir(source).entryList(QDir::Files | QDir::Hidden, QDir::Unsorted);
    for (const QString& name : files) {
        const QString target = destination + QLatin1Char('/') + name;
        if (QFile::exists(target))
            QFile::remove(target);
        CopyOne(source + QLatin1Char('/') + name, target);
        if (depth <= 29)
            Q_EMIT message(target);
    }
}

void CWorker::CopyOne(const QString& source, const QString& destination)
{
    QFile::remove(destination);
    bool copied = false;
    if (QFileInfo(source).isSymLink()) {
        copied = m_system.CopySymlink(source, destination);
        if (copied)
            ++copiedLinks;
    } else {
        copied = QFile::copy(source, destination);
        if (copied)
            ++copiedFiles;
    }
    if (!copied) {
        ++errors;
        qWarning() << "copy   Error=" << source;
    }
}

void CWorker::AppendUpdateLog(const QString& text)
{
    QFile log(m_system.shareDir + QStringLiteral("update.log"));
    if (!log.open(QIODevice::WriteOnly | QIODevice::Append))
        return;
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd'T'hh:mm:ss"));
    log.write((stamp + QStringLiteral("Z ") + text + QLatin1Char('\n')).toLocal8Bit());
    log.flush();
    log.close();
}
