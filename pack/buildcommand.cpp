#include "discovery/updatepackage.h"
#include "install/updateconf.h"
#include "pack/commandline.h"
#include "pack/externaltool.h"
#include "pack/packagefindings.h"
#include "pack/packcommands.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTextStream>

namespace PackCommands {

namespace {

const CCommandLine::Help BuildHelp = {
    "tree|files [options] SOURCEDIR | FILE=DESTDIR...",
    "Builds an update package: a bzip2 tar archive with an UPDATE.CONF at its top\n"
    "and, beside it, the archive's detached SHA-1 signature \"<archive>.sha1\".\n\n"
    "  build tree [options] SOURCEDIR\n"
    "      The archive holds SOURCEDIR's tree (links kept as links, permission bits\n"
    "      kept), which the device copies onto its root directory, and an\n"
    "      UPDATE.CONF written from --delete and --conf-bsp unless SOURCEDIR has one\n"
    "      (then that one is used as is).\n"
    "  build files [options] FILE=DESTDIR [FILE=DESTDIR ...]\n"
    "      The files lie flat at the archive's top; UPDATE.CONF names their\n"
    "      destination directories (DEST_FILE1..n) and FILE_LIST, in the given order.\n\n"
    "The package is checked with the installer's own rules before anything is\n"
    "written: its file name must read back as the name, version and BSP given, its\n"
    "UPDATE.CONF as the keys meant, and links to a directory or out of the package\n"
    "are refused (the installer empties the directory such a link names when it\n"
    "clears its unpack directory). A package too large for the device's RAM disk, or\n"
    "one that may not unpack within the installer's time budget, is warned about.",
    "The archive's path is printed on standard output, findings on standard error.\n\n"
    "Examples:\n"
    "  pkgupdate-pack build files --name bin --version 3.2.1 --bsp 1.36.0 \\\n"
    "      --key keys/private.pem --out stick/ build/corvane=/usr/local/bin\n"
    "  pkgupdate-pack build tree --name doc --version 1.0.4 --bsp 1.36.0 \\\n"
    "      --key keys/private.pem --out stick/ \\\n"
    "      --delete /usr/local/share/corvane/help help-tree/\n\n"
    "Exit status:\n"
    "  0  built (also with warnings)\n"
    "  2  wrong arguments\n"
    "  3  the package is refused, nothing written\n"
    "  4  an external tool (openssl, tar, cp) or a file operation failed\n",
};

const QList<CCommandLine::Option> BuildOptions = {
    { "name", "NAME",
        "package name: bin (program), doc (help files),\nins (installer); required but with --old-style" },
    { "version", "V", "package version, e.g. 3.2.1; required" },
    { "bsp", "BSP", "BSP version the package is for, e.g. 1.36.0; required\n(\"pkg\" with --old-style: any BSP)" },
    { "key", "PRIVATE.pem", "private signing key (pkgupdate-pack keygen); required\nunless --no-signature" },
    { "out", "OUTDIR", "where the archive goes (created when missing); required" },
    { "delete", "PATH", "UPDATE.CONF's DELETE: a directory the device removes\nbefore copying (default: none)" },
    { "conf-bsp", "TEXT",
        "UPDATE.CONF's BSP (tree mode): the device warns unless\nits BSP is part of TEXT (default: none)" },
    { "conf", "FILE", "use FILE as UPDATE.CONF, as is (default: written from\nthe options)" },
    { "old-style", nullptr,
        "name it <V>-<BSP>-update.tar.bz2 (old installer\npackages) instead of <NAME>-<V>-BSP-<BSP>.tar.bz2" },
    { "file-name", "NAME",
        "the archive's file name, as given and not checked\n(default: made from the options above)" },
    { "no-signature", nullptr, "write no .sha1 file (an old one of the same name is\nremoved)" },
    { "unsafe-links", nullptr, "build with refused links anyway (only to test how the\ninstaller handles them)" },
};

// What the options ask for.
struct BuildRequest {
    QString mode; // "tree" or "files"
    QStringList sources; // SOURCEDIR, or FILE=DESTDIR pairs
    QString name, version, bsp, key, out, remove, confBsp, conf, fileName;
    bool oldStyle = false, sign = true, unsafeLinks = false;
};

// How a step ended: ok, or the exit status and its message.
struct Outcome {
    int status = -1;
    QString text;
    [[nodiscard]] bool ok() const { return status < 0; }
};
Outcome usage(const QString& text)
{
    return { ExitUsage, text };
}
Outcome refused(const QString& text)
{
    return { ExitRefused, text };
}
Outcome failed(const QString& text)
{
    return { ExitFailed, text };
}

// The keys the written UPDATE.CONF must read back to, and the files it lists.
struct Script {
    QMap<QString, QString> keys; // empty when the script is the package's own
    QStringList files; // files mode: FILE_LIST as meant
};

BuildRequest requestOf(const CCommandLine& commandLine)
{
    BuildRequest request;
    const QStringList positional = commandLine.positional();
    request.mode = positional.value(0);
    request.sources = positional.mid(1);
    request.name = commandLine.value("name");
    request.version = commandLine.value("version");
    request.bsp = commandLine.value("bsp");
    request.key = commandLine.value("key");
    request.out = commandLine.value("out");
    request.remove = commandLine.value("delete");
    request.confBsp = commandLine.value("conf-bsp");
    request.conf = commandLine.value("conf");
    request.fileName = commandLine.value("file-name");
    request.oldStyle = commandLine.isSet("old-style");
    request.sign = !commandLine.isSet("no-signature");
    request.unsafeLinks = commandLine.isSet("unsafe-links");
    return request;
}

QString archiveName(const BuildRequest& request)
{
    if (!request.fileName.isEmpty())
        return request.fileName;
    if (request.oldStyle)
        return QStringLiteral("%1-%2-update.tar.bz2").arg(request.version, request.bsp);
    return QStringLiteral("%1-%2-BSP-%3.tar.bz2").arg(request.name, request.version, request.bsp);
}

Outcome checkRequest(const BuildRequest& request)
{
    if (request.mode != QLatin1String("tree") && request.mode != QLatin1String("files"))
        return usage(QStringLiteral("say what to build: tree SOURCEDIR or files FILE=DESTDIR..."));
    if (request.out.isEmpty())
        return usage(QStringLiteral("--out is required"));
    if (request.fileName.isEmpty()) {
        if (request.version.isEmpty())
            return usage(QStringLiteral("--version is required"));
        if (request.bsp.isEmpty())
            return usage(QStringLiteral("--bsp is required"));
        if (!request.oldStyle && request.name.isEmpty())
            return usage(QStringLiteral("--name is required"));
    }
    if (request.sign && request.key.isEmpty())
        return usage(QStringLiteral("--key is required (or --no-signature)"));
    if (request.sign && !QFileInfo(request.key).isReadable())
        return usage(QStringLiteral("cannot read key '%1'").arg(request.key));
    if (!request.conf.isEmpty() && !QFileInfo(request.conf).isReadable())
        return usage(QStringLiteral("cannot read '%1'").arg(request.conf));
    if (request.mode == QLatin1String("tree") && request.sources.size() != 1)
        return usage(QStringLiteral("tree needs exactly one SOURCEDIR"));
    if (request.mode == QLatin1String("files") && request.sources.isEmpty())
        return usage(QStringLiteral("no FILE=DESTDIR given"));
    return {};
}

// The archive's name must classify as the package meant, as the installer's
// collector reads it; a name given with --file-name is taken as it is.
Outcome checkName(const BuildRequest& request, const QString& fileName)
{
    if (!request.fileName.isEmpty())
        return {};
    UpdatePackage record { QFileInfo(fileName) };
    parseName(record, request.bsp);
    const QString meant = request.oldStyle ? QStringLiteral("inst") : request.name;
    if (record.name != meant || record.versionText != request.version || record.bsp != request.bsp) {
        return refused(QStringLiteral("the installer reads '%1' as package '%2', version '%3', BSP '%4' (a '-' or "
                                      "'.tar' in the name, version or BSP breaks the file name)")
                           .arg(fileName, record.name, record.versionText, record.bsp));
    }
    if (!record.selected) {
        return refused(QStringLiteral("the installer cannot read the version '%1' (it reads a.b.c or one number) "
                                      "and never ticks the package")
                           .arg(request.version));
    }
    if (record.priority == KindUnrecognised) {
        QTextStream(stderr) << "pkgupdate-pack build: warning: the installer knows no kind of package named '"
                            << request.name << "' (names begin with bin, doc or ins) and lists it as unrecognised\n";
    }
    return {};
}

// The script's header lines shared by both modes, and the keys they mean.
QString confHead(const BuildRequest& request, Script& script)
{
    // The comment every package made by the builder has carried; it lands on the
    // device as the first line of /UPDATE.CONF, so it stays as it was.
    QString text = QStringLiteral("; made by make-package\n");
    if (!request.remove.isEmpty()) {
        text += QStringLiteral("DELETE = %1\n").arg(request.remove);
        script.keys.insert(QStringLiteral("DELETE"), request.remove);
    }
    if (!request.confBsp.isEmpty()) {
        text += QStringLiteral("BSP = %1\n").arg(request.confBsp);
        script.keys.insert(QStringLiteral("BSP"), request.confBsp);
    }
    return text;
}

Outcome writeText(const QString& path, const QString& text)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text.toLocal8Bit()) >= 0 && file.flush())
        return {};
    return failed(QStringLiteral("cannot write '%1': %2").arg(path, file.errorString()));
}

// cp -a keeps links as links and the permission bits.
Outcome copy(const QString& source, const QString& destination)
{
    const ExternalRun cp = runExternal(QStringLiteral("cp"), { QStringLiteral("-a"), source, destination });
    return cp.ok ? Outcome() : failed(cp.failure);
}

// Stages SOURCEDIR and its UPDATE.CONF: --conf, else the tree's own, else one written.
Outcome stageTree(const BuildRequest& request, const QString& stage, Script& script)
{
    const QString source = request.sources.constFirst();
    if (!QFileInfo(source).isDir())
        return usage(QStringLiteral("'%1' is not a directory").arg(source));
    Outcome outcome = copy(source + QStringLiteral("/."), stage);
    const QString conf = stage + QStringLiteral("/UPDATE.CONF");
    if (outcome.ok() && !request.conf.isEmpty())
        return copy(request.conf, conf);
    if (outcome.ok() && !QFileInfo::exists(conf))
        outcome = writeText(conf, confHead(request, script));
    return outcome;
}

// Stages the files flat and writes the script naming their destinations, or --conf.
Outcome stageFiles(const BuildRequest& request, const QString& stage, Script& script)
{
    QString text = confHead(request, script);
    for (const QString& pair : request.sources) {
        const int equals = pair.lastIndexOf(QLatin1Char('='));
        const QString file = pair.left(equals);
        if (equals < 0)
            return usage(QStringLiteral("'%1' is not FILE=DESTDIR").arg(pair));
        if (!QFileInfo(file).isFile())
            return usage(QStringLiteral("'%1' is not a file").arg(file));
        const QString name = QFileInfo(file).fileName();
        if (script.files.contains(name))
            return usage(QStringLiteral("two files named '%1': the package holds its files flat").arg(name));
        const Outcome copied = copy(file, stage);
        if (!copied.ok())
            return copied;
        script.files << name;
        const QString key = QStringLiteral("DEST_FILE%1").arg(script.files.size());
        text += QStringLiteral("%1 = %2\n").arg(key, pair.mid(equals + 1));
        script.keys.insert(key, pair.mid(equals + 1));
    }
    text += QStringLiteral("FILE_LIST = %1\n").arg(script.files.join(QLatin1Char(' ')));
    if (!request.conf.isEmpty()) {
        script = Script();
        return copy(request.conf, stage + QStringLiteral("/UPDATE.CONF"));
    }
    return writeText(stage + QStringLiteral("/UPDATE.CONF"), text);
}

// The script written must read back, with the installer's reader, to the keys meant,
// and its FILE_LIST must split into the names of the files.
Outcome checkScript(const QString& conf, const Script& script)
{
    const QMap<QString, QString> read = readUpdateConf(conf);
    for (auto it = script.keys.begin(); it != script.keys.end(); ++it) {
        if (read.value(it.key()) != it.value()) {
            return refused(QStringLiteral("UPDATE.CONF would read %1 as '%2', not '%3' (a '=' ends a value, one "
                                          "that begins with '\"' loses every '\"', blanks around it go)")
                               .arg(it.key(), read.value(it.key()), it.value()));
        }
    }
    if (!script.files.isEmpty() && read.value(QStringLiteral("FILE_LIST")).split(QLatin1Char(' ')) != script.files)
        return refused(QStringLiteral("UPDATE.CONF's FILE_LIST splits at blanks: a file name with a blank is lost"));
    return {};
}

// Prints the archive's findings; refuses links the installer handles badly.
Outcome checkFindings(const QString& archive, const QString& fileName, bool unsafeLinks)
{
    bool refusal = false;
    for (const PackageFinding& finding : packageFindings(archive)) {
        if (finding.severity == PackageFinding::Unreadable)
            return failed(QStringLiteral("cannot check the archive: ") + finding.text);
        QTextStream(stderr) << findingLine(fileName, finding) << '\n';
        refusal = refusal || finding.severity == PackageFinding::Refusal;
    }
    if (refusal && !unsafeLinks) {
        return refused(QStringLiteral("a link to a directory or out of the package empties the device's directory "
                                      "when the installer clears its unpack directory"));
    }
    return {};
}

// Archives the stage with neutral owners, checks and signs the archive, all inside
// the work directory; nothing lands in the output directory before it all succeeded.
Outcome pack(const BuildRequest& request, const QString& stage, const QString& fileName, const QString& work)
{
    const QString archive = work + QStringLiteral("/archive.tar.bz2");
    const ExternalRun tar = runExternal(QStringLiteral("tar"),
        { QStringLiteral("-cjf"), archive, QStringLiteral("--owner=0"), QStringLiteral("--group=0"),
            QStringLiteral("--numeric-owner"), QStringLiteral("-C"), stage, QStringLiteral(".") });
    if (!tar.ok)
        return failed(tar.failure);
    const Outcome checked = checkFindings(archive, fileName, request.unsafeLinks);
    if (!checked.ok())
        return checked;
    if (request.sign) {
        const ExternalRun openssl = runExternal(QStringLiteral("openssl"),
            { QStringLiteral("dgst"), QStringLiteral("-sha1"), QStringLiteral("-sign"), request.key,
                QStringLiteral("-out"), archive + QStringLiteral(".sha1"), archive });
        if (!openssl.ok)
            return failed(openssl.failure);
    }
    const QString target = QDir(request.out).absoluteFilePath(fileName);
    QFile::remove(target);
    QFile::remove(target + QStringLiteral(".sha1"));
    if (!QFile::rename(archive, target)
        || (request.sign && !QFile::rename(archive + QStringLiteral(".sha1"), target + QStringLiteral(".sha1"))))
        return failed(QStringLiteral("cannot move the package to '%1'").arg(target));
    QTextStream(stdout) << target << '\n';
    return {};
}

Outcome buildPackage(const BuildRequest& request)
{
    const QString fileName = archiveName(request);
    Outcome outcome = checkName(request, fileName);
    if (!outcome.ok())
        return outcome;
    if (!QDir().mkpath(request.out))
        return failed(QStringLiteral("cannot make the directory '%1'").arg(request.out));
    const QTemporaryDir work(QDir(request.out).absoluteFilePath(QStringLiteral(".pkgupdate-pack-XXXXXX")));
    const QString stage = work.path() + QStringLiteral("/stage");
    if (!work.isValid() || !QDir().mkdir(stage)
        || !QFile::setPermissions(stage,
            QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup
                | QFile::ReadOther | QFile::ExeOther))
        return failed(QStringLiteral("cannot make a work directory in '%1'").arg(request.out));
    Script script;
    outcome = request.mode == QLatin1String("tree") ? stageTree(request, stage, script)
                                                    : stageFiles(request, stage, script);
    if (outcome.ok())
        outcome = checkScript(stage + QStringLiteral("/UPDATE.CONF"), script);
    if (outcome.ok())
        outcome = pack(request, stage, fileName, work.path());
    return outcome;
}

} // namespace

int build(const QStringList& arguments)
{
    CCommandLine commandLine(QStringLiteral("build"), BuildHelp, BuildOptions);
    const int parsed = commandLine.parse(arguments);
    if (parsed >= 0)
        return parsed;
    const BuildRequest request = requestOf(commandLine);
    Outcome outcome = checkRequest(request);
    const bool outExisted = QFileInfo::exists(request.out);
    if (outcome.ok())
        outcome = buildPackage(request);
    if (!outcome.ok() && !outExisted && !request.out.isEmpty())
        QDir().rmdir(request.out);
    if (outcome.status == ExitUsage)
        return commandLine.usageError(outcome.text);
    if (!outcome.ok()) {
        QTextStream(stderr) << "pkgupdate-pack build: " << (outcome.status == ExitRefused ? "refused: " : "")
                            << outcome.text << '\n';
        return outcome.status;
    }
    return ExitOk;
}

} // namespace PackCommands
