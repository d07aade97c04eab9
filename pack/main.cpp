// pkgupdate-pack SUBCOMMAND [options]: builds, signs and checks update packages
// with the installer's own rules. See pkgupdate-pack --help.
#include "pack/commandline.h"
#include "pack/packcommands.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTextStream>

namespace {

struct Subcommand {
    const char* name;
    const char* summary;
    int (*run)(const QStringList&);
};

const Subcommand Subcommands[] = {
    { "keygen", "make the signing key pair", PackCommands::keygen },
    { "build", "build and sign a package (tree or files)", PackCommands::build },
    { "check", "show what the installer would do with a stick, without a window", PackCommands::check },
    { "simulate", "run the real installer on the simulated device", PackCommands::simulate },
    { "info", "show what a package holds and whether its signature verifies", PackCommands::info },
    { "resign", "sign a package again with another key", PackCommands::resign },
};

void printUsage(QTextStream& out)
{
    out << "Usage: pkgupdate-pack SUBCOMMAND [options]\n"
           "Builds, signs and checks update packages with the installer's own rules.\n\n"
           "Subcommands:\n";
    for (const Subcommand& subcommand : Subcommands)
        out << QStringLiteral("  %1 %2\n")
                   .arg(QLatin1String(subcommand.name), -10)
                   .arg(QLatin1String(subcommand.summary));
    out << "\npkgupdate-pack SUBCOMMAND --help explains each one; --version tells the version.\n\n"
           "A first package:\n"
           "  pkgupdate-pack keygen keys/\n"
           "  pkgupdate-pack build files --name bin --version 3.2.1 --bsp 1.36.0 \\\n"
           "      --key keys/private.pem --out stick/ build/corvane=/usr/local/bin\n"
           "  pkgupdate-pack check stick/ --bsp 1.36.0 --key keys/public.pem\n\n"
           "Exit status:\n"
           "  0  done; check: nothing to report; simulate: the run ended normally\n"
           "  1  check: findings; simulate: the installer did not end as it should\n"
           "  2  wrong arguments\n"
           "  3  build: the package is refused, nothing written\n"
           "  4  an external tool (openssl, tar, cp) or a file operation failed;\n"
           "     simulate: the run could not start\n";
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("pkgupdate-pack"));
    // The installer's own debug lines (e.g. about a name it does not understand) are
    // for its console; the subcommands say what matters in their own words.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString name = arguments.value(0);
    if (name == QLatin1String("--help") || name == QLatin1String("-h")) {
        QTextStream out(stdout);
        printUsage(out);
        return PackCommands::ExitOk;
    }
    if (name == QLatin1String("--version")) {
        QTextStream(stdout) << CCommandLine::versionLine();
        return PackCommands::ExitOk;
    }
    for (const Subcommand& subcommand : Subcommands) {
        if (name == QLatin1String(subcommand.name))
            return subcommand.run(arguments);
    }
    QTextStream err(stderr);
    if (!name.isEmpty())
        err << "pkgupdate-pack: unknown subcommand '" << name << "'\n\n";
    printUsage(err);
    return PackCommands::ExitUsage;
}
