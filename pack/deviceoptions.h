#pragma once

#include "pack/commandline.h"

#include <QList>
#include <QString>
#include <QStringList>

struct CheckedDevice;

// The options that describe the device a stick is meant for, shared by check and
// simulate so that both take the same device in the same words. Their defaults
// are those of CheckedDevice, the simulated device's.
namespace DeviceOptions {

// --bsp, --program-answer, --program-exit, --program-hang, --no-program,
// --help-version, --key, --key141 and --config, with their help.
[[nodiscard]] QList<CCommandLine::Option> options();

// The device the parsed options describe: first the lines of --config FILE, then
// the options given on the command line. Key paths are made absolute (openssl
// gets them as on the device). Returns an empty text, or the usage error to
// report, for the config file as "FILE:LINE: what is wrong".
[[nodiscard]] QString read(const CCommandLine& commandLine, CheckedDevice& device);

// The device as the simulated device's options, in the long form, every value given.
[[nodiscard]] QStringList arguments(const CheckedDevice& device);

} // namespace DeviceOptions
