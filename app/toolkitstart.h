#pragma once

#include <QByteArray>
#include <QList>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

// One environment variable the toolkit reads while the application object is made.
struct ToolkitVariable {
    QByteArray name;
    QByteArray value;
};

// True for a part of QWS_MOUSE_PROTO that names a touch screen driven through the
// tslib library: "tslib" anywhere in it, in any letter case.
[[nodiscard]] bool namesTslib(const QString& mouseProtocolPart);

// What today's toolkit needs to start as "-qws" started the old one on the panel,
// given only what the device's start scripts provide:
// - with "-qws" among the arguments and no QT_QPA_PLATFORM, the frame buffer
//   platform "linuxfb";
// - without QT_QPA_GENERIC_PLUGINS, the input plugins that read the devices the
//   parts of QWS_MOUSE_PROTO name ("tslib:/dev/input/event1" and the like), taken
//   from inputPlugins (the toolkit's plugin keys), with the platform's own input
//   turned off so that each touch arrives once.
// Variables the environment already sets are never in the list, so a device maker's
// (or a test's) own choice always wins; so does a "-platform" argument.
[[nodiscard]] QList<ToolkitVariable> toolkitVariables(const QStringList& arguments,
    const QStringList& mouseProtocolParts, const QProcessEnvironment& environment, const QStringList& inputPlugins);

// The platform the toolkit is told to start: the last "-platform" argument, else
// QT_QPA_PLATFORM; empty for the toolkit's default. environment is the one the
// toolkit will see, with the toolkit variables set.
[[nodiscard]] QString platformNamed(const QStringList& arguments, const QProcessEnvironment& environment);

// The frame buffer device the toolkit's linuxfb platform will open for that
// platform: its "fb=" option, else /dev/fb0 (/dev/graphics/fb0 where only that
// exists). Empty for any other platform and for linuxfb on a DRM device
// (QT_QPA_FB_DRM), which the toolkit opens itself.
[[nodiscard]] QString frameBufferFor(const QString& platform, const QProcessEnvironment& environment);

// Opens the frame buffer device as the linuxfb platform does and reads its screen
// information; false, with the system's reason in error, if the platform would find
// no screen there. Some toolkit versions end the process when that happens.
[[nodiscard]] bool frameBufferUsable(const QString& device, QString& error);

// Sets variables that were unset (or empty) while it exists and unsets them again at
// its end: the toolkit reads them only while the application object is made, and
// the programs the installer starts later (the main application, a new installer)
// get the environment the installer was started with.
class CToolkitEnvironment {
public:
    explicit CToolkitEnvironment(const QList<ToolkitVariable>& variables);
    ~CToolkitEnvironment();
    CToolkitEnvironment(const CToolkitEnvironment&) = delete;
    CToolkitEnvironment& operator=(const CToolkitEnvironment&) = delete;

private:
    QList<QByteArray> m_names;
};
