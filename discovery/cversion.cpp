#include "discovery/cversion.h"

#include <QCoreApplication>
#include <QDebug>
#include <QRegularExpression>
#include <QStringList>
#include <QTextStream>

namespace {

// A number field of a version; anything that is not a base-10 integer counts as 0.
int fieldValue(const QString& field)
{
    bool ok = false;
    const int value = field.toInt(&ok, 10);
    return ok ? value : 0;
}

} // namespace

CVersion::CVersion()
    : major { 0 }
    , minor { 0 }
    , build { 0 }
    , modified { false }
{
}

CVersion::CVersion(int majorNumber, int minorNumber, int buildNumber, bool isModified)
    : major { majorNumber }
    , minor { minorNumber }
    , build { buildNumber }
    , modified { isModified }
{
}

CVersion::CVersion(const QString& text)
    : CVersion()
{
    parse(text);
}

bool CVersion::parse(const QString& text)
{
    const QStringList parts = text.trimmed().split(QLatin1Char('.'));
    if (parts.size() == 3) {
        major = fieldValue(parts.at(0));
        minor = fieldValue(parts.at(1));
        build = fieldValue(parts.at(2));
        return true;
    }
    major = 0;
    minor = 0;
    build = 0;
    if (parts.size() != 1)
        return false;

    QString buildText = parts.at(0);
    if (buildText.endsWith(QLatin1Char('m'), Qt::CaseInsensitive))
        modified = true;
    // Build answers look like "Build 1234 M" or "r45m": only the digits count.
    static const QRegularExpression lettersAndBlanks(QStringLiteral("[a-zA-Z\\s]"));
    buildText.remove(lettersAndBlanks);
    build = fieldValue(buildText);
    return true;
}

QString CVersion::toString() const
{
    if (major != 0 || minor != 0)
        return QStringLiteral("%1.%2.%3").arg(major).arg(minor).arg(build);
    if (build == 0)
        return QCoreApplication::translate("CVersion", "Unknown");
    if (modified)
        return QStringLiteral("Build %1 M").arg(build);
    return QStringLiteral("Build %1").arg(build);
}

bool CVersion::isUnknown() const
{
    return major == 0 && minor == 0 && build == 0;
}

bool CVersion::operator<(const CVersion& other) const
{
    if (major != other.major)
        return major < other.major;
    if (minor != other.minor)
        return minor < other.minor;
    return build < other.build;
}

bool CVersion::operator==(const CVersion& other) const
{
    return major == other.major && minor == other.minor && build == other.build;
}

QDebug operator<<(QDebug debug, const CVersion& version)
{
    return debug << version.toString();
}

QTextStream& operator<<(QTextStream& stream, const CVersion& version)
{
    return stream << version.toString();
}
