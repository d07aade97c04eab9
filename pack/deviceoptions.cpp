#include "pack/deviceoptions.h"

#include "pack/stickcheck.h"
#include "system/csystem_vesta.h"

#include <QFileInfo>

#include <utility>

namespace DeviceOptions {

QList<CCommandLine::Option> options()
{
    const CheckedDevice defaults;
    return {
        { "bsp", "VERSION",
            QStringLiteral("the device's BSP version, as in its /proc/version\n(default: %1)").arg(defaults.bsp) },
        { "program-answer", "TEXT",
            QStringLiteral("what the device's main application prints for\n"
                           "\"corvane -v\", e.g. \"3.2.1\" or \"Build 1234\"\n(default: %1)")
                .arg(defaults.programAnswer) },
        { "help-version", "V",
            QStringLiteral("the installed help files' version, the \"version\" key\n"
                           "of help/version.txt (default: no such file, so every\n"
                           "help-files package counts as newer)") },
        { "key", "PUBLIC.pem",
            QStringLiteral("public key of BSP 1.7.0 and 1.36.0, kept on the\ndevice as %1\n"
                           "(default: none, no signature verifies)")
                .arg(UpdateKeys::standardKey()) },
        { "key141", "PUBLIC.pem",
            QStringLiteral("public key of BSP 1.41.0, kept on the device as\n%1\n"
                           "(default: none, no signature verifies)")
                .arg(UpdateKeys::bsp141Key()) },
    };
}

QString read(const CCommandLine& commandLine, CheckedDevice& device)
{
    if (commandLine.isSet("bsp"))
        device.bsp = commandLine.value("bsp");
    if (commandLine.isSet("program-answer"))
        device.programAnswer = commandLine.value("program-answer");
    device.helpVersion = commandLine.value("help-version");
    const std::pair<const char*, QString*> keys[] = { { "key", &device.key }, { "key141", &device.key141 } };
    for (const auto& [option, key] : keys) {
        const QString file = commandLine.value(option);
        if (file.isEmpty())
            continue;
        if (!QFileInfo(file).isFile())
            return QStringLiteral("no key file '%1'").arg(file);
        *key = QFileInfo(file).absoluteFilePath();
    }
    return QString();
}

} // namespace DeviceOptions
