#include "common/golden.h"

#include "common/testtools.h"

#include <QProcess>
#include <QtDebug>

namespace Golden {

bool matches(const QString& reference, const QString& actual)
{
    const QString path = TestPaths::source(QStringLiteral("tests/") + reference);
    const QByteArray bytes = actual.toUtf8();
    if (TestTools::readFile(path) == bytes)
        return true;
    if (qEnvironmentVariableIsSet("PKGUPDATE_UPDATE_GOLDEN")) {
        const bool written = TestTools::writeFile(path, bytes);
        qInfo().noquote() << (written ? "rewrote" : "cannot rewrite") << path;
        return written;
    }
    // "diff -u" of reference and actual, with both named as the test names them.
    QProcess diff;
    diff.start(QStringLiteral("diff"),
        { "-u", "--label", reference, "--label", "actual", QFile::exists(path) ? path : "/dev/null", "-" });
    diff.write(bytes);
    diff.closeWriteChannel();
    diff.waitForFinished();
    qWarning().noquote() << diff.readAllStandardOutput()
                         << "\n(PKGUPDATE_UPDATE_GOLDEN=1 tools/test rewrites the reference)";
    return false;
}

} // namespace Golden
