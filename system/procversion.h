#pragma once

#include <QByteArray>
#include <QString>

// The BSP version in the text of /proc/version: the eighth of its '-'-separated
// pieces (empty pieces count), up to a NUL byte, as it stands (no trimming). Empty,
// not null, when the text has fewer pieces.
[[nodiscard]] QString bspVersionFromProcVersion(const QByteArray& text);
