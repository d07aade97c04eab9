// Test helper run inside the simulated device: constructs the platform object and
// does one thing with it, chosen by the command line:
//   platformprobe bsp                 prints "[<BSP version>]" and the key path
//   platformprobe log LEVEL TEXT      writes TEXT as a debug/warning/critical/fatal message
#include "system/csystem_vesta.h"

#include <QDebug>

#include <cstdio>
#include <cstring>
#include <sys/resource.h>

namespace {

void printBsp(CSystem_Vesta& system)
{
    const QString key = system.UpdateKeyFile();
    std::printf("[%s]\n%s\n", qPrintable(system.bspVersion),
                key.isNull() ? "(null)" : qPrintable(key));
}

int writeMessage(const char* level, const char* text)
{
    if (!std::strcmp(level, "debug"))
        qDebug("%s", text);
    else if (!std::strcmp(level, "warning"))
        qWarning("%s", text);
    else if (!std::strcmp(level, "critical"))
        qCritical("%s", text);
    else if (!std::strcmp(level, "fatal")) {
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        qFatal("%s", text);
    } else
        return 2;
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    CSystem_Vesta system;
    if (argc == 2 && !std::strcmp(argv[1], "bsp")) {
        printBsp(system);
        return 0;
    }
    if (argc == 4 && !std::strcmp(argv[1], "log"))
        return writeMessage(argv[2], argv[3]);
    return 2;
}
