#include "discovery/cupdatecollector.h"

// Placeholder: replaced by the real implementation.
CUpdateCollector::CUpdateCollector(int count, const CollectorEnvironment& environment)
    : maxCount(count), m_environment(environment) {}
void CUpdateCollector::setEnvironment(const CollectorEnvironment& environment) { m_environment = environment; }
int CUpdateCollector::scan(const QString&) { packages.clear(); return 0; }
void CUpdateCollector::SetCurrent(UpdatePackage&) {}
void CUpdateCollector::keepNewestPerKind() {}
CVersion CUpdateCollector::readProgramVersion(const QString&) const { return CVersion(); }
