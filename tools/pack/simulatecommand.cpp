#include "tools/pack/packcommands.h"

#include <QTextStream>

namespace PackCommands {

int simulate(const QStringList&)
{
    QTextStream(stderr) << "pkgupdate-pack simulate: not built yet\n";
    return ExitFailed;
}

} // namespace PackCommands
