#include "app/commandline.h"

#include <QTest>

class CommandLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
};

void CommandLineTest::parse_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("action");
    QTest::addColumn<QString>("path");

    const QString none;
    QTest::newRow("no argument") << QStringList() << int(CommandLine::MissingArgument) << none;
    QTest::newRow("-v alone") << QStringList{"-v"} << int(CommandLine::PrintVersion) << none;
    QTest::newRow("-S alone") << QStringList{"-S"} << int(CommandLine::PrintBuild) << none;
    QTest::newRow("path alone") << QStringList{"/media/usb"} << int(CommandLine::UnknownParameter) << none;
    QTest::newRow("-qws alone") << QStringList{"-qws"} << int(CommandLine::UnknownParameter) << none;
    QTest::newRow("-s is not -S") << QStringList{"-s"} << int(CommandLine::UnknownParameter) << none;
    QTest::newRow("word and path") << QStringList{"update", "/media/usb"} << int(CommandLine::UpdateRun)
                                   << "/media/usb";
    QTest::newRow("-qws and path") << QStringList{"-qws", "/media/usb"} << int(CommandLine::UpdateRun)
                                   << "/media/usb";
    QTest::newRow("last path wins") << QStringList{"/a", "/b"} << int(CommandLine::UpdateRun) << "/b";
    QTest::newRow("-qws after path") << QStringList{"/a", "-qws"} << int(CommandLine::UpdateRun) << "/a";
    QTest::newRow("-v among two is ignored") << QStringList{"/a", "-v"} << int(CommandLine::UpdateRun) << "/a";
    QTest::newRow("-qws and -v: empty path") << QStringList{"-qws", "-v"} << int(CommandLine::UpdateRun) << none;
    QTest::newRow("-S among two is a path") << QStringList{"-qws", "-S"} << int(CommandLine::UpdateRun) << "-S";
}

void CommandLineTest::parse()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, action);
    QFETCH(QString, path);

    const CommandLine line = parseCommandLine(arguments);
    QCOMPARE(int(line.action), action);
    QCOMPARE(line.path, path);
    if (arguments.size() == 1)
        QCOMPARE(line.argument, arguments.first());
}

QTEST_GUILESS_MAIN(CommandLineTest)
#include "commandlinetest.moc"
