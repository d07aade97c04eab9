#include "pack/commandline.h"
#include "pack/externaltool.h"
#include "pack/packcommands.h"

#include <QDir>
#include <QTextStream>

namespace PackCommands {

namespace {

const CCommandLine::Help KeygenHelp = {
    "DIR",
    "Makes the key pair that signs update packages: DIR/private.pem (RSA 2048; keep\n"
    "it secret, it signs with pkgupdate-pack build --key) and DIR/public.pem, the\n"
    "public key in PEM form that the device verifies with. DIR is created when\n"
    "missing; key files already in it are replaced.",
    "The device verifies with the public key its BSP selects: BSP 1.7.0 and 1.36.0\n"
    "use /usr/local/share/corvane/qelsslkey.pem, BSP 1.41.0 uses\n"
    "/usr/local/share/corvane/qelupdatekey141.pem; on any other BSP no package\n"
    "verifies. Put DIR/public.pem there.\n\n"
    "Example:\n"
    "  pkgupdate-pack keygen keys/\n\n"
    "Exit status:\n"
    "  0  done\n"
    "  2  wrong arguments\n"
    "  4  openssl failed or DIR cannot be made\n",
};

} // namespace

int keygen(const QStringList& arguments)
{
    CCommandLine commandLine(QStringLiteral("keygen"), KeygenHelp, {});
    const int parsed = commandLine.parse(arguments);
    if (parsed >= 0)
        return parsed;
    if (commandLine.positional().size() != 1)
        return commandLine.usageError(QStringLiteral("needs exactly one DIR"));
    const QString directory = commandLine.positional().constFirst();
    QTextStream err(stderr);
    if (!QDir().mkpath(directory)) {
        err << "pkgupdate-pack keygen: cannot make the directory '" << directory << "'\n";
        return ExitFailed;
    }
    const QString privateKey = directory + QStringLiteral("/private.pem");
    ExternalRun run = runExternal(QStringLiteral("openssl"),
        { QStringLiteral("genrsa"), QStringLiteral("-out"), privateKey, QStringLiteral("2048") });
    if (run.ok) {
        run = runExternal(QStringLiteral("openssl"),
            { QStringLiteral("rsa"), QStringLiteral("-in"), privateKey, QStringLiteral("-pubout"),
                QStringLiteral("-out"), directory + QStringLiteral("/public.pem") });
    }
    if (!run.ok) {
        err << "pkgupdate-pack keygen: " << run.failure << '\n';
        return ExitFailed;
    }
    return ExitOk;
}

} // namespace PackCommands
