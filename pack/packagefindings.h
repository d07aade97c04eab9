#pragma once

#include <QList>
#include <QString>

// What the installer accepts in a package but handles badly, read from the
// archive's listing without unpacking it.
struct PackageFinding {
    enum Severity {
        Refusal, // the package must not be built or installed (a link to a directory or out of the package)
        Warning, // it installs, but may not as meant (too large for the RAM disk, unpack time budget)
        Unreadable, // the archive cannot be listed
    };
    Severity severity;
    QString text; // e.g. "link 'usr/share/x' is a link to a directory (../y)"
};

// Lists the archive (a bzip2 tar) and returns its findings, refusals first.
[[nodiscard]] QList<PackageFinding> packageFindings(const QString& archivePath);

// "<archive file name>: refused: <text>", "...: warning: ...", "...: unreadable: ...".
[[nodiscard]] QString findingLine(const QString& archiveName, const PackageFinding& finding);
