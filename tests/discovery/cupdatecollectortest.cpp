#include "discovery/cupdatecollector.h"

#include <QDir>
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
    void missingDirectory();
    void preSelection_data();
    void preSelection();
    void reportsEachRecord();
    void keepNewestPerKind_data();
    void keepNewestPerKind();
    void newestProgramOnMedium();
    void programVersion_data();
    void programVersion();

private:
    // An empty archive and, unless told otherwise, its signature file.
    void addArchive(const QString& fileName, bool withSignature = true);
    // An executable shell script in the temporary directory; returns its path.
    QString addScript(const QString& fileName, const QString& body);
    CollectorEnvironment environment() const;

    QScopedPointer<QTemporaryDir> m_dir;
    QString m_medium;
};

void CUpdateCollectorTest::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
    m_medium = m_dir->filePath(QStringLiteral("medium"));
    QVERIFY(QDir().mkpath(m_medium));
}

void CUpdateCollectorTest::addArchive(const QString& fileName, bool withSignature)
{
    const QString archive = m_medium + QLatin1Char('/') + fileName;
    QVERIFY(QFile(archive).open(QIODevice::WriteOnly));
    if (withSignature)
        QVERIFY(QFile(archive + QStringLiteral(".sha1")).open(QIODevice::WriteOnly));
}

QString CUpdateCollectorTest::addScript(const QString& fileName, const QString& body)
{
    const QString path = m_dir->filePath(fileName);
    QFile script(path);
    if (!script.open(QIODevice::WriteOnly))
        return QString();
    script.write("#!/bin/sh\n" + body.toUtf8() + '\n');
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

// Device facts that point only into the temporary directory.
CollectorEnvironment CUpdateCollectorTest::environment() const
{
    CollectorEnvironment env;
    env.deviceBsp = QStringLiteral("1.36.0");
    env.programPath = m_dir->filePath(QStringLiteral("no-such-program"));
    env.helpVersionFile = m_dir->filePath(QStringLiteral("help/version.txt"));
    env.programFinishMs = 500;
    return env;
}

void CUpdateCollectorTest::listing_data()
{
    QTest::addColumn<QStringList>("entries"); // a trailing "/" makes a directory
    QTest::addColumn<int>("maxCount");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<bool>("truncated");

    const QStringList eight{"h-1.0.0-BSP-1.36.0.tar.bz2", "G-1.0.0-BSP-1.36.0.tar.bz2", "f-1.0.0-BSP-1.36.0.tar.bz2",
                            "E-1.0.0-BSP-1.36.0.tar.bz2", "d-1.0.0-BSP-1.36.0.tar.bz2", "C-1.0.0-BSP-1.36.0.tar.bz2",
                            "b-1.0.0-BSP-1.36.0.tar.bz2", "A-1.0.0-BSP-1.36.0.tar.bz2"};
    QStringList firstSix = eight.mid(2);
    std::reverse(firstSix.begin(), firstSix.end());
    QTest::newRow("eight archives") << eight << 6 << firstSix << true;
    QTest::newRow("exactly the limit") << QStringList(eight.mid(2)) << 6 << firstSix << false;
    QTest::newRow("case-blind order") << QStringList{"b.tar.bz2", "_u.tar.bz2", "A.tar.bz2", "x10.tar.bz2", "x9.tar.bz2"}
                                      << 6 << QStringList{"_u.tar.bz2", "A.tar.bz2", "b.tar.bz2", "x10.tar.bz2", "x9.tar.bz2"}
                                      << false;
    QTest::newRow("case-blind pattern") << QStringList{"C.TAR.BZ2", "a.tar.bz2"} << 6
                                        << QStringList{"a.tar.bz2", "C.TAR.BZ2"} << false;
    QTest::newRow("hidden left out") << QStringList{".hidden.tar.bz2", "a.tar.bz2"} << 6
                                     << QStringList{"a.tar.bz2"} << false;
    QTest::newRow("directory taken") << QStringList{"dir.tar.bz2/", "e.tar.bz2"} << 6
                                     << QStringList{"dir.tar.bz2", "e.tar.bz2"} << false;
    QTest::newRow("other files ignored") << QStringList{"a.tar.gz", "b.tar.bz2.sha1", "c.bz2", "d.tar.bz2"} << 6
                                         << QStringList{"d.tar.bz2"} << false;
    QTest::newRow("limit zero") << QStringList{"a.tar.bz2"} << 0 << QStringList() << true;
}

void CUpdateCollectorTest::listing()
{
    QFETCH(QStringList, entries);
    QFETCH(int, maxCount);
    QFETCH(QStringList, expected);

    for (const QString& entry : qAsConst(entries)) {
        if (entry.endsWith(QLatin1Char('/')))
            QVERIFY(QDir(m_medium).mkdir(entry.chopped(1)));
        else
            addArchive(entry, false);
    }
    CUpdateCollector collector(maxCount, environment());
    QCOMPARE(collector.scan(m_medium), int(expected.size()));
    QStringList found;
    for (const UpdatePackage& package : qAsConst(collector.packages))
        found << package.file.fileName();
    QCOMPARE(found, expected);
    QTEST(collector.truncated, "truncated");
}

void CUpdateCollectorTest::missingDirectory()
{
    CUpdateCollector collector(6, environment());
    addArchive(QStringLiteral("a.tar.bz2"));
    collector.scan(m_medium);
    QCOMPARE(collector.packages.size(), 1);
    collector.truncated = true;
    QCOMPARE(collector.scan(m_dir->filePath(QStringLiteral("absent"))), 0);
    QVERIFY(collector.packages.isEmpty());
    QVERIFY(!collector.truncated);
}

void CUpdateCollectorTest::preSelection_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<QString>("helpVersionFile"); // content; empty: no file
    QTest::addColumn<QString>("program");         // script body; empty: no program
    QTest::addColumn<QString>("installed");
    QTest::addColumn<bool>("selected");

    QTest::newRow("installer same") << "ins-2.0.0-BSP-1.36.0.tar.bz2" << "" << "" << "2.0.0" << false;
    QTest::newRow("installer newer") << "ins-2.0.1-BSP-1.36.0.tar.bz2" << "" << "" << "2.0.0" << true;
    QTest::newRow("installer older") << "install-1.9.9-BSP-1.36.0.tar.bz2" << "" << "" << "2.0.0" << false;
    QTest::newRow("old-style installer") << "2.0.1-pkg-update.tar.bz2" << "" << "" << "2.0.0" << true;
    QTest::newRow("help same") << "doc-1.0.0-BSP-1.36.0.tar.bz2" << "; help\nversion = 1.0.0\n" << ""
                               << "1.0.0" << false;
    QTest::newRow("help newer") << "doc-1.0.1-BSP-1.36.0.tar.bz2" << "version=1.0.0" << "" << "1.0.0" << true;
    QTest::newRow("help file missing") << "doc-1.0.0-BSP-1.36.0.tar.bz2" << "" << "" << "Unknown" << true;
    QTest::newRow("help key missing") << "doc-1.0.0-BSP-1.36.0.tar.bz2" << "Version=9.9.9" << ""
                                      << "Unknown" << true;
    QTest::newRow("program build answer") << "bin-1.0.0-BSP-1.36.0.tar.bz2" << "" << "echo 'Build 120 M'"
                                          << "Build 120 M" << true;
    QTest::newRow("program same") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << "" << "echo '  3.2.1 '" << "3.2.1" << false;
    QTest::newRow("program fails") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << "" << "echo 9.9.9; exit 1"
                                   << "Unknown" << true;
    QTest::newRow("program missing") << "bin-3.2.1-BSP-1.36.0.tar.bz2" << "" << "" << "Unknown" << true;
    QTest::newRow("unrecognised kind") << "xyz-1.0.0-BSP-1.36.0.tar.bz2" << "" << "" << "Unknown" << true;
    QTest::newRow("unknown version") << "xyz-0.0.0-BSP-1.36.0.tar.bz2" << "" << "" << "Unknown" << false;
    QTest::newRow("wrong bsp") << "bin-9.0.0-BSP-1.41.0.tar.bz2" << "" << "echo 1.0.0" << "1.0.0" << false;
}

void CUpdateCollectorTest::preSelection()
{
    QFETCH(QString, archive);
    QFETCH(QString, helpVersionFile);
    QFETCH(QString, program);

    CollectorEnvironment env = environment();
    if (!helpVersionFile.isEmpty()) {
        QVERIFY(QDir().mkpath(QFileInfo(env.helpVersionFile).path()));
        QFile file(env.helpVersionFile);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(helpVersionFile.toUtf8());
    }
    if (!program.isEmpty())
        env.programPath = addScript(QStringLiteral("corvane"), program);
    addArchive(archive);

    CUpdateCollector collector(6, env);
    QCOMPARE(collector.scan(m_medium), 1);
    const UpdatePackage& record = collector.packages.first();
    QTEST(record.installed.toString(), "installed");
    QTEST(record.selected, "selected");
}

void CUpdateCollectorTest::reportsEachRecord()
{
    addArchive(QStringLiteral("xyz-3.2.1-BSP-1.36.0.tar.bz2"));
    CUpdateCollector collector(6, environment());
    QTest::ignoreMessage(QtDebugMsg, "CUpdateCollector::SetCurrent()  Unknowen Priority =  2");
    QTest::ignoreMessage(QtDebugMsg, " ->  \"xyz\" \"3.2.1\" \"Unknown\" true");
    collector.scan(m_medium);
}

void CUpdateCollectorTest::keepNewestPerKind_data()
{
    QTest::addColumn<QStringList>("records"); // version:kind:selected
    QTest::addColumn<QList<bool>>("selected");

    QTest::newRow("newest per kind")
        << QStringList{"3.0.0:3:1", "3.1.0:3:1", "1.0.0:1:1", "0.9.0:1:1"} << QList<bool>{false, true, true, false};
    QTest::newRow("ties stay") << QStringList{"2.0.0:0:1", "2.0.0:0:1", "1.0.0:0:1"} << QList<bool>{true, true, false};
    QTest::newRow("unselected newer ignored")
        << QStringList{"5.0.0:3:0", "4.0.0:3:1"} << QList<bool>{false, true};
    QTest::newRow("kinds apart") << QStringList{"1.0.0:0:1", "9.0.0:3:1", "5.0.0:2:1", "6.0.0:2:1"}
                                 << QList<bool>{true, true, false, true};
    QTest::newRow("build form") << QStringList{"120:3:1", "0.1.0:3:1"} << QList<bool>{false, true};
    QTest::newRow("modified ignored") << QStringList{"120m:3:1", "120:3:1"} << QList<bool>{true, true};
}

void CUpdateCollectorTest::keepNewestPerKind()
{
    QFETCH(QStringList, records);
    CUpdateCollector collector(6, environment());
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

void CUpdateCollectorTest::newestProgramOnMedium()
{
    addArchive(QStringLiteral("bin_a-3.0.0-BSP-1.36.0.tar.bz2"));
    addArchive(QStringLiteral("bin_b-3.1.0-BSP-1.36.0.tar.bz2"));
    CollectorEnvironment env = environment();
    env.programPath = addScript(QStringLiteral("corvane"), QStringLiteral("echo 2.0.0"));
    CUpdateCollector collector(6, env);
    QCOMPARE(collector.scan(m_medium), 2);
    QCOMPARE(collector.packages.at(0).name, QStringLiteral("bin_a"));
    QCOMPARE(collector.packages.at(0).selected, false);
    QCOMPARE(collector.packages.at(1).selected, true);
}

void CUpdateCollectorTest::programVersion_data()
{
    QTest::addColumn<QString>("script"); // empty: the program does not exist
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("debugPattern"); // %1: the command

    QTest::newRow("build answer") << "echo 'Build 120 M'" << "Build 120 M" << "";
    QTest::newRow("dotted answer with noise") << "printf ' 3.2.1\\n\\n'; echo junk >&2" << "3.2.1" << "";
    QTest::newRow("output cut at NUL") << "printf '1.2.3\\0009.9.9'" << "1.2.3" << "";
    QTest::newRow("gets -v") << "[ \"$1\" = -v ] && echo 4.5.6" << "4.5.6" << "";
    QTest::newRow("exit 1") << "echo 3.2.1; echo 'bad   thing' >&2; exit 1" << "Unknown"
                            << "^   err \"bad thing\"$";
    QTest::newRow("exit 1 output") << "echo 3.2.1; exit 1" << "Unknown" << "^   out \"3.2.1\"$";
    QTest::newRow("crash") << "kill -SEGV $$" << "Unknown" << "^   \\?\\?\\? \"%1\" \"Process crashed\"$";
    QTest::newRow("missing") << "" << "Unknown" << "^    0 \\d+ 255 \".+\"$";
    QTest::newRow("hang") << "exec sleep 30" << "Unknown"
                          << "^   timeout or error   Status= 0 2 0 \".+\"$";
}

void CUpdateCollectorTest::programVersion()
{
    QFETCH(QString, script);
    QFETCH(QString, debugPattern);

    CollectorEnvironment env = environment();
    if (!script.isEmpty())
        env.programPath = addScript(QStringLiteral("corvane"), script);
    const QString command = env.programPath + QStringLiteral(" -v");
    debugPattern.replace(QStringLiteral("%1"), QRegularExpression::escape(command));
    if (!debugPattern.isEmpty())
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression(debugPattern));

    const CUpdateCollector collector(6, env);
    QTEST(collector.readProgramVersion(env.programPath).toString(), "expected");
}

QTEST_GUILESS_MAIN(CUpdateCollectorTest)
#include "cupdatecollectortest.moc"
