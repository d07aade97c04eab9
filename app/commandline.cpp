#include "app/commandline.h"

CommandLine parseCommandLine(const QStringList& arguments)
{
    CommandLine line;
    if (arguments.isEmpty())
        return line;

    if (arguments.size() == 1) {
        const QString& only = arguments.first();
        if (only == QLatin1String("-v"))
            line.action = CommandLine::PrintVersion;
        else if (only == QLatin1String("-S"))
            line.action = CommandLine::PrintBuild;
        else
            line.action = CommandLine::UnknownParameter;
        line.argument = only;
        return line;
    }

    // "-qws" goes to the toolkit and "-v" is ignored here; of the rest only the
    // last one counts.
    line.action = CommandLine::UpdateRun;
    for (const QString& argument : arguments) {
        if (argument != QLatin1String("-qws") && argument != QLatin1String("-v"))
            line.path = argument;
    }
    return line;
}
