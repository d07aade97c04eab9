// scan-report MEDIUM: prints the packages the installer finds on MEDIUM, with
// the same collector and the same device facts as the installer itself. Runs on
// the (simulated) device, since it reads /proc/version and the installed versions.
#include "discovery/cupdatecollector.h"
#include "pack/scanreport.h"
#include "system/csystem_vesta.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QTranslator>

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        QTextStream(stderr) << "usage: scan-report MEDIUM\n";
        return 2;
    }
    CSystem_Vesta system;
    CUpdateCollector collector(6, deviceCollectorEnvironment(system));
    // The window's words as a technician reading English sees them.
    QTranslator english;
    if (english.load(QStringLiteral(":/lang/en")))
        QCoreApplication::installTranslator(&english);
    collector.scan(arguments.at(1));

    QTextStream out(stdout);
    out << "Device BSP: " << (system.bspVersion.isEmpty() ? QStringLiteral("(unknown)") : system.bspVersion) << '\n';
    out << ScanReport::table(collector.packages, collector.truncated);
    return 0;
}
