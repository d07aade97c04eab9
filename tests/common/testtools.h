#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>

// Where the tests find the project's files: a file of the source or the build tree, given
// relative to its top ("tools/demo"), and the installer executable.
namespace TestPaths {
inline QString source(const QString& relative)
{
    return QStringLiteral(PKGUPDATE_SOURCE_DIR "/") + relative;
}
inline QString build(const QString& relative)
{
    return QStringLiteral(PKGUPDATE_BINARY_DIR "/") + relative;
}
inline QString executable()
{
    return QStringLiteral(PKGUPDATE_EXECUTABLE);
}
// The package builder pkgupdate-pack, with the emulator that runs it in a cross build.
inline QStringList packCommand()
{
    return QStringLiteral(PKGUPDATE_PACK_COMMAND).split(QLatin1Char('|'));
}
} // namespace TestPaths

// File, process and package helpers shared by the tests.
namespace TestTools {

// Writes content to path, creating missing directories; sets permissions when given.
bool writeFile(const QString& path, const QByteArray& content, QFile::Permissions permissions = {});
// The lines of a data file given relative to tests/ ("install/data/x.txt"),
// without empty lines and "#" comments.
QStringList dataLines(const QString& name);
// Writes an executable shell script running body.
bool writeScript(const QString& path, const QByteArray& body);
// The whole file, or missing when it cannot be read.
QByteArray readFile(const QString& path, const QByteArray& missing = "<missing>");
// The target of a symbolic link as written; empty for anything else.
QString readLink(const QString& path);

struct ToolResult {
    int exitCode = -1; // -1 also after a crash or a time-out
    QString output; // standard output
    QString errors; // standard error, or "time-out"
};
// Runs program with arguments and waits for its end.
ToolResult runTool(const QString& program, const QStringList& arguments, int timeoutMs = 120000);

// Signed packages made by pkgupdate-pack with a key pair of its own.
class CPackageMaker {
public:
    // Makes the key pair in directory/keys.
    explicit CPackageMaker(const QString& directory);
    [[nodiscard]] bool isValid() const { return m_valid; }
    [[nodiscard]] QString privateKey() const { return m_keys + QStringLiteral("/private.pem"); }
    [[nodiscard]] QString publicKey() const { return m_keys + QStringLiteral("/public.pem"); }
    // "pkgupdate-pack build MODE --key KEY --out OUT ARGUMENTS..."; the archive's path, empty on failure.
    [[nodiscard]] QString make(const QString& mode, const QString& out, const QStringList& arguments) const;
    // Puts a version 3.1.0 package on stick: "bin" (a program answering "3.1.0", as a tree),
    // "doc" (help files), "ins" (an installer noting its call, as a file) or "tampered"
    // (bin changed after signing).
    [[nodiscard]] bool makeSample(const QString& kind, const QString& stick, const QString& bsp) const;

private:
    QString m_keys;
    bool m_valid = false;
};

// Records warning lines, and critical lines with the console's "??? " prefix,
// while it exists; debug lines are dropped as on the device, or kept with the
// prefix "debug: " when withDebug is set.
class CDiagnosticsRecorder {
public:
    explicit CDiagnosticsRecorder(bool withDebug = false);
    ~CDiagnosticsRecorder() { qInstallMessageHandler(s_previous); }
    CDiagnosticsRecorder(const CDiagnosticsRecorder&) = delete;
    CDiagnosticsRecorder& operator=(const CDiagnosticsRecorder&) = delete;

    [[nodiscard]] const QStringList& lines() const { return s_lines; }

private:
    static void record(QtMsgType type, const QMessageLogContext& context, const QString& text);
    static inline QStringList s_lines;
    static inline QtMessageHandler s_previous = nullptr;
    static inline bool s_withDebug = false;
};

} // namespace TestTools
