#pragma once

#include "discovery/updatepackage.h"

#include <QList>
#include <QString>

// Plain-text description of what the installer found on a stick, in the words
// the window uses with its English catalogue.
namespace ScanReport {

// The kind of package in words: "installer", "help files", "program", "unrecognised".
[[nodiscard]] QString kindName(int kind);

// "pre-selected", "not selected", or the red reason the window shows instead of
// a check box.
[[nodiscard]] QString stateText(const UpdatePackage& record);

// The table of packages in the order the window shows them (sorted with the
// installer's own package order), one line per row, with a header line; a note
// when the stick held more packages than were taken.
[[nodiscard]] QString table(QList<UpdatePackage> packages, bool truncated);

} // namespace ScanReport
