// Built into the installer only with the sanitizers on: the leaks LeakSanitizer is
// not to report when the process ends.
//
// When the linuxfb platform finds no usable screen, it has already started its input
// (libinput, xkbcommon, udev) and does not free it again; the installer then ends
// with its no-screen status, and the leak report would turn that status into 1.
// Allocations made by those libraries, or by the platform plugin, are the toolkit's.

extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libqlinuxfb.so\n"
           "leak:libinput.so\n"
           "leak:libxkbcommon.so\n"
           "leak:libudev.so\n"
           "leak:__vasprintf_internal\n"; // libinput's formatted texts; the stack ends in the C library
}
