#include "discovery/updatepackage.h"
#include "install/updateconf.h"
#include "pack/commandline.h"
#include "pack/externaltool.h"
#include "pack/packagefindings.h"
#include "pack/packcommands.h"
#include "pack/signing.h"
#include "system/csystemtemplate.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTextStream>

#include <csignal>
#include <cstdio>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

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
    "written and refused when a device would not install it as meant: a name,\n"
    "version or BSP that does not read back as given, a BSP no device has a key\n"
    "for, a blank in the name, an UPDATE.CONF that reads otherwise, an empty or\n"
    "relative destination, a DELETE the installer refuses, links to a directory or\n"
    "out of the package, a named pipe or device node, an installer without a\n"
    "launcher at /usr/local/bin/pkgupdate, help files whose version.txt differs. A\n"
    "files-mode link is packed as the file it points to. A package too large for\n"
    "the device's RAM disk, or one that may not unpack within the installer's time\n"
    "budget, is warned about. Members are sorted and their times clamped to\n"
    "SOURCE_DATE_EPOCH (default: the newest input's), so the same inputs give the\n"
    "same bytes.",
    "The archive's path is printed on standard output, findings on standard error.\n\n"
    "Examples:\n"
    "  pkgupdate-pack build files --name bin --version 3.2.1 --bsp 1.36.0 \\\n"
    "      --key keys/private.pem --out stick/ build/corvane=/usr/local/bin\n"
    "  pkgupdate-pack build tree --name doc --version 1.0.4 --bsp 1.36.0 \\\n"
    "      --key keys/private.pem --out stick/ \\\n"
    "      --delete /usr/local/share/corvane/help help-tree/\n\n"
    "Exit status:\n"
    "  0  built (also with warnings, unless --strict)\n"
    "  2  wrong arguments, or options that would not apply\n"
    "  3  the package is refused, or exists already (see --force); nothing written\n"
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
    { "unsafe", nullptr, "build a refused package anyway (only to test how the\ninstaller and check handle it)" },
    { "launcher", nullptr,
        "installer packages: install the given /usr/local/bin/pkgupdate\nas pkgupdate.bin and a launcher script as "
        "pkgupdate,\n"
        "which the hand-over can start with the stick's path" },
    { "strict", nullptr, "refuse the package on warnings too (size, unpack time,\nunknown kind)" },
    { "force", nullptr, "replace an archive or signature of the same name in OUTDIR\n(default: refuse)" },
};

// What the options ask for.
struct BuildRequest {
    QString mode; // "tree" or "files"
    QStringList sources; // SOURCEDIR, or FILE=DESTDIR pairs
    QString name, version, bsp, key, out, remove, confBsp, conf, fileName;
    bool oldStyle = false, sign = true, unsafe = false, launcher = false, strict = false, force = false;
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
    request.unsafe = commandLine.isSet("unsafe");
    request.launcher = commandLine.isSet("launcher");
    request.strict = commandLine.isSet("strict");
    request.force = commandLine.isSet("force");
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

// Options that would have no effect are refused, not ignored.
Outcome checkOptionsApply(const BuildRequest& request)
{
    const bool ownConf = !request.conf.isEmpty()
        || (request.mode == QLatin1String("tree")
            && QFileInfo::exists(request.sources.value(0) + QLatin1Char('/') + QLatin1String(kUpdateConfName)));
    if (ownConf && (!request.remove.isEmpty() || !request.confBsp.isEmpty()))
        return usage(QStringLiteral("--delete and --conf-bsp write UPDATE.CONF, but the package brings its own "
                                    "(--conf or SOURCEDIR/UPDATE.CONF): put DELETE and BSP there"));
    if (request.mode == QLatin1String("files") && !request.confBsp.isEmpty())
        return usage(QStringLiteral("--conf-bsp is for tree packages: the installer reads UPDATE.CONF's BSP only "
                                    "when it copies a tree"));
    if (request.oldStyle && !request.name.isEmpty())
        return usage(QStringLiteral("--old-style packages are installers named <V>-<BSP>-update.tar.bz2: drop "
                                    "--name"));
    if (request.launcher && !request.oldStyle && !request.name.startsWith(QLatin1String("ins")))
        return usage(QStringLiteral("--launcher is for installer packages (--name ins... or --old-style)"));
    return {};
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
    if (request.sign && !isTokenKey(request.key) && !QFileInfo(request.key).isReadable())
        return usage(QStringLiteral("cannot read key '%1'").arg(request.key));
    if (!request.conf.isEmpty() && !QFileInfo(request.conf).isReadable())
        return usage(QStringLiteral("cannot read '%1'").arg(request.conf));
    if (request.mode == QLatin1String("tree") && request.sources.size() != 1)
        return usage(QStringLiteral("tree needs exactly one SOURCEDIR"));
    if (request.mode == QLatin1String("files") && request.sources.isEmpty())
        return usage(QStringLiteral("no FILE=DESTDIR given"));
    return checkOptionsApply(request);
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
        if (request.strict)
            return refused(QStringLiteral("--strict: a warning refuses the package"));
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

// cp -a keeps links as links and the permission bits; with followLinks a link is
// copied as the file it points to.
Outcome copy(const QString& source, const QString& destination, bool followLinks = false)
{
    const QStringList options { QStringLiteral("-a") };
    const ExternalRun cp = runExternal(QStringLiteral("cp"),
        options + (followLinks ? QStringList { QStringLiteral("-L") } : QStringList())
            + QStringList { source, destination });
    return cp.ok ? Outcome() : failed(cp.failure);
}

// Stages SOURCEDIR and its UPDATE.CONF: --conf, else the tree's own, else one written.
Outcome stageTree(const BuildRequest& request, const QString& stage, Script& script)
{
    const QString source = request.sources.constFirst();
    if (!QFileInfo(source).isDir())
        return usage(QStringLiteral("'%1' is not a directory").arg(source));
    Outcome outcome = copy(source + QStringLiteral("/."), stage);
    const QString conf = stage + QLatin1Char('/') + QLatin1String(kUpdateConfName);
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
        if (name == QLatin1String(kUpdateConfName))
            return usage(
                QStringLiteral("a file named '%1': the package's script of that name would take its place").arg(name));
        // The device copies files, not links: a link (corvane -> corvane-3.3.0) is
        // packed as the file it points to, under the link's name.
        if (QFileInfo(file).isSymLink()) {
            QTextStream(stderr) << "pkgupdate-pack build: '" << file << "' is a link: the package holds the file it "
                                << "points to (" << QFileInfo(file).canonicalFilePath() << ") as '" << name << "'\n";
        }
        const Outcome copied = copy(file, stage, true);
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
        return copy(request.conf, stage + QLatin1Char('/') + QLatin1String(kUpdateConfName));
    }
    return writeText(stage + QLatin1Char('/') + QLatin1String(kUpdateConfName), text);
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

// Prints the archive's findings; refuses what the device would not install as
// meant, links the installer handles badly, and with --strict any warning.
Outcome checkFindings(const QString& archive, const BuildRequest& request)
{
    bool unsafeLink = false, fault = false, warning = false;
    for (const PackageFinding& finding : packageFindings(archive)) {
        if (finding.severity == PackageFinding::Unreadable)
            return failed(QStringLiteral("cannot check the archive: ") + finding.text);
        QTextStream(stderr) << findingLine(QFileInfo(archive).fileName(), finding) << '\n';
        unsafeLink = unsafeLink || finding.severity == PackageFinding::Refusal;
        fault = fault || finding.severity == PackageFinding::Fault;
        warning = warning || finding.severity == PackageFinding::Warning;
    }
    if (unsafeLink && !request.unsafe) {
        return refused(QStringLiteral("a link to a directory or out of the package empties the device's directory "
                                      "when the installer clears its unpack directory"));
    }
    if (fault && !request.unsafe)
        return refused(QStringLiteral("the device would not install this package as meant (see above)"));
    if (warning && request.strict)
        return refused(QStringLiteral("--strict: a warning refuses the package"));
    return {};
}

// The archive's times: SOURCE_DATE_EPOCH when set, else the newest input's time,
// so that two builds of the same inputs give the same bytes.
qint64 sourceDateEpoch(const BuildRequest& request)
{
    bool set = false;
    const qint64 epoch = qEnvironmentVariable("SOURCE_DATE_EPOCH").toLongLong(&set);
    if (set)
        return epoch;
    QStringList inputs;
    for (const QString& source : request.sources)
        inputs << (request.mode == QLatin1String("files") ? source.left(source.lastIndexOf(QLatin1Char('='))) : source);
    if (!request.conf.isEmpty())
        inputs << request.conf;
    qint64 newest = 0;
    for (const QString& input : qAsConst(inputs)) {
        newest = qMax(newest, QFileInfo(input).lastModified().toSecsSinceEpoch());
        QDirIterator entries(
            input, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            entries.next();
            newest = qMax(newest, entries.fileInfo().lastModified().toSecsSinceEpoch());
        }
    }
    return newest;
}

// Archives the stage reproducibly: members sorted by name, times clamped to the
// source date, owner and group 0 by number.
Outcome archiveStage(const QString& stage, const QString& archive, qint64 epoch)
{
    const ExternalRun tar = runExternal(QStringLiteral("tar"),
        { QStringLiteral("-cjf"), archive, QStringLiteral("--sort=name"), QStringLiteral("--mtime=@%1").arg(epoch),
            QStringLiteral("--clamp-mtime"), QStringLiteral("--owner=0"), QStringLiteral("--group=0"),
            QStringLiteral("--numeric-owner"), QStringLiteral("-C"), stage, QStringLiteral(".") });
    return tar.ok ? Outcome() : failed(tar.failure);
}

// Puts the signature, then the archive in OUTDIR, each by a rename: the device
// never finds the archive without its signature. An old archive of the same name
// goes first, so that it is never seen with the new signature.
Outcome publish(const QString& archive, const QString& target, bool sign)
{
    // rename(2) replaces an existing file in one step; QFile::rename would not.
    const auto moved = [](const QString& from, const QString& to) {
        return ::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
    };
    const QString signature = target + QStringLiteral(".sha1");
    QFile::remove(target);
    if (sign && !moved(archive + QStringLiteral(".sha1"), signature))
        return failed(QStringLiteral("cannot move the signature to '%1'").arg(signature));
    if (!sign)
        QFile::remove(signature);
    if (!moved(archive, target))
        return failed(QStringLiteral("cannot move the package to '%1'").arg(target));
    return {};
}

// Archives, checks and signs the stage inside the work directory; nothing lands in
// the output directory before it all succeeded.
Outcome pack(const BuildRequest& request, const QString& stage, const QString& fileName, const QString& work)
{
    // The archive carries its own name while it is checked: its kind and version are read from it.
    const QString archive = work + QLatin1Char('/') + fileName;
    Outcome outcome = archiveStage(stage, archive, sourceDateEpoch(request));
    if (outcome.ok())
        outcome = checkFindings(archive, request);
    if (outcome.ok() && request.sign) {
        const ExternalRun openssl = signArchive(request.key, archive, archive + QStringLiteral(".sha1"));
        if (!openssl.ok)
            return failed(openssl.failure);
    }
    const QString target = QDir(request.out).absoluteFilePath(fileName);
    if (outcome.ok())
        outcome = publish(archive, target, request.sign);
    if (outcome.ok())
        QTextStream(stdout) << target << '\n';
    return outcome;
}

// The work directory that SIGINT, SIGTERM or SIGHUP remove before the build ends
// as the signal would end it, and OUTDIR if the build made it: an interrupted build
// leaves nothing.
class InterruptCleanup {
public:
    InterruptCleanup(const QString& work, const QString& madeOut)
    {
        qstrncpy(s_work, QFile::encodeName(work).constData(), sizeof s_work);
        qstrncpy(s_madeOut, QFile::encodeName(madeOut).constData(), sizeof s_madeOut);
        for (size_t index = 0; index < std::size(kSignals); ++index)
            m_previous[index] = std::signal(kSignals[index], &removeAndEnd);
    }
    ~InterruptCleanup()
    {
        for (size_t index = 0; index < std::size(kSignals); ++index)
            std::signal(kSignals[index], m_previous[index]);
    }
    InterruptCleanup(const InterruptCleanup&) = delete;
    InterruptCleanup& operator=(const InterruptCleanup&) = delete;

private:
    static constexpr int kSignals[] = { SIGINT, SIGTERM, SIGHUP };
    // Only async-signal-safe calls: fork, execv, waitpid, signal, raise.
    static void removeAndEnd(int signalNumber)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            char rm[] = "rm", recursive[] = "-rf";
            char* const argv[] = { rm, recursive, s_work, nullptr };
            ::execv("/bin/rm", argv);
            ::_exit(127);
        }
        if (child > 0)
            ::waitpid(child, nullptr, 0);
        if (s_madeOut[0] != '\0')
            ::rmdir(s_madeOut);
        std::signal(signalNumber, SIG_DFL);
        std::raise(signalNumber);
    }
    static inline char s_work[4096] = {};
    static inline char s_madeOut[4096] = {};
    void (*m_previous[std::size(kSignals)])(int) = {};
};

// The launcher that --launcher installs as /usr/local/bin/pkgupdate: the hand-over
// starts that path with the stick's path alone, which the installer binary refuses.
const QString LauncherScript = QStringLiteral("#!/bin/sh\n"
                                              "# Starts the installer on the panel; a hand-over gives the stick's path "
                                              "alone.\n"
                                              "[ \"$1\" = -qws ] || set -- -qws \"$@\"\n"
                                              "exec %1.bin \"$@\"\n");

// Moves the installer binary at path to path.bin and writes the launcher at path.
Outcome writeLauncher(const QString& path)
{
    const QString binary = path + QStringLiteral(".bin");
    QFile::remove(binary);
    if (!QFile::rename(path, binary))
        return failed(QStringLiteral("cannot rename '%1' to '%2'").arg(path, binary));
    const Outcome written = writeText(path, LauncherScript.arg(CSystemTemplate::standardInstallerPath()));
    if (written.ok() && !QFile::setPermissions(path, QFile::permissions(binary)))
        return failed(QStringLiteral("cannot make '%1' executable").arg(path));
    return written;
}

// --launcher in files mode: the file given for /usr/local/bin/pkgupdate is copied to
// the work directory, where it becomes pkgupdate.bin beside its launcher.
Outcome launcherSources(BuildRequest& request, const QString& work)
{
    const QFileInfo installer(CSystemTemplate::standardInstallerPath());
    for (int index = 0; index < request.sources.size(); ++index) {
        const QString pair = request.sources.at(index);
        const int equals = pair.lastIndexOf(QLatin1Char('='));
        if (QFileInfo(pair.left(equals)).fileName() != installer.fileName()
            || QDir::cleanPath(pair.mid(equals + 1)) != installer.path())
            continue;
        const QString copied = work + QStringLiteral("/launcher/") + installer.fileName();
        Outcome outcome = QDir().mkpath(QFileInfo(copied).path())
            ? copy(pair.left(equals), copied, true)
            : failed(QStringLiteral("cannot make a work directory"));
        if (outcome.ok())
            outcome = writeLauncher(copied);
        request.sources.replace(index, copied + QStringLiteral(".bin=") + installer.path());
        request.sources.insert(index + 1, copied + QLatin1Char('=') + installer.path());
        return outcome;
    }
    return usage(QStringLiteral("--launcher needs the installer as FILE=%1 with FILE named %2")
                     .arg(installer.path(), installer.fileName()));
}

Outcome buildPackage(BuildRequest request)
{
    const QString fileName = archiveName(request);
    Outcome outcome = checkName(request, fileName);
    if (!outcome.ok())
        return outcome;
    const QString target = QDir(request.out).absoluteFilePath(fileName);
    if (!request.force && (QFileInfo::exists(target) || QFileInfo::exists(target + QStringLiteral(".sha1"))))
        return refused(QStringLiteral("'%1' or its signature exists: give --force to replace them").arg(target));
    const bool outExisted = QFileInfo::exists(request.out);
    if (!QDir().mkpath(request.out))
        return failed(QStringLiteral("cannot make the directory '%1'").arg(request.out));
    const QTemporaryDir work(QDir(request.out).absoluteFilePath(QStringLiteral(".pkgupdate-pack-XXXXXX")));
    const InterruptCleanup cleanup(work.path(), outExisted ? QString() : request.out);
    const QString stage = work.path() + QStringLiteral("/stage");
    if (!work.isValid() || !QDir().mkdir(stage)
        || !QFile::setPermissions(stage,
            QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup
                | QFile::ReadOther | QFile::ExeOther))
        return failed(QStringLiteral("cannot make a work directory in '%1'").arg(request.out));
    if (request.launcher && request.mode == QLatin1String("files"))
        outcome = launcherSources(request, work.path());
    Script script;
    if (outcome.ok())
        outcome = request.mode == QLatin1String("tree") ? stageTree(request, stage, script)
                                                        : stageFiles(request, stage, script);
    if (outcome.ok() && request.launcher && request.mode == QLatin1String("tree"))
        outcome = writeLauncher(stage + CSystemTemplate::standardInstallerPath());
    if (outcome.ok())
        outcome = checkScript(stage + QLatin1Char('/') + QLatin1String(kUpdateConfName), script);
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
