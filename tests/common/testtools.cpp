#include "common/testtools.h"

#include "common/testpaths.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

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
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup
            | QFile::ReadOther | QFile::ExeOther);
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
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

CPackageMaker::CPackageMaker(const QString& directory)
    : m_keys(directory + QStringLiteral("/keys"))
{
    m_valid = runTool(TestPaths::source(QStringLiteral("tools/make-package")), { QStringLiteral("keygen"), m_keys })
                  .exitCode
        == 0;
}

QString CPackageMaker::make(const QString& mode, const QString& out, const QStringList& arguments) const
{
    const ToolResult made = runTool(TestPaths::source(QStringLiteral("tools/make-package")),
        QStringList { mode, QStringLiteral("--key"), privateKey(), QStringLiteral("--out"), out } + arguments);
    if (made.exitCode != 0)
        qWarning("make-package failed: %s", qPrintable(made.errors));
    return made.exitCode == 0 ? made.output.trimmed() : QString();
}

bool CPackageMaker::sign(const QString& archive) const
{
    return runTool(QStringLiteral("openssl"),
               { QStringLiteral("dgst"), QStringLiteral("-sha1"), QStringLiteral("-sign"), privateKey(),
                   QStringLiteral("-out"), archive + QStringLiteral(".sha1"), archive })
               .exitCode
        == 0;
}

CPathOverride::CPathOverride(const QString& directory, bool only)
    : m_oldPath(qgetenv("PATH"))
{
    qputenv("PATH", only ? QFile::encodeName(directory) : QFile::encodeName(directory) + ':' + m_oldPath);
}

CPathOverride::~CPathOverride() { qputenv("PATH", m_oldPath); }

CConsoleWatch::CConsoleWatch()
    : m_start(QFileInfo(QStringLiteral("/dev/console")).size())
{
}

QByteArray CConsoleWatch::written() const { return readFile(QStringLiteral("/dev/console")).mid(int(m_start)); }

namespace {

QStringList s_lines;
QtMessageHandler s_previous = nullptr;

void recordMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (type == QtWarningMsg)
        s_lines << text;
    else if (type == QtCriticalMsg)
        s_lines << QStringLiteral("??? ") + text;
    else if (type != QtDebugMsg)
        s_previous(type, context, text);
}

} // namespace

CDiagnosticsRecorder::CDiagnosticsRecorder()
{
    s_lines.clear();
    s_previous = qInstallMessageHandler(recordMessage);
}

CDiagnosticsRecorder::~CDiagnosticsRecorder() { qInstallMessageHandler(s_previous); }

const QStringList& CDiagnosticsRecorder::lines() const { return s_lines; }

} // namespace TestTools
