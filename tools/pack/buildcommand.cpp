#include "tools/pack/packcommands.h"

#include <QTextStream>

namespace PackCommands {

int build(const QStringList&)
{
    QTextStream(stderr) << "pkgupdate-pack build: not built yet\n";
    return ExitFailed;
}

} // namespace PackCommands
