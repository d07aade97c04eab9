#pragma once

#include <QList>
#include <QMap>
#include <QString>

// One member of a package archive, as "tar -tv" lists it.
struct PackageMember {
    QChar type; // '-' file, 'd' directory, 'l' symbolic link, 'h' hard link, ...
    qint64 size = 0;
    QString path; // inside the package, "." for its top
    QString linkTarget; // of a symbolic link, as written
    QString stored; // the name as stored, for extracting the member
    QString permissions; // after the type, e.g. "rwxr-xr-x"
};

// The archive's members in the archive's order; false, with failure set, when tar
// cannot list it.
[[nodiscard]] bool packageMembers(const QString& archivePath, QList<PackageMember>& members, QString& failure);
// The package's UPDATE.CONF read with the installer's reader; empty without one.
[[nodiscard]] QMap<QString, QString> packageScript(const QString& archivePath, const QList<PackageMember>& members);

// What the installer accepts in a package but handles badly, read from the
// archive's listing without unpacking it.
struct PackageFinding {
    enum Severity {
        Refusal, // the package must not be built or installed (a link to a directory or out of the package)
        Warning, // it installs, but may not as meant (too large for the RAM disk, unpack time budget)
        Unreadable, // the archive cannot be listed
        Fault, // the device shows an error, refuses it or installs it other than meant
    };
    Severity severity;
    QString text; // e.g. "link 'usr/share/x' is a link to a directory (../y)"
    // A stable identifier for scripts, e.g. "link-to-directory", "delete-refused".
    const char* kind = "";
};

// The kinds of finding that change what Install does, not only what it installs.
namespace FindingKind {
inline constexpr char DeleteRefused[] = "delete-refused"; // Install stops: "File delete error!"
inline constexpr char UpdateConfMissing[] = "update-conf-missing"; // Install stops: "UPDATE.CONF not found!"
inline constexpr char HandOverFails[] = "hand-over-fails"; // the application stays stopped
} // namespace FindingKind

// Lists the archive (a bzip2 tar) and returns its findings, refusals first: its
// links, its size, and what the installer would get wrong following its
// UPDATE.CONF (a DELETE it refuses, a destination that is not absolute, a copy
// that fails, a hand-over that would not start, a help-files version that differs
// from the name's), named pipes and device nodes it does not copy, and what the
// device reads differently in its file name.
[[nodiscard]] QList<PackageFinding> packageFindings(const QString& archivePath);

// What the device reads differently from the archive's file name: a blank (its
// commands are split at blanks), a version that does not read as it looks.
[[nodiscard]] QList<PackageFinding> nameFindings(const QString& archiveName);

// "<archive file name>: refused: <text>", "...: warning: ...", "...: unreadable: ...",
// "...: fails on the device: ...".
[[nodiscard]] QString findingLine(const QString& archiveName, const PackageFinding& finding);
