#include "pack/deviceoptions.h"

#include "pack/stickcheck.h"
#include "system/csystem_vesta.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace DeviceOptions {

namespace {

// Sets the device option name (without dashes) to value; a switch gets an empty
// value. Returns an empty text, or what is wrong.
QString apply(const QString& name, const QString& value, CheckedDevice& device)
{
    if (name == QLatin1String("no-program") || name == QLatin1String("program-hang")) {
        if (!value.isEmpty())
            return QStringLiteral("%1 takes no value").arg(name);
        device.program = name == QLatin1String("no-program") ? CheckedDevice::Missing : CheckedDevice::Hangs;
        return QString();
    }
    const bool mayBeEmpty = name == QLatin1String("program-answer") || name == QLatin1String("help-version");
    if (value.isEmpty() && !mayBeEmpty)
        return QStringLiteral("%1 needs a value").arg(name);
    if (name == QLatin1String("bsp")) {
        device.bsp = value;
    } else if (name == QLatin1String("program-answer")) {
        device.programAnswer = value;
    } else if (name == QLatin1String("program-exit")) {
        bool number = false;
        device.programExit = value.toInt(&number);
        if (!number || device.programExit < 0 || device.programExit > 255)
            return QStringLiteral("program-exit takes an exit status from 0 to 255, not '%1'").arg(value);
    } else if (name == QLatin1String("help-version")) {
        device.helpVersion = value;
    } else if (name == QLatin1String("key") || name == QLatin1String("key141")) {
        if (!QFileInfo(value).isFile())
            return QStringLiteral("no key file '%1'").arg(value);
        (name == QLatin1String("key") ? device.key : device.key141) = QFileInfo(value).absoluteFilePath();
    } else {
        return QStringLiteral("unknown option '%1'").arg(name);
    }
    return QString();
}

// One "option value" a line; '#' starts a comment line. Key files are taken
// relative to the current directory, as on the command line.
QString readConfig(const QString& path, CheckedDevice& device)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return QStringLiteral("cannot read '%1': %2").arg(path, file.errorString());
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    int number = 0;
    while (!file.atEnd()) {
        ++number;
        const QString line = QString::fromLocal8Bit(file.readLine()).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        const QString name = line.section(blanks, 0, 0);
        if (name == QLatin1String("config"))
            return QStringLiteral("%1:%2: config cannot name another file").arg(path).arg(number);
        const QString wrong = apply(name, line.section(blanks, 1).trimmed(), device);
        if (!wrong.isEmpty())
            return QStringLiteral("%1:%2: %3").arg(path).arg(number).arg(wrong);
    }
    return QString();
}

} // namespace

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
        { "program-exit", "CODE", QStringLiteral("the exit status of \"corvane -v\" (default: 0)") },
        { "program-hang", nullptr, QStringLiteral("\"corvane -v\" never answers") },
        { "no-program", nullptr, QStringLiteral("the device has no /usr/local/bin/corvane") },
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
        { "config", "FILE",
            QStringLiteral("the device options above from FILE, one \"option value\"\n"
                           "a line (\"bsp 1.41.0\", \"no-program\"); '#' starts a\n"
                           "comment; options given beside it win") },
    };
}

QString read(const CCommandLine& commandLine, CheckedDevice& device)
{
    if (commandLine.isSet("config")) {
        const QString wrong = readConfig(commandLine.value("config"), device);
        if (!wrong.isEmpty())
            return wrong;
    }
    for (const CCommandLine::Option& option : options()) {
        const QString name = QLatin1String(option.name);
        if (name == QLatin1String("config") || !commandLine.isSet(option.name))
            continue;
        const QString wrong = apply(name, option.valueName ? commandLine.value(option.name) : QString(), device);
        if (!wrong.isEmpty())
            return wrong;
    }
    return QString();
}

QStringList arguments(const CheckedDevice& device)
{
    QStringList list { QStringLiteral("--bsp"), device.bsp, QStringLiteral("--program-answer"), device.programAnswer,
        QStringLiteral("--program-exit"), QString::number(device.programExit) };
    if (device.program == CheckedDevice::Hangs)
        list << QStringLiteral("--program-hang");
    if (device.program == CheckedDevice::Missing)
        list << QStringLiteral("--no-program");
    const std::pair<const char*, QString> values[]
        = { { "--help-version", device.helpVersion }, { "--key", device.key }, { "--key141", device.key141 } };
    for (const auto& [option, value] : values) {
        if (!value.isEmpty())
            list << QLatin1String(option) << value;
    }
    return list;
}

} // namespace DeviceOptions
