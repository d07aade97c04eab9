#include "discovery/updatepackage.h"

#include "discovery/qtquicksort.h"

#include <QDebug>
#include <QFile>
#include <QStringList>

namespace {

// Kind of a new-style package from the beginning of its name, case-blind.
int kindOfName(const QString& name)
{
    if (name.startsWith(QLatin1String("doc"), Qt::CaseInsensitive))
        return KindHelpFiles;
    if (name.startsWith(QLatin1String("bin"), Qt::CaseInsensitive))
        return KindProgram;
    if (name.startsWith(QLatin1String("ins"), Qt::CaseInsensitive))
        return KindInstaller;
    qDebug() << "   ??? Name" << name;
    return KindUnrecognised;
}

// "<name>-<version>-BSP-<bsp>"
void parseNewStyleName(UpdatePackage& record, const QStringList& fields)
{
    if (fields.at(2) != QLatin1String("BSP")) {
        qDebug() << "   ??? BSP" << fields.at(2);
        return;
    }
    record.name = fields.at(0);
    record.bsp = fields.at(3);
    record.versionText = fields.at(1);
    record.selected = true;
    record.priority = kindOfName(record.name);
}

// "<version>-<bsp or pkg>-update": the old installer packages.
void parseOldStyleName(UpdatePackage& record, const QStringList& fields, const QString& deviceBsp)
{
    if (fields.at(2) != QLatin1String("update")) {
        qDebug() << "   ??? update" << fields.at(2);
        return;
    }
    record.versionText = fields.at(0);
    // "pkg" marks a package that fits every device.
    record.bsp = fields.at(1) == QLatin1String("pkg") ? deviceBsp : fields.at(1);
    record.name = QStringLiteral("inst");
    record.selected = true;
    record.priority = KindInstaller;
}

} // namespace

UpdatePackage::UpdatePackage(const QFileInfo& archive)
    : file(archive)
    , name(archive.completeBaseName().remove(QStringLiteral(".tar")))
{
}

QString UpdatePackage::signaturePath() const
{
    return file.absoluteFilePath() + QStringLiteral(".sha1");
}

QDebug operator<<(QDebug debug, const UpdatePackage& package)
{
    QDebugStateSaver saver(debug);
    debug.nospace() << "UpdatePackage(" << package.name << ", " << package.version << ", installed "
                    << package.installed << ", bsp " << package.bsp << ", kind " << package.priority << ", error "
                    << package.error << ", selected " << package.selected << ')';
    return debug;
}

void parseName(UpdatePackage& record, const QString& deviceBsp)
{
    const QStringList fields = record.name.split(QLatin1Char('-'));
    if (fields.size() == 4)
        parseNewStyleName(record, fields);
    else if (fields.size() == 3)
        parseOldStyleName(record, fields, deviceBsp);
    if (!record.version.parse(record.versionText))
        record.selected = false;
}

void checkSignatureFile(UpdatePackage& record)
{
    if (record.error != ErrorNone)
        return;
    if (!QFile::exists(record.signaturePath())) {
        record.selected = false;
        record.error = ErrorMissingSignature;
    }
}

void checkBsp(UpdatePackage& record, const QString& deviceBsp)
{
    if (record.error != ErrorNone)
        return;
    if (deviceBsp == record.bsp)
        return;
    // Packages for BSP 1.7.0 also run on 1.36.0 devices (not the other way round).
    if (deviceBsp == QLatin1String("1.36.0") && record.bsp == QLatin1String("1.7.0"))
        return;
    record.selected = false;
    record.error = ErrorWrongBsp;
}

bool packageLessThan(const UpdatePackage& a, const UpdatePackage& b)
{
    return b.version < a.version || a.priority < b.priority;
}

void sortPackages(QList<UpdatePackage>& packages)
{
    qtQuickSort(packages.begin(), packages.end(), packageLessThan);
}
