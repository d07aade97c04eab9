#pragma once

#include <QString>
#include <QStringList>

// What the installer's command line asks for.
struct CommandLine {
    enum Action {
        MissingArgument, // no argument: exit 2
        PrintVersion, // "-v" alone: print the version, exit 0
        PrintBuild, // "-S" alone: print the build, exit 0
        UnknownParameter, // any other single argument: exit 3
        UpdateRun, // two or more arguments
    };

    Action action = MissingArgument;
    // The single unknown argument (UnknownParameter).
    QString argument;
    // The medium directory (UpdateRun): the last argument that is neither "-qws"
    // nor "-v"; empty if there is none.
    QString path;
};

// arguments are the command line without the program name.
[[nodiscard]] CommandLine parseCommandLine(const QStringList& arguments);
