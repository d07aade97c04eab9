#include "common/testpaths.h"

namespace TestPaths {

QString source(const QString& relative)
{
    return QStringLiteral(PKGUPDATE_SOURCE_DIR "/") + relative;
}

QString build(const QString& relative)
{
    return QStringLiteral(PKGUPDATE_BINARY_DIR "/") + relative;
}

QString executable()
{
    return QStringLiteral(PKGUPDATE_EXECUTABLE);
}

QString sandbox()
{
    return source(QStringLiteral("tools/device-sandbox"));
}

} // namespace TestPaths
