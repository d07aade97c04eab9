// Writes the golden data for the package-order test: random package lists and the
// order in which Qt 5.15's own qSort() leaves them under the package order.
//
// Not part of the normal build: qSort() is deprecated and gone from Qt 6. Build and
// run it by hand against Qt 5.15, from this directory:
//
//   g++ -std=c++17 -fPIC -Wno-deprecated-declarations -DQT_DISABLE_DEPRECATED_BEFORE=0 \
//       $(pkg-config --cflags Qt5Core) generate.cpp $(pkg-config --libs Qt5Core) -o /tmp/qsortgolden
//   /tmp/qsortgolden > ../data/qsort-golden.txt
//
// Output: one case per line, "<name>|<records>|<order>". Records are "<version>:<kind>"
// separated by blanks; order lists the input positions in the order qSort left them.
// The seed is fixed, so the file is reproducible.

#include <QList>
#include <QString>
#include <QStringList>
#include <QTextStream>
#include <QtAlgorithms>

#include <random>

namespace {

struct Record {
    int major = 0;
    int minor = 0;
    int build = 0;
    int kind = 2;
    int position = 0;
};

bool versionLess(const Record& a, const Record& b)
{
    if (a.major != b.major)
        return a.major < b.major;
    if (a.minor != b.minor)
        return a.minor < b.minor;
    return a.build < b.build;
}

// The installer's package order: newer first, or the smaller kind number; joined
// by a plain "or", so it is not a strict weak order when kinds are mixed.
bool packageLessThan(const Record& a, const Record& b)
{
    return versionLess(b, a) || a.kind < b.kind;
}

std::mt19937 generator(20240521u);

int randomInt(int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(generator);
}

// Versions drawn from few values so that equal versions and duplicates are common.
Record randomRecord(int versionSpread, int kindLow, int kindHigh)
{
    Record r;
    r.major = randomInt(0, versionSpread);
    r.minor = randomInt(0, versionSpread / 2);
    r.build = randomInt(0, versionSpread);
    r.kind = randomInt(kindLow, kindHigh);
    return r;
}

QList<Record> randomList(int size, int versionSpread, int kindLow, int kindHigh)
{
    QList<Record> list;
    for (int i = 0; i < size; ++i)
        list.append(randomRecord(versionSpread, kindLow, kindHigh));
    return list;
}

void writeCase(QTextStream& out, const QString& name, QList<Record> list)
{
    QStringList records;
    for (int i = 0; i < list.size(); ++i) {
        list[i].position = i;
        records << QString("%1.%2.%3:%4").arg(list[i].major).arg(list[i].minor).arg(list[i].build).arg(list[i].kind);
    }
    qSort(list.begin(), list.end(), packageLessThan);
    QStringList order;
    for (const Record& r : list)
        order << QString::number(r.position);
    out << name << '|' << records.join(' ') << '|' << order.join(' ') << '\n';
}

QList<Record> ordered(QList<Record> list, bool descending)
{
    std::stable_sort(list.begin(), list.end(),
        [descending](const Record& a, const Record& b) { return descending ? versionLess(b, a) : versionLess(a, b); });
    return list;
}

} // namespace

int main()
{
    QTextStream out(stdout);
    for (int size = 0; size <= 40; ++size) {
        for (int round = 0; round < 4; ++round) {
            const QString suffix = QString("%1-%2").arg(size).arg(round);
            writeCase(out, "mixed-" + suffix, randomList(size, 3, 0, 3));
            writeCase(out, "mixed-narrow-" + suffix, randomList(size, 1, 0, 3));
            writeCase(out, "two-kinds-" + suffix, randomList(size, 2, 0, 1));
            writeCase(out, "one-kind-" + suffix, randomList(size, 3, 3, 3));
            writeCase(out, "equal-versions-" + suffix, randomList(size, 0, 0, 3));
        }
        writeCase(out, QString("ascending-%1").arg(size), ordered(randomList(size, 3, 0, 3), false));
        writeCase(out, QString("descending-%1").arg(size), ordered(randomList(size, 3, 0, 3), true));
        QList<Record> same = randomList(1, 3, 0, 3);
        for (int i = 1; i < size; ++i)
            same.append(same.first());
        writeCase(out, QString("duplicates-%1").arg(size), size ? same : QList<Record>());
    }
    return 0;
}
