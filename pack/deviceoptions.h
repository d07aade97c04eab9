#pragma once

#include "pack/commandline.h"

#include <QList>
#include <QString>

struct CheckedDevice;

// The options that describe the device a stick is meant for, shared by check and
// simulate so that both take the same device in the same words. Their defaults
// are those of CheckedDevice, the simulated device's.
namespace DeviceOptions {

// --bsp, --program-answer, --help-version, --key and --key141, with their help.
[[nodiscard]] QList<CCommandLine::Option> options();

// The device the parsed options describe, with absolute key paths (openssl gets
// them as on the device). Returns an empty text, or the usage error to report.
[[nodiscard]] QString read(const CCommandLine& commandLine, CheckedDevice& device);

} // namespace DeviceOptions
