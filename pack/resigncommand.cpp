// pkgupdate-pack resign: a new signature for a package, without unpacking it.
#include "pack/commandline.h"
#include "pack/packcommands.h"
#include "pack/signing.h"

#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cstdio>

namespace PackCommands {

namespace {

const CCommandLine::Help ResignHelp = {
    "--key PRIVATE.pem PACKAGE",
    "Signs the update package PACKAGE again with another key, for a key rotation:\n"
    "PACKAGE.sha1 is replaced, in one rename, by the signature of the same archive\n"
    "bytes; the archive is neither unpacked nor changed. --key takes a PEM file or a\n"
    "PKCS#11 URI (pkcs11:...) of a key in a token, as build does.",
    "Example:\n"
    "  pkgupdate-pack resign --key keys-2027/private.pem stick/bin-3.2.1-BSP-1.36.0.tar.bz2\n\n"
    "Exit status:\n"
    "  0  signed\n"
    "  2  wrong arguments\n"
    "  4  openssl failed, or the signature cannot be put in place\n",
};

const QList<CCommandLine::Option> ResignOptions = {
    { "key", "PRIVATE.pem", "private signing key, or a pkcs11: URI; required" },
};

} // namespace

int resign(const QStringList& arguments)
{
    CCommandLine commandLine(QStringLiteral("resign"), ResignHelp, ResignOptions);
    const int parsed = commandLine.parse(arguments);
    if (parsed >= 0)
        return parsed;
    const QString key = commandLine.value("key");
    if (commandLine.positional().size() != 1)
        return commandLine.usageError(QStringLiteral("needs exactly one PACKAGE"));
    const QString package = commandLine.positional().constFirst();
    if (key.isEmpty())
        return commandLine.usageError(QStringLiteral("--key is required"));
    if (!isTokenKey(key) && !QFileInfo(key).isReadable())
        return commandLine.usageError(QStringLiteral("cannot read key '%1'").arg(key));
    if (!QFileInfo(package).isFile())
        return commandLine.usageError(QStringLiteral("no file '%1'").arg(package));
    const QString signature = package + QStringLiteral(".sha1");
    const QString fresh = signature + QStringLiteral(".new");
    const ExternalRun signing = signArchive(key, package, fresh);
    // rename(2) replaces the old signature in one step: a stick never holds half of one.
    if (!signing.ok
        || std::rename(QFile::encodeName(fresh).constData(), QFile::encodeName(signature).constData()) != 0) {
        QFile::remove(fresh);
        QTextStream(stderr) << "pkgupdate-pack resign: "
                            << (signing.ok ? QStringLiteral("cannot replace '%1'").arg(signature) : signing.failure)
                            << '\n';
        return ExitFailed;
    }
    QTextStream(stdout) << signature << '\n';
    return ExitOk;
}

} // namespace PackCommands
