#pragma once

#include "discovery/cversion.h"
#include "discovery/installerversion.h"
#include "discovery/updatepackage.h"

#include <QFileInfo>
#include <QList>
#include <QString>

class CWaitedCommand;

// What the collector needs to know about the device. The defaults are the
// device's own paths and time limits; tests replace them.
struct CollectorEnvironment {
    // The device's BSP version text, as the platform object read it.
    QString deviceBsp;
    // Installed version of installer packages: the installer's own version.
    CVersion installerVersion = CVersion(QString::fromLatin1(InstallerVersion::version));
    // The main application, asked with "-v" for the installed program version.
    QString programPath = QStringLiteral("/usr/local/bin/corvane");
    // Key=value file whose "version" key is the installed help-files version.
    QString helpVersionFile = QStringLiteral("/usr/local/share/corvane/help/version.txt");
    // Time limits of the program version query, in milliseconds.
    int programStartMs = 400;
    int programFinishMs = 5000;
};

class CSystemTemplate;

// The facts of the device the platform object runs on: its BSP version and the
// help-files version file in its share directory; the rest as the defaults.
[[nodiscard]] CollectorEnvironment deviceCollectorEnvironment(const CSystemTemplate& system);

// Turns the update medium's directory into the list of package records, with
// installed versions and the pre-selection.
class CUpdateCollector {
public:
    // Most archives the installer takes from one medium.
    static constexpr int packageLimit = 6;

    explicit CUpdateCollector(int maxCount, const CollectorEnvironment& environment = CollectorEnvironment());

    // Replaces the device facts used by later scans.
    void setEnvironment(const CollectorEnvironment& environment);
    [[nodiscard]] const CollectorEnvironment& environment() const { return m_environment; }

    // Rebuilds packages from the "*.tar.bz2" archives in path (at most maxCount of
    // them, case-blind name order) and returns the number of records.
    int scan(const QString& path);

    // Fills record.installed by kind and keeps it selected only if it is newer.
    void SetCurrent(UpdatePackage& record);

    // Leaves only the newest selected version of each kind selected (ties all stay).
    void keepNewestPerKind();

    // Asks "<programPath> -v" for its version; the unknown version on any failure.
    [[nodiscard]] CVersion readProgramVersion(const QString& programPath) const;

    int maxCount;
    bool truncated = false;
    QList<UpdatePackage> packages;

private:
    // A record for one archive: name read, files checked, installed version set.
    UpdatePackage examine(const QFileInfo& archive);
    // What is installed of the given package kind; unknown for kind 2 and others.
    CVersion installedVersion(int kind) const;
    static bool isKnownKind(int kind);
    // The version in a finished query's standard output, if it exited with 0.
    static CVersion versionFromAnswer(CWaitedCommand& query);

    CollectorEnvironment m_environment;
};
