// Times package discovery against simple baselines measured in the same run:
// the package quicksort against std::stable_sort with the same order, and a scan
// of a six-archive medium against a plain directory listing.

#include "discovery/cupdatecollector.h"
#include "discovery/qtquicksort.h"
#include "discovery/updatepackage.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <functional>
#include <random>

namespace {

// Nanoseconds per call of work, averaged over rounds calls.
double nanosecondsPerCall(int rounds, const std::function<void()>& work)
{
    work(); // warm caches and the file system
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < rounds; ++i)
        work();
    return double(timer.nsecsElapsed()) / rounds;
}

QList<UpdatePackage> randomPackages(int count, std::mt19937& generator)
{
    std::uniform_int_distribution<int> number(0, 3);
    QList<UpdatePackage> packages;
    for (int i = 0; i < count; ++i) {
        UpdatePackage package;
        package.version = CVersion(number(generator), number(generator), number(generator), false);
        package.priority = number(generator);
        packages.append(package);
    }
    return packages;
}

struct Row {
    QString name;
    QString baseline;
    double nanoseconds;
    double baselineNanoseconds;
};

Row sortRow(int size, int rounds)
{
    std::mt19937 generator(7);
    const QList<UpdatePackage> input = randomPackages(size, generator);
    const double quick = nanosecondsPerCall(rounds, [&input] {
        QList<UpdatePackage> packages = input;
        qtQuickSort(packages.begin(), packages.end(), packageLessThan);
    });
    const double stable = nanosecondsPerCall(rounds, [&input] {
        QList<UpdatePackage> packages = input;
        std::stable_sort(packages.begin(), packages.end(), packageLessThan);
    });
    return { QStringLiteral("qtQuickSort, %1 packages").arg(size), QStringLiteral("std::stable_sort"), quick, stable };
}

void touch(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.close();
}

// Six archives with signatures; no program package, so no process is started.
void fillMedium(const QString& medium)
{
    const QStringList names { "ins-2.0.1-BSP-1.36.0", "doc-1.0.0-BSP-1.36.0", "doc-1.1.0-BSP-1.7.0", "2.0.2-pkg-update",
        "misc-1.0.0-BSP-1.36.0", "ins-1.9.0-BSP-1.41.0" };
    for (const QString& name : names) {
        touch(medium + QLatin1Char('/') + name + QStringLiteral(".tar.bz2"));
        touch(medium + QLatin1Char('/') + name + QStringLiteral(".tar.bz2.sha1"));
    }
    touch(medium + QStringLiteral("/README.txt"));
}

Row scanRow(const QTemporaryDir& directory, int rounds)
{
    const QString medium = directory.path();
    fillMedium(medium);
    CollectorEnvironment environment;
    environment.deviceBsp = QStringLiteral("1.36.0");
    environment.helpVersionFile = directory.filePath(QStringLiteral("help-version.txt"));
    touch(environment.helpVersionFile);
    CUpdateCollector collector(6, environment);
    const double scan = nanosecondsPerCall(rounds, [&] { collector.scan(medium); });
    const double listing = nanosecondsPerCall(
        rounds, [&medium] { (void)QDir(medium).entryInfoList(QStringList(QStringLiteral("*.tar.bz2"))); });
    return { QStringLiteral("scan, 6-archive medium"), QStringLiteral("QDir listing"), scan, listing };
}

void printTable(const QList<Row>& rows)
{
    QTextStream out(stdout);
    out << QStringLiteral("%1 %2 %3 %4 %5\n")
               .arg(QStringLiteral("operation"), -28)
               .arg(QStringLiteral("baseline"), -18)
               .arg(QStringLiteral("ns/op"), 10)
               .arg(QStringLiteral("base ns/op"), 11)
               .arg(QStringLiteral("ratio"), 7);
    for (const Row& row : rows) {
        out << QStringLiteral("%1 %2 %3 %4 %5\n")
                   .arg(row.name, -28)
                   .arg(row.baseline, -18)
                   .arg(row.nanoseconds, 10, 'f', 0)
                   .arg(row.baselineNanoseconds, 11, 'f', 0)
                   .arg(row.nanoseconds / row.baselineNanoseconds, 7, 'f', 2);
    }
}

void dropDebugMessages(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type != QtDebugMsg)
        QTextStream(stderr) << message << '\n';
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    qInstallMessageHandler(dropDebugMessages);
    QTemporaryDir directory;
    if (!directory.isValid())
        return 1;
    QList<Row> rows;
    rows << sortRow(6, 200000) << sortRow(40, 20000) << sortRow(400, 1000);
    rows << scanRow(directory, 2000);
    printTable(rows);
    return 0;
}
