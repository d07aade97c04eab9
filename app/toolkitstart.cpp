#include "app/toolkitstart.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

const QLatin1String PlatformVariable("QT_QPA_PLATFORM");
const QLatin1String InputVariable("QT_QPA_GENERIC_PLUGINS");

// "key" or "key:device" for the toolkit's input plugins.
QString withDevice(const QString& plugin, const QString& device)
{
    return device.isEmpty() ? plugin : plugin + QLatin1Char(':') + device;
}

// The input plugin (with its device) that reads what one part of QWS_MOUSE_PROTO,
// "Driver" or "Driver:device", named for the old toolkit; empty for drivers of other
// hardware (the virtual frame buffer's mouse, other systems).
QString inputFor(const QString& mouseProtocolPart)
{
    const QString driver = mouseProtocolPart.section(QLatin1Char(':'), 0, 0).toLower();
    const QString device = mouseProtocolPart.section(QLatin1Char(':'), 1);
    if (namesTslib(mouseProtocolPart))
        return withDevice(QStringLiteral("tslib"), device);
    // On the panel the Linux input device is its touch screen, whose touches Qt's
    // mouse plugin would ignore.
    if (driver == QLatin1String("linuxinput"))
        return withDevice(QStringLiteral("evdevtouch"), device);
    // The remaining drivers read a touch panel's own character device or a serial or
    // PS/2 mouse, never an input event device: the evdev plugins find the devices
    // themselves.
    if (driver == QLatin1String("linuxtp"))
        return QStringLiteral("evdevtouch");
    static const QStringList mice { QStringLiteral("auto"), QStringLiteral("intellimouse"), QStringLiteral("microsoft"),
        QStringLiteral("mouseman"), QStringLiteral("mousesystems") };
    if (mice.contains(driver))
        return QStringLiteral("evdevmouse");
    return QString();
}

// The QT_QPA_GENERIC_PLUGINS entries for the parts, leaving out those this toolkit
// has no plugin for (its platform's own input then stays on). Each plugin is asked
// for once, by the first part that names it: a second one, with another or without a
// device, would read the same touch screen again.
QStringList inputsFor(const QStringList& mouseProtocolParts, const QStringList& inputPlugins)
{
    QStringList inputs;
    QStringList plugins;
    for (const QString& part : mouseProtocolParts) {
        const QString input = inputFor(part);
        const QString plugin = input.section(QLatin1Char(':'), 0, 0);
        if (!input.isEmpty() && inputPlugins.contains(plugin, Qt::CaseInsensitive) && !plugins.contains(plugin)) {
            inputs.append(input);
            plugins.append(plugin);
        }
    }
    return inputs;
}

} // namespace

bool namesTslib(const QString& mouseProtocolPart)
{
    return mouseProtocolPart.contains(QLatin1String("tslib"), Qt::CaseInsensitive);
}

QList<ToolkitVariable> toolkitVariables(const QStringList& arguments, const QStringList& mouseProtocolParts,
    const QProcessEnvironment& environment, const QStringList& inputPlugins)
{
    QList<ToolkitVariable> variables;
    const auto setUnset = [&](const QLatin1String& name, const QString& value) {
        if (environment.value(name).isEmpty())
            variables.append({ QByteArray(name.data(), name.size()), value.toLocal8Bit() });
    };

    if (arguments.contains(QLatin1String("-qws")))
        setUnset(PlatformVariable, QStringLiteral("linuxfb"));
    if (!environment.value(InputVariable).isEmpty())
        return variables;
    const QStringList inputs = inputsFor(mouseProtocolParts, inputPlugins);
    if (inputs.isEmpty())
        return variables;
    setUnset(InputVariable, inputs.join(QLatin1Char(',')));
    // Both frame buffer platforms read every input device themselves (libinput or
    // evdev), which would deliver each touch twice, the second time uncalibrated.
    setUnset(QLatin1String("QT_QPA_FB_DISABLE_INPUT"), QStringLiteral("1"));
    setUnset(QLatin1String("QT_QPA_EGLFS_DISABLE_INPUT"), QStringLiteral("1"));
    return variables;
}

QString platformNamed(const QStringList& arguments, const QProcessEnvironment& environment)
{
    QString platform = environment.value(PlatformVariable);
    // The toolkit takes "--platform" as "-platform", and the last one.
    for (int i = 0; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("-platform") || arguments[i] == QLatin1String("--platform"))
            platform = arguments[++i];
    }
    return platform;
}

QString frameBufferFor(const QString& platform, const QProcessEnvironment& environment)
{
    const QStringList options = platform.split(QLatin1Char(':'));
    if (options.first().compare(QLatin1String("linuxfb"), Qt::CaseInsensitive) != 0
        || environment.value(QStringLiteral("QT_QPA_FB_DRM")).toInt() != 0)
        return QString();
    for (const QString& option : options) {
        if (option.startsWith(QLatin1String("fb=")))
            return option.mid(3);
    }
    const QString fallback = QStringLiteral("/dev/graphics/fb0");
    return !QFile::exists(QStringLiteral("/dev/fb0")) && QFile::exists(fallback) ? fallback
                                                                                 : QStringLiteral("/dev/fb0");
}

bool frameBufferUsable(const QString& device, QString& error)
{
    // Read-only where it cannot be written, as the platform opens it.
    const QByteArray path = QFile::encodeName(device);
    int fd = ::open(path.constData(), O_RDWR | O_CLOEXEC);
    if (fd < 0)
        fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    fb_var_screeninfo screen {};
    const bool usable = fd >= 0 && ::ioctl(fd, FBIOGET_VSCREENINFO, &screen) == 0;
    if (!usable)
        error = QString::fromLocal8Bit(std::strerror(errno));
    if (fd >= 0)
        ::close(fd);
    return usable;
}

CToolkitEnvironment::CToolkitEnvironment(const QList<ToolkitVariable>& variables)
{
    for (const ToolkitVariable& variable : variables) {
        qputenv(variable.name.constData(), variable.value);
        m_names.append(variable.name);
    }
}

CToolkitEnvironment::~CToolkitEnvironment()
{
    for (const QByteArray& name : m_names)
        qunsetenv(name.constData());
}
