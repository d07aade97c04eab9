#include "common/testtools.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <unistd.h>

namespace TestTools {

bool writeFile(const QString& path, const QByteArray& content, QFile::Permissions permissions)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        return false;
    file.close();
    return !permissions || file.setPermissions(permissions);
}

bool writeScript(const QString& path, const QByteArray& body)
{
    return writeFile(path, "#!/bin/sh\n" + body + '\n',
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther
            | QFile::ExeOther);
}

QByteArray readFile(const QString& path, const QByteArray& missing)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : missing;
}

QStringList dataLines(const QString& name)
{
    const QStringList lines = QString::fromUtf8(readFile(TestPaths::source("tests/" + name))).split('\n');
    return lines.filter(QRegularExpression("^[^#]"));
}

QString readLink(const QString& path)
{
    char buffer[512];
    const ssize_t length = ::readlink(QFile::encodeName(path).constData(), buffer, sizeof buffer);
    return length < 0 ? QString() : QFile::decodeName(QByteArray(buffer, int(length)));
}

ToolResult runTool(const QString& program, const QStringList& arguments, int timeoutMs)
{
    QProcess process;
    process.start(program, arguments);
    ToolResult result;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        result.errors = QStringLiteral("time-out");
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.output = QString::fromLocal8Bit(process.readAllStandardOutput());
    result.errors = QString::fromLocal8Bit(process.readAllStandardError());
    return result;
}

namespace {

ToolResult runPack(const QStringList& arguments)
{
    const QStringList command = TestPaths::packCommand();
    return runTool(command.constFirst(), command.mid(1) + arguments);
}

} // namespace

CPackageMaker::CPackageMaker(const QString& directory)
    : m_keys(directory + QStringLiteral("/keys"))
{
    m_valid = runPack({ QStringLiteral("keygen"), m_keys }).exitCode == 0;
}

QString CPackageMaker::make(const QString& mode, const QString& out, const QStringList& arguments) const
{
    // The installer's tests also install what the builder refuses, and build one
    // name again: --unsafe and --force.
    const ToolResult made
        = runPack(QStringList { QStringLiteral("build"), mode, QStringLiteral("--unsafe"), QStringLiteral("--force"),
                      QStringLiteral("--key"), privateKey(), QStringLiteral("--out"), out }
            + arguments);
    if (made.exitCode != 0)
        qWarning("pkgupdate-pack build failed: %s", qPrintable(made.errors));
    return made.exitCode == 0 ? made.output.trimmed() : QString();
}

bool CPackageMaker::makeSample(const QString& kind, const QString& stick, const QString& bsp) const
{
    const QTemporaryDir source;
    const QStringList arguments { "--version", "3.1.0", "--bsp", bsp, source.path() };
    if (kind == QLatin1String("doc")) {
        writeFile(source.filePath(QStringLiteral("usr/local/share/corvane/help/version.txt")), "version=3.1.0\n");
        return !make(QStringLiteral("tree"), stick, QStringList { "--name", "doc" } + arguments).isEmpty();
    }
    if (kind == QLatin1String("ins")) {
        writeScript(source.filePath("pkgupdate"),
            "echo \"/usr/local/bin/pkgupdate $* (the new one)\" >>/var/log/device-calls.log");
        const QStringList files = arguments.mid(0, 4) << source.filePath("pkgupdate=/usr/local/bin");
        return !make(QStringLiteral("files"), stick, QStringList { "--name", "ins" } + files).isEmpty();
    }
    writeScript(source.filePath(QStringLiteral("usr/local/bin/corvane")), "echo 3.1.0");
    QFile archive(make(QStringLiteral("tree"), stick, QStringList { "--name", "bin" } + arguments));
    if (kind == QLatin1String("tampered"))
        return archive.open(QIODevice::Append) && archive.write("tampered") == 8;
    return archive.exists();
}

void CDiagnosticsRecorder::record(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type == QtDebugMsg && s_withDebug)
        s_lines << QStringLiteral("debug: ") + text;
    else if (type == QtWarningMsg)
        s_lines << text;
    else if (type == QtCriticalMsg)
        s_lines << QStringLiteral("??? ") + text;
    else if (type != QtDebugMsg)
        s_previous(type, context, text);
}

CDiagnosticsRecorder::CDiagnosticsRecorder(bool withDebug)
{
    s_lines.clear();
    s_withDebug = withDebug;
    s_previous = qInstallMessageHandler(record);
}

} // namespace TestTools
