#include "common/golden.h"

#include "common/testtools.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QtDebug>

namespace Golden {

namespace {

bool write(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
}

// "diff -u" of reference and actual, with both named as the test names them.
QByteArray difference(const QString& referencePath, const QString& reference, const QByteArray& actual)
{
    QTemporaryDir scratch;
    const QString actualPath = scratch.filePath(QStringLiteral("actual"));
    if (!write(actualPath, actual))
        return "(cannot write the actual text)";
    QProcess diff;
    diff.start(QStringLiteral("diff"), {QStringLiteral("-u"), QStringLiteral("--label"), reference,
                                        QStringLiteral("--label"), QStringLiteral("actual"),
                                        QFile::exists(referencePath) ? referencePath : QStringLiteral("/dev/null"),
                                        actualPath});
    diff.waitForFinished();
    return diff.readAllStandardOutput();
}

} // namespace

bool matches(const QString& reference, const QString& actual)
{
    const QString path = TestPaths::source(QStringLiteral("tests/") + reference);
    const QByteArray actualBytes = actual.toUtf8();
    QFile file(path);
    if (file.open(QIODevice::ReadOnly) && file.readAll() == actualBytes)
        return true;
    if (qEnvironmentVariableIsSet("PKGUPDATE_UPDATE_GOLDEN")) {
        if (write(path, actualBytes)) {
            qInfo().noquote() << "rewrote" << reference;
            return true;
        }
        qWarning().noquote() << "cannot rewrite" << path;
        return false;
    }
    qWarning().noquote() << difference(path, reference, actualBytes)
                         << "\n(PKGUPDATE_UPDATE_GOLDEN=1 tools/test rewrites the reference)";
    return false;
}

} // namespace Golden
