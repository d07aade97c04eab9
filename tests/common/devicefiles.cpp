#include "common/devicefiles.h"

#include "common/testtools.h"

#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

namespace DeviceFiles {

namespace {

void addEntries(const QString& directory, const QStringList& skipped, Snapshot& entries)
{
    const QFileInfoList infos
        = QDir(directory).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    for (const QFileInfo& info : infos) {
        const QString path = info.absoluteFilePath();
        const int bits = int(info.permissions());
        const QString mode = QStringLiteral("%1%2%3").arg(bits >> 12 & 7).arg(bits >> 4 & 7).arg(bits & 7);
        if (info.isSymLink())
            entries[path] = QStringLiteral("link -> ") + TestTools::readLink(path);
        else if (info.isDir())
            entries[path] = QStringLiteral("directory ") + mode;
        else
            entries[path] = QStringLiteral("file %1 '%2'").arg(mode, escaped(TestTools::readFile(path)));
        if (info.isDir() && !info.isSymLink() && !skipped.contains(path))
            addEntries(path, skipped, entries);
    }
}

} // namespace

QString escaped(const QByteArray& text)
{
    return QString::fromLatin1(QByteArray(text).replace('\n', "\\n").replace('\r', "\\r").replace('\t', "\\t"));
}

QByteArray unescaped(const QString& text)
{
    return text.toLatin1().replace("\\n", "\n").replace("\\r", "\r").replace("\\t", "\t");
}

bool writeEntry(const QString& root, const QString& line)
{
    const bool isLink = line.contains(QLatin1String(" -> "));
    const QString separator = isLink ? QStringLiteral(" -> ") : QStringLiteral(" = ");
    const QString left = line.section(separator, 0, 0);
    const QString value = line.section(separator, 1);
    bool hasMode = false;
    const uint mode = left.section(QLatin1Char(' '), 1).toUInt(&hasMode, 8);
    const QString path = QDir(root).filePath(left.section(QLatin1Char(' '), 0, 0)); // absolute paths stay
    QDir().mkpath(QFileInfo(path).path());
    if (isLink)
        return QFile::link(value, path);
    if (value == QLatin1String("<fifo>"))
        return ::mkfifo(QFile::encodeName(path).constData(), 0644) == 0;
    return TestTools::writeFile(path, unescaped(value)) && (!hasMode || ::chmod(QFile::encodeName(path), mode) == 0);
}

Snapshot snapshot(const QString& directory)
{
    Snapshot entries;
    if (!directory.isEmpty()) {
        addEntries(directory, {}, entries);
        return entries;
    }
    const QStringList skipped { QStringLiteral("/proc"), QStringLiteral("/dev"), QStringLiteral("/sys"),
        QStringLiteral("/tmp"), QStringLiteral("/usr"),
        QLatin1Char('/') + TestPaths::source(QString()).section(QLatin1Char('/'), 1, 1) };
    addEntries(QStringLiteral("/"), skipped, entries);
    addEntries(QStringLiteral("/usr/local"), skipped, entries);
    return entries;
}

QString difference(const Snapshot& before, const Snapshot& after)
{
    QString text;
    for (auto entry = after.cbegin(); entry != after.cend(); ++entry) {
        if (before.value(entry.key()) != entry.value())
            text += QLatin1String(before.contains(entry.key()) ? "changed " : "added ") + entry.key()
                + QLatin1String(": ") + entry.value() + QLatin1Char('\n');
    }
    for (auto entry = before.cbegin(); entry != before.cend(); ++entry) {
        if (!after.contains(entry.key()))
            text += QLatin1String("removed ") + entry.key() + QLatin1Char('\n');
    }
    return text;
}

} // namespace DeviceFiles
