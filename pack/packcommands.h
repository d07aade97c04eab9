#pragma once

#include <QStringList>

// The subcommands of pkgupdate-pack. Each one takes its own arguments, the
// subcommand's name first (as QCommandLineParser::process expects), answers
// --help itself and returns the process exit status.
namespace PackCommands {

// Exit statuses a build script can rely on.
enum ExitStatus {
    ExitOk = 0, // done; check: nothing to warn about; simulate: the run ended normally
    ExitFindings = 1, // check: findings; simulate: the installer did not end as it should
    ExitUsage = 2, // wrong arguments
    ExitRefused = 3, // build: the package would be unsafe or read differently; nothing written
    ExitFailed = 4, // an external tool or a file operation failed; simulate: the run could not start
};

// The version of the --json reports' layout, raised when a key changes its meaning
// or goes; new keys may come without.
inline constexpr int JsonSchema = 1;

int keygen(const QStringList& arguments);
int build(const QStringList& arguments);
int check(const QStringList& arguments);
int simulate(const QStringList& arguments);
int info(const QStringList& arguments);
int resign(const QStringList& arguments);

} // namespace PackCommands
