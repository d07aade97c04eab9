#include "app/updaterun.h"
#include "discovery/cupdatecollector.h"
#include "discovery/cversion.h"
#include "discovery/installerversion.h"
#include "install/cworker.h"
#include "system/csystem_vesta.h"

namespace {

// The process-wide objects, constructed in this order before main() runs and
// destroyed in reverse order at exit. The platform object comes first: it opens
// the console that every later diagnostic line goes to.
CSystem_Vesta g_system;
CUpdateCollector g_collector(CUpdateCollector::packageLimit, deviceCollectorEnvironment(g_system));
CWorker g_worker(g_system);
const CVersion g_installerVersion(QString::fromLatin1(InstallerVersion::version));
const CVersion g_installerBuild(QString::fromLatin1(InstallerVersion::build));
const QString g_versionSuffix;

} // namespace

int main(int argc, char** argv)
{
    const ProcessObjects objects { g_system, g_collector, g_worker, g_installerVersion, g_installerBuild,
        g_versionSuffix };
    return runInstaller(argc, argv, objects);
}
