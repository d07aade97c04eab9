// Run inside the simulated device: constructs the platform object, prints
// "[<BSP version>]" and the key path, then, with "log TEXT", writes TEXT as a
// debug, a warning and a critical message, or with "fatal TEXT" as a fatal one.
#include "system/csystem_vesta.h"

#include <QDebug>

#include <cstdio>
#include <cstring>
#include <sys/resource.h>

int main(int argc, char** argv)
{
    CSystem_Vesta system;
    const QString key = system.UpdateKeyFile();
    std::printf("[%s]\n%s\n", qPrintable(system.bspVersion), key.isNull() ? "(null)" : qPrintable(key));
    std::fflush(stdout);
    if (argc == 3 && !std::strcmp(argv[1], "log")) {
        qDebug("%s", argv[2]);
        qWarning("%s", argv[2]);
        qCritical("%s", argv[2]);
    } else if (argc == 3 && !std::strcmp(argv[1], "fatal")) {
        const rlimit noCore { 0, 0 };
        setrlimit(RLIMIT_CORE, &noCore);
        qFatal("%s", argv[2]);
    }
    return 0;
}
