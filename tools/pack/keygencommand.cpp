#include "tools/pack/packcommands.h"

#include <QTextStream>

namespace PackCommands {

int keygen(const QStringList&)
{
    QTextStream(stderr) << "pkgupdate-pack keygen: not built yet\n";
    return ExitFailed;
}

} // namespace PackCommands
