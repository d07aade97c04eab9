// Package discovery as the technician's stick shows it: version texts, package
// file names, the program's version query and what the collector finds on a few
// sticks, read from data files and compared with reviewed reference tables; and
// the package order against Qt's own quicksort.

#include "common/devicefiles.h"
#include "common/golden.h"
#include "common/testtools.h"
#include "discovery/cupdatecollector.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using namespace TestTools;

class DiscoveryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void versions();
    void collector();
    void sortLikeQt();

private:
    QTemporaryDir m_dir;
    CollectorEnvironment m_device;
};

void DiscoveryTest::versions()
{
    QString text;
    const QRegularExpression quoted(QStringLiteral("'([^']*)'"));
    for (const QString& line : dataLines(QStringLiteral("discovery/data/versions.txt"))) {
        QStringList texts;
        for (auto match = quoted.globalMatch(line); match.hasNext();)
            texts << QString::fromLatin1(DeviceFiles::unescaped(match.next().captured(1)));
        CVersion a, marked(0, 0, 7, true); // parsing never clears the mark
        const bool ok = a.parse(texts.first());
        const CVersion b(texts.last());
        if (texts.size() == 2)
            text += QString::asprintf("%s < %s: %d, reverse: %d, equal: %d\n", qPrintable(a.toString()),
                qPrintable(b.toString()), a < b, b < a, a == b);
        else
            text += line
                + QString::asprintf(": %s (%d, %d, %d) \"%s\", modified %d; parsed over a modified value: \"%s\"\n",
                    ok ? "ok" : "fails", a.major, a.minor, a.build, qPrintable(a.toString()), a.modified,
                    marked.parse(texts.first()) ? qPrintable(marked.toString()) : "fails");
    }
    QTextStream stream(&text);
    stream << "text stream: " << CVersion(1, 2, 3, false) << '|' << CVersion() << "\ndebug stream: " << Qt::flush;
    QDebug(&text) << CVersion(0, 0, 9, true) << 1;
    QCOMPARE_GOLDEN("discovery/data/versions.ref", text + '\n');
}

void DiscoveryTest::collector()
{
    m_device.programPath = m_dir.filePath(QStringLiteral("corvane"));
    m_device.helpVersionFile = m_dir.filePath(QStringLiteral("version.txt"));
    m_device.programFinishMs = 2000; // a hanging program must not hold the suite up
    int maxCount = 0;
    int stick = 0;
    QString text;
    for (const QString& line : dataLines(QStringLiteral("discovery/data/collector.txt"))) {
        const QString word = line.section(' ', 0, 0);
        const QString rest = line.section(' ', 1);
        const QString medium = m_dir.filePath(QStringLiteral("stick%1/").arg(stick));
        const CDiagnosticsRecorder diagnostics(true);
        text += line + '\n';
        if (word == QLatin1String("device")) {
            m_device.deviceBsp = rest.section(' ', 0, 0);
            maxCount = rest.endsWith("limit") ? CUpdateCollector::packageLimit : rest.section(' ', 1).toInt();
        } else if (word == QLatin1String("files")) {
            for (const QString& entry : rest.split(' '))
                QVERIFY(entry.endsWith('/') ? QDir().mkpath(medium + entry) : writeFile(medium + entry, ""));
        } else if (word == QLatin1String("scan")) {
            CUpdateCollector collector(maxCount, m_device);
            const int count = collector.scan(medium);
            text += QString::asprintf(" -> %d records, truncated %d\n", count, collector.truncated);
            for (const UpdatePackage& r : qAsConst(collector.packages))
                text += QStringLiteral(
                    "  %1: name '%2', kind %3, version '%4' %5, installed %6, bsp '%7', error %8, %9\n")
                            .arg(r.file.fileName(), r.name, QString::number(r.priority), r.versionText,
                                r.version.toString(), r.installed.toString(), r.bsp, QString::number(r.error),
                                r.selected ? "selected" : "-");
            ++stick;
        } else {
            const QString path = word == QLatin1String("help") ? m_device.helpVersionFile : m_device.programPath;
            QFile::remove(path);
            if (!rest.isEmpty())
                QVERIFY(writeFile(path, DeviceFiles::unescaped(rest), QFile::ReadOwner | QFile::ExeOwner));
            if (word == QLatin1String("query"))
                text += " -> " + CUpdateCollector(1, m_device).readProgramVersion(path).toString() + '\n';
        }
        for (const QString& diagnostic : diagnostics.lines())
            text += "  " + diagnostic + '\n';
    }
    QCOMPARE_GOLDEN("discovery/data/collector.ref", text.replace(m_dir.path(), "<tmp>"));
}

void DiscoveryTest::sortLikeQt()
{
    // Written by tests/discovery/qsortgolden/generate.cpp with Qt 5.15's qSort().
    for (const QString& line : dataLines(QStringLiteral("discovery/data/qsort-golden.txt"))) {
        const QStringList parts = line.split('|');
        QList<UpdatePackage> packages;
        for (const QString& record : parts.at(1).split(' ', Qt::SkipEmptyParts)) {
            packages.append(UpdatePackage());
            packages.last().version = CVersion(record.section(':', 0, 0));
            packages.last().priority = record.section(':', 1).toInt();
            packages.last().name = QString::number(packages.size() - 1);
        }
        sortPackages(packages);
        QStringList order;
        for (const UpdatePackage& package : qAsConst(packages))
            order << package.name;
        QVERIFY2(order.join(' ') == parts.at(2), qPrintable(parts.at(0)));
    }
}

QTEST_GUILESS_MAIN(DiscoveryTest)
#include "discoverytest.moc"
