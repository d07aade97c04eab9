#include "pack/packagefindings.h"

#include "pack/externaltool.h"
#include "system/csystem_vesta.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

namespace {

const qint64 MB = 1024 * 1024;
// The slowest rate at which the device is assumed to write unpacked bytes.
const qint64 DeviceUnpackBytesPerS = 1 * MB;
// tmpfs keeps every file in whole pages.
const qint64 Page = 4096;

// One line of the archive's listing.
struct Member {
    QChar type; // as "tar -tv" shows it: '-' file, 'd' directory, 'l' symbolic link, 'h' hard link, ...
    qint64 size = 0;
    QString path; // inside the package, "." for its top
    QString linkTarget; // of a symbolic link, as written
};

// A name as "tar --quoting-style=c" writes it, without its double quotes.
QString unquoted(const QString& quoted)
{
    static const QByteArray from = "abfnrtv";
    static const QByteArray to = "\a\b\f\n\r\t\v";
    const QByteArray in = quoted.toUtf8();
    QByteArray out;
    for (int i = 0; i < in.size(); ++i) {
        if (in.at(i) != '\\' || i + 1 == in.size()) {
            out += in.at(i);
        } else if (in.at(i + 1) >= '0' && in.at(i + 1) <= '7') {
            out += char(in.mid(i + 1, 3).toInt(nullptr, 8));
            i += 3;
        } else {
            const int escaped = from.indexOf(in.at(++i));
            out += escaped < 0 ? in.at(i) : to.at(escaped);
        }
    }
    return QString::fromUtf8(out);
}

// The member's path inside the package: leading slashes gone, "." and ".." resolved.
QString memberPath(QString name)
{
    while (name.startsWith(QLatin1Char('/')))
        name.remove(0, 1);
    const QString path = QDir::cleanPath(name);
    return path.isEmpty() ? QStringLiteral(".") : path;
}

QString parentOf(const QString& path)
{
    const int slash = path.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QStringLiteral(".") : path.left(slash);
}

// The members as "tar -tvj" lists them, or the reason it cannot.
bool listMembers(const QString& archivePath, QList<Member>& members, QString& failure)
{
    const ExternalRun tar = runExternal(QStringLiteral("tar"),
        { QStringLiteral("--list"), QStringLiteral("--verbose"), QStringLiteral("--bzip2"),
            QStringLiteral("--numeric-owner"), QStringLiteral("--quoting-style=c"), QStringLiteral("--file"),
            archivePath });
    if (!tar.ok) {
        failure = tar.failure;
        return false;
    }
    // mode owner/group size (or major,minor) date time "name" [-> "target" | link to "name"]
    static const QRegularExpression line(QStringLiteral(
        R"re(^(\S)\S*\s+\S+\s+(\d+)(?:,\s*\d+)?\s+\S+\s+\S+\s+"((?:[^"\\]|\\.)*)"(?:\s+(?:->|link to)\s+"((?:[^"\\]|\\.)*)")?$)re"));
    for (const QString& text : QString::fromUtf8(tar.output).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QRegularExpressionMatch match = line.match(text);
        if (!match.hasMatch()) {
            failure = QStringLiteral("tar lists a line that is not understood: ") + text;
            return false;
        }
        members.append({ match.captured(1).at(0), match.captured(2).toLongLong(),
            memberPath(unquoted(match.captured(3))), unquoted(match.captured(4)) });
    }
    return true;
}

// Directories of the package, also those only implied by the paths below them.
QSet<QString> directoriesOf(const QList<Member>& members)
{
    QSet<QString> directories { QStringLiteral(".") };
    for (const Member& member : members) {
        if (member.type == QLatin1Char('d'))
            directories.insert(member.path);
        for (QString path = member.path; path != QLatin1String("."); directories.insert(path))
            path = parentOf(path);
    }
    return directories;
}

// After an installation the installer clears its unpack directory and descends
// into links to directories, so it empties the directory such a link names (a
// link to the share directory removes the public keys, and no stick verifies
// again); a target outside the package cannot be known not to be a directory.
QList<PackageFinding> linkFindings(const QList<Member>& members)
{
    const QSet<QString> directories = directoriesOf(members);
    QList<PackageFinding> findings;
    for (const Member& member : members) {
        if (member.type != QLatin1Char('l'))
            continue;
        const QString parent = parentOf(member.path);
        const QString target = QDir::cleanPath(
            parent == QLatin1String(".") ? member.linkTarget : parent + QLatin1Char('/') + member.linkTarget);
        const QString quotedPath = QLatin1Char('\'') + member.path + QLatin1Char('\'');
        if (member.linkTarget.startsWith(QLatin1Char('/')) || target == QLatin1String("..")
            || target.startsWith(QLatin1String("../"))) {
            findings.append({ PackageFinding::Refusal,
                QStringLiteral("link %1 points out of the package (%2)").arg(quotedPath, member.linkTarget) });
        } else if (directories.contains(target)) {
            findings.append({ PackageFinding::Refusal,
                QStringLiteral("link %1 is a link to a directory (%2)").arg(quotedPath, member.linkTarget) });
        }
    }
    return findings;
}

QString sizeText(qint64 count)
{
    if (count >= MB)
        return QStringLiteral("%1 MB").arg(count / MB);
    if (count >= 1024)
        return QStringLiteral("%1 KB").arg(count / 1024);
    return QStringLiteral("%1 bytes").arg(count);
}

// The unpacked tree must fit the enlarged RAM disk, and the device must unpack it
// within its budget, which grows with the archive's size only: the installer
// takes a time-out as success and installs the truncated files.
QList<PackageFinding> sizeFindings(const QList<Member>& members, qint64 archiveBytes)
{
    qint64 unpacked = 0;
    for (const Member& member : members) {
        if (member.type == QLatin1Char('-'))
            unpacked += (member.size + Page - 1) / Page * Page;
    }
    QList<PackageFinding> findings;
    if (unpacked > kTmpfsBiggerMb * MB) {
        findings.append({ PackageFinding::Warning,
            QStringLiteral("unpacks to %1, more than the %2 MB RAM disk holds")
                .arg(sizeText(unpacked))
                .arg(kTmpfsBiggerMb) });
    }
    const double budgetS = SystemBudgets().unpackBudgetMs(archiveBytes) / 1000.0;
    const double neededS = double(unpacked) / DeviceUnpackBytesPerS;
    if (neededS > budgetS) {
        findings.append({ PackageFinding::Warning,
            QStringLiteral("unpacks %1 from %2; at %3 MB/s that takes %4 s, more than its %5 s unpack budget, "
                           "and a time-out installs truncated files")
                .arg(sizeText(unpacked), sizeText(archiveBytes))
                .arg(DeviceUnpackBytesPerS / MB)
                .arg(neededS, 0, 'f', 0)
                .arg(budgetS, 0, 'f', 0) });
    }
    return findings;
}

} // namespace

QList<PackageFinding> packageFindings(const QString& archivePath)
{
    QList<Member> members;
    QString failure;
    if (!listMembers(archivePath, members, failure))
        return { { PackageFinding::Unreadable, failure } };
    return linkFindings(members) + sizeFindings(members, QFileInfo(archivePath).size());
}

QString findingLine(const QString& archiveName, const PackageFinding& finding)
{
    static const char* const words[] = { "refused", "warning", "unreadable" };
    return QStringLiteral("%1: %2: %3").arg(archiveName, QLatin1String(words[finding.severity]), finding.text);
}
