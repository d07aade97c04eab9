#include "discovery/cupdatecollector.h"

#include "settings/cinitfile.h"
#include "system/commandrunner.h"
#include "system/csystemtemplate.h"

#include <QDebug>
#include <QDir>
#include <QProcess>

CollectorEnvironment deviceCollectorEnvironment(const CSystemTemplate& system)
{
    CollectorEnvironment environment;
    environment.deviceBsp = system.bspVersion;
    environment.helpVersionFile = system.shareDir + QStringLiteral("help/version.txt");
    return environment;
}

CUpdateCollector::CUpdateCollector(int count, const CollectorEnvironment& environment)
    : maxCount(count)
    , m_environment(environment)
{
}

void CUpdateCollector::setEnvironment(const CollectorEnvironment& environment)
{
    m_environment = environment;
}

int CUpdateCollector::scan(const QString& path)
{
    packages.clear();
    truncated = false;
    const QDir directory(path);
    if (directory.exists()) {
        // The listing's defaults on purpose: case-blind name order and pattern,
        // no hidden entries, directories with a matching name included.
        QFileInfoList archives = directory.entryInfoList(QStringList(QStringLiteral("*.tar.bz2")));
        if (archives.size() > maxCount) {
            truncated = true;
            archives = archives.mid(0, qMax(maxCount, 0));
        }
        for (const QFileInfo& archive : qAsConst(archives))
            packages.append(examine(archive));
    }
    keepNewestPerKind();
    return int(packages.size());
}

UpdatePackage CUpdateCollector::examine(const QFileInfo& archive)
{
    UpdatePackage record(archive);
    parseName(record, m_environment.deviceBsp);
    checkSignatureFile(record);
    checkBsp(record, m_environment.deviceBsp);
    SetCurrent(record);
    qDebug() << " -> " << record.name << record.version << record.installed << record.selected;
    return record;
}

void CUpdateCollector::SetCurrent(UpdatePackage& record)
{
    record.installed = installedVersion(record.priority);
    record.selected = record.selected && record.installed < record.version;
}

CVersion CUpdateCollector::installedVersion(int kind) const
{
    switch (kind) {
    case KindInstaller:
        return m_environment.installerVersion;
    case KindHelpFiles: {
        QString versionFile = m_environment.helpVersionFile;
        return ReadVersion(versionFile, QStringLiteral("version"));
    }
    case KindProgram:
        return readProgramVersion(m_environment.programPath);
    default:
        qDebug() << "CUpdateCollector::SetCurrent()  Unknowen Priority = " << kind;
        return CVersion();
    }
}

void CUpdateCollector::keepNewestPerKind()
{
    const int kindCount = KindProgram + 1;
    CVersion newest[kindCount];
    for (const UpdatePackage& record : qAsConst(packages)) {
        if (record.selected && isKnownKind(record.priority) && newest[record.priority] < record.version)
            newest[record.priority] = record.version;
    }
    for (UpdatePackage& record : packages) {
        if (record.selected && isKnownKind(record.priority) && record.version < newest[record.priority])
            record.selected = false;
    }
}

bool CUpdateCollector::isKnownKind(int kind)
{
    return kind >= KindInstaller && kind <= KindProgram;
}

CVersion CUpdateCollector::readProgramVersion(const QString& programPath) const
{
    CWaitedCommand query(programPath + QStringLiteral(" -v"));
    QProcess& process = query.process();
    if (!query.start(m_environment.programStartMs)) {
        qDebug() << "   " << int(process.exitStatus()) << int(process.error()) << process.exitCode()
                 << process.errorString();
        return CVersion();
    }
    if (!query.waitForFinished(m_environment.programFinishMs)) {
        qDebug() << "   timeout or error   Status=" << int(process.exitStatus()) << int(process.error())
                 << process.exitCode() << process.errorString();
        return CVersion();
    }
    if (process.exitStatus() != QProcess::NormalExit) {
        qDebug() << "   ???" << query.command() << process.errorString();
        return CVersion();
    }
    return versionFromAnswer(query);
}

CVersion CUpdateCollector::versionFromAnswer(CWaitedCommand& query)
{
    const QString output = query.standardOutput();
    const QString errors = query.standardError();
    if (query.process().exitCode() != 0) {
        qDebug() << "   err" << errors;
        qDebug() << "   out" << output;
        qDebug() << "\n\n";
        return CVersion();
    }
    return CVersion(output);
}
