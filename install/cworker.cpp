#include "install/cworker.h"

#include "system/csystemtemplate.h"

// Placeholder: replaced by the real implementation.
CWorker::CWorker(CSystemTemplate& system, QObject* parent) : QObject(parent), m_system(system) {}
int CWorker::Install(QList<UpdatePackage>&) { return InstallFailed; }
void CWorker::ReadUpdateConf(const QFileInfo&) {}
void CWorker::FlatArchiv() {}
void CWorker::NewArchiv() {}
void CWorker::CopyTree(const QString&, const QString&, int) {}
void CWorker::CopyOne(const QString&, const QString&) {}
void CWorker::AppendUpdateLog(const QString&) {}
