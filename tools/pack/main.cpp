// pkgupdate-pack SUBCOMMAND [options]: builds, signs and checks update packages
// with the installer's own rules. See pkgupdate-pack --help.
#include "tools/pack/packcommands.h"

#include <QCoreApplication>
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
    out << "\npkgupdate-pack SUBCOMMAND --help explains each one.\n";
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("pkgupdate-pack"));
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString name = arguments.value(0);
    if (name == QLatin1String("--help") || name == QLatin1String("-h")) {
        QTextStream out(stdout);
        printUsage(out);
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
