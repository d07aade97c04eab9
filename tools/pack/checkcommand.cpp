#include "tools/pack/packcommands.h"

#include <QTextStream>

namespace PackCommands {

int check(const QStringList&)
{
    QTextStream(stderr) << "pkgupdate-pack check: not built yet\n";
    return ExitFailed;
}

} // namespace PackCommands
