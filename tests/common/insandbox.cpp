// Linked into every test program that runs the platform object itself: such a
// program starts /sbin/reboot, remounts /tmp and writes /dev/console, so it ends
// before main() unless the device sandbox (simdevice/device-sandbox) started it.
#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace {

const bool g_insideSandbox = [] {
    if (qEnvironmentVariableIsSet("PKGUPDATE_DEVICE_SANDBOX"))
        return true;
    std::fputs("This test acts on the device: run it inside simdevice/device-sandbox (ctest does).\n", stderr);
    std::exit(125);
}();

} // namespace
