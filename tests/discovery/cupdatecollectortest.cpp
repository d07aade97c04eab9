#include "discovery/cupdatecollector.h"
#include "common/testtools.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

class CUpdateCollectorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void listing_data();
    void listing();
    void preSelection_data();
    void preSelection();
    void keepNewestPerKind_data();
    void keepNewestPerKind();

private:
    // An empty file on the medium; a trailing "/" makes a directory instead.
    void addEntry(const QString& entry);

    QScopedPointer<QTemporaryDir> m_dir;
    QString m_medium;
    CollectorEnvironment m_environment;
};

void CUpdateCollectorTest::init()
{
    m_dir.reset(new QTemporaryDir);
    m_medium = m_dir->filePath(QStringLiteral("medium"));
    QVERIFY(QDir().mkpath(m_medium));
    m_environment = CollectorEnvironment();
    m_environment.deviceBsp = QStringLiteral("1.36.0");
    m_environment.programPath = m_dir->filePath(QStringLiteral("corvane"));
    m_environment.helpVersionFile = m_dir->filePath(QStringLiteral("version.txt"));
    m_environment.programFinishMs = 500; // the hanging program must not hold the suite up
}

void CUpdateCollectorTest::addEntry(const QString& entry)
{
    if (entry.endsWith(QLatin1Char('/')))
        QVERIFY(QDir(m_medium).mkdir(entry.chopped(1)));
    else
        QVERIFY(QFile(m_medium + QLatin1Char('/') + entry).open(QIODevice::WriteOnly));
}

void CUpdateCollectorTest::listing_data()
{
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<bool>("truncated");

    const QStringList eight{"h.tar.bz2", "G.tar.bz2", "f.tar.bz2", "E.tar.bz2",
                            "d.tar.bz2", "C.tar.bz2", "b.tar.bz2", "A.tar.bz2"};
    const QStringList firstSix{"A.tar.bz2", "b.tar.bz2", "C.tar.bz2", "d.tar.bz2", "E.tar.bz2", "f.tar.bz2"};
    QTest::newRow("eight archives") << eight << firstSix << true;
    QTest::newRow("what is listed, case-blind") << QStringList{"b.tar.bz2", "_u.tar.bz2", "C.TAR.BZ2", ".hidden.tar.bz2",
                                                               "dir.tar.bz2/", "a.tar.gz", "b.tar.bz2.sha1", "x9.tar.bz2"}
                                                << QStringList{"_u.tar.bz2", "b.tar.bz2", "C.TAR.BZ2", "dir.tar.bz2", "x9.tar.bz2"}
                                                << false;
}

void CUpdateCollectorTest::listing()
{
    QFETCH(QStringList, entries);
    QFETCH(QStringList, expected);

    for (const QString& entry : qAsConst(entries))
        addEntry(entry);
    CUpdateCollector collector(6, m_environment);
    QCOMPARE(collector.scan(m_medium), int(expected.size()));
    QStringList found;
    for (const UpdatePackage& package : qAsConst(collector.packages))
        found << package.file.fileName();
    QCOMPARE(found, expected);
    QTEST(collector.truncated, "truncated");
}

void CUpdateCollectorTest::preSelection_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<QString>("helpVersionFile"); // content; empty: no file
    QTest::addColumn<QString>("program");         // script body; empty: no program
    QTest::addColumn<QString>("installed");
    QTest::addColumn<bool>("selected");
    QTest::addColumn<QString>("debugPattern"); // %1: the program's command

    const QString bin = QStringLiteral("bin-3.2.1-BSP-1.36.0.tar.bz2");
    QTest::newRow("installer same") << "ins-2.0.0-BSP-1.36.0.tar.bz2" << "" << "" << "2.0.0" << false << "";
    QTest::newRow("installer newer") << "ins-2.0.1-BSP-1.36.0.tar.bz2" << "" << "" << "2.0.0" << true << "";
    QTest::newRow("help same") << "doc-1.0.0-BSP-1.36.0.tar.bz2" << ";c\n version = 1.0.0\n" << "" << "1.0.0" << false << "";
    QTest::newRow("help file missing") << "doc-1.0.0-BSP-1.36.0.tar.bz2" << "" << "" << "Unknown" << true << "";
    QTest::newRow("program build answer") << bin << "" << "[ \"$1\" = -v ] && echo 'Build 120 M'" << "Build 120 M" << true << "";
    QTest::newRow("program same") << bin << "" << "echo '  3.2.1 '" << "3.2.1" << false << "";
    QTest::newRow("program exit 1") << bin << "" << "echo 3.2.1; echo 'bad   thing' >&2; exit 1" << "Unknown" << true
                                    << "^   err \"bad thing\"$";
    QTest::newRow("program crash") << bin << "" << "kill -SEGV $$" << "Unknown" << true
                                   << "^   \\?\\?\\? \"%1\" \"Process crashed\"$";
    QTest::newRow("program missing") << bin << "" << "" << "Unknown" << true << "^    0 \\d+ 255 \".+\"$";
    QTest::newRow("program hangs") << bin << "" << "exec sleep 30" << "Unknown" << true
                                   << "^   timeout or error   Status= 0 2 0 \".+\"$";
    QTest::newRow("unknown kind and version") << "xyz-0.0.0-BSP-1.36.0.tar.bz2" << "" << "" << "Unknown" << false
                                  << "^CUpdateCollector::SetCurrent\\(\\)  Unknowen Priority =  2$";
    QTest::newRow("wrong bsp") << "bin-9.0.0-BSP-1.41.0.tar.bz2" << "" << "echo 1.0.0" << "1.0.0" << false << "";
}

void CUpdateCollectorTest::preSelection()
{
    QFETCH(QString, archive);
    QFETCH(QString, helpVersionFile);
    QFETCH(QString, program);
    QFETCH(QString, debugPattern);

    if (!helpVersionFile.isEmpty())
        QVERIFY(TestTools::writeFile(m_environment.helpVersionFile, helpVersionFile.toUtf8()));
    if (!program.isEmpty())
        QVERIFY(TestTools::writeScript(m_environment.programPath, program.toUtf8()));
    debugPattern.replace(QStringLiteral("%1"), QRegularExpression::escape(m_environment.programPath + " -v"));
    if (!debugPattern.isEmpty())
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression(debugPattern));
    addEntry(archive);
    addEntry(archive + QStringLiteral(".sha1"));

    CUpdateCollector collector(6, m_environment);
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(collector.scan(m_medium), 1);
    QVERIFY(clock.elapsed() < 2 * m_environment.programFinishMs); // a hang costs one time-out, not more
    QTEST(collector.packages.first().installed.toString(), "installed");
    QTEST(collector.packages.first().selected, "selected");
}

void CUpdateCollectorTest::keepNewestPerKind_data()
{
    QTest::addColumn<QStringList>("records"); // version:kind:selected
    QTest::addColumn<QList<bool>>("selected");

    QTest::newRow("newest per kind") << QStringList{"3.0.0:3:1", "3.1.0:3:1", "1.0.0:1:1", "0.9.0:1:1"}
                                     << QList<bool>{false, true, true, false};
    QTest::newRow("ties stay") << QStringList{"2.0.0:0:1", "2.0.0:0:1", "1.0.0:0:1"} << QList<bool>{true, true, false};
    QTest::newRow("unselected newer ignored") << QStringList{"5.0.0:3:0", "4.0.0:3:1"} << QList<bool>{false, true};
}

void CUpdateCollectorTest::keepNewestPerKind()
{
    QFETCH(QStringList, records);
    CUpdateCollector collector(6, m_environment);
    for (const QString& text : qAsConst(records)) {
        const QStringList fields = text.split(QLatin1Char(':'));
        UpdatePackage record;
        record.version = CVersion(fields.at(0));
        record.priority = fields.at(1).toInt();
        record.selected = fields.at(2) == QLatin1String("1");
        collector.packages.append(record);
    }
    collector.keepNewestPerKind();
    QList<bool> selected;
    for (const UpdatePackage& record : qAsConst(collector.packages))
        selected << record.selected;
    QTEST(selected, "selected");
}

QTEST_GUILESS_MAIN(CUpdateCollectorTest)
#include "cupdatecollectortest.moc"
