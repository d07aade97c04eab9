#pragma once

// The installer's process exit statuses. Besides these, a loop result of the
// window other than its three exit codes is returned as it is, and a fatal
// message of the toolkit aborts the process (134).
namespace ExitStatus {
enum : int {
    Done = 0, // also: no path, no packages, or the follow-up action was taken
    NoConsole = 1, // /dev/console cannot be opened
    MissingArgument = 2, // no argument
    UnknownParameter = 3, // a single argument other than "-v" or "-S"
    RamDiskFailed = 11, // the RAM disk could not be enlarged or shrunk
    NoScreen = 12, // no screen to show the window on: nothing on the device was changed
};
} // namespace ExitStatus
