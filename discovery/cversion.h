#pragma once

#include <QString>

class QDebug;
class QTextStream;

// A version as the installer knows it: either the dotted form "major.minor.build"
// or the build form "Build <n>" (major and minor both 0), optionally marked as
// built from a modified source tree. The all-zero value means "unknown".
//
// Note: <sys/sysmacros.h> defines function-like macros major() and minor(), so
// never write major(...) or minor(...) in code that could see it; use braces.
class CVersion {
public:
    // The unknown version (0, 0, 0, not modified).
    CVersion();
    // The given numbers, stored as they are.
    CVersion(int majorNumber, int minorNumber, int buildNumber, bool isModified);
    // Clears modified, then parses text; text that does not parse gives the unknown version.
    explicit CVersion(const QString& text);

    // Parses "a.b.c" or a single build field such as "Build 123 M". Returns false only
    // for a wrong number of dot-separated fields (two, four or more), which leaves
    // the numbers at 0. Never clears modified.
    bool parse(const QString& text);

    // "a.b.c", "Build n", "Build n M", or the translated "Unknown" when all numbers are 0.
    [[nodiscard]] QString toString() const;

    // True when all three numbers are 0.
    [[nodiscard]] bool isUnknown() const;

    // Orders by major, minor, build; modified takes no part.
    bool operator<(const CVersion& other) const;
    // Equal numbers; modified takes no part, consistent with the ordering.
    bool operator==(const CVersion& other) const;
    bool operator!=(const CVersion& other) const { return !(*this == other); }

    int major;
    int minor;
    int build;
    bool modified;
};

// The display text in double quotes, as the debug stream shows texts.
QDebug operator<<(QDebug debug, const CVersion& version);
// The display text alone.
QTextStream& operator<<(QTextStream& stream, const CVersion& version);
