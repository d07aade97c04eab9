#pragma once

#include <QString>
#include <QStringList>

class CSystemTemplate;
class CUpdateCollector;
class CVersion;
class CWorker;

// The process-wide objects that one run of the installer wires together.
struct ProcessObjects {
    CSystemTemplate& system;
    CUpdateCollector& collector;
    CWorker& worker;
    const CVersion& installerVersion;
    const CVersion& installerBuild;
    const QString& versionSuffix;
};

// Checks the command line, scans the medium and, if packages were found, runs the
// window between stopping the main application and the follow-up action (restart,
// hand-over to the new installer, or reboot). Returns the process exit status.
int runInstaller(int& argc, char** argv, const ProcessObjects& objects);

// A touch screen driven through tslib gets no mouse pointer: one blank override
// cursor is pushed per part of QWS_MOUSE_PROTO that names tslib (any case).
void hidePointerOnTouchScreen(const QStringList& mouseProtocolParts);
