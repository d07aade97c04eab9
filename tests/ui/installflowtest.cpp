#include "ui/windowfixture.h"

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

// What the main window's buttons do: refusals, installation results and their
// exit codes, Quit and the help page.
class InstallFlowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusal_data();
    void refusal();
    void installResult_data();
    void installResult();
    void quitEndsWithOne();
    void helpPage_data();
    void helpPage();
};

namespace {

QString messageLine(QWidget& window)
{
    return window.findChild<QLabel*>(QStringLiteral("message"))->text();
}

QString workerText(const char* source)
{
    return QCoreApplication::translate("CWorker", source);
}

QStringList paragraphs(const QString& text)
{
    QStringList result;
    const QRegularExpression paragraph(QStringLiteral("<p>(.*?)</p>"));
    for (auto match = paragraph.globalMatch(text); match.hasNext();)
        result << match.next().captured(1);
    return result;
}

} // namespace

void InstallFlowTest::refusal_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QList<int>>("kinds");
    QTest::addColumn<QString>("catalogue");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text"); // empty: no refusal, the installation starts

    const QString none = QStringLiteral("No update selected. Please select an update or chancel the installer.");
    QTest::newRow("nothing selected stays untranslated") << QStringList {} << QList<int> {} << ":/lang/de"
                                                         << "Update" << none;
    QTest::newRow("two programs") << QStringList { "bin", "bin_main" } << QList<int> { KindProgram, KindProgram }
                                  << ":/lang/en"
                                  << "Update"
                                  << "Please select only one package from each package type.";
    QTest::newRow("two installers in German")
        << QStringList { "ins", "inst" } << QList<int> { KindInstaller, KindInstaller } << ":/lang/de"
        << "Update"
        << "Bitte wählen Sie von jedem Pakettyp jeweils nur ein Paket aus.";
    QTest::newRow("two unrecognised, no catalogue")
        << QStringList { "abc", "xyz" } << QList<int> { KindUnrecognised, KindUnrecognised } << ":/lang/xx"
        << "Update"
        << "Please select only one of each package type.";
    QTest::newRow("different kinds allowed")
        << QStringList { "doc", "abc" } << QList<int> { KindHelpFiles, KindUnrecognised } << ":/lang/xx" << QString()
        << QString();
}

void InstallFlowTest::refusal()
{
    QFETCH(QStringList, names);
    QFETCH(QList<int>, kinds);
    QFETCH(QString, catalogue);
    QFETCH(QString, title);
    QFETCH(QString, text);

    WindowFixture fixture;
    fixture.writeSettings(QStringLiteral("Language=") + catalogue + QLatin1Char('\n'));
    QList<UpdatePackage> records { fixture.package(QStringLiteral("doc"), KindHelpFiles, false) };
    for (int i = 0; i < names.size(); ++i)
        records << fixture.package(names.at(i), kinds.at(i), true, QStringLiteral("2.%1.0").arg(i));
    if (catalogue == QLatin1String(":/lang/xx"))
        QTest::ignoreMessage(QtDebugMsg, "  Load Translation failed:  \":/lang/xx\"");
    CMainWidget& window = fixture.open(records);

    ModalCloser closer;
    const int exitCode = runForExitCode([&window] { window.sl_BtnInstall(); });

    QCOMPARE(exitCode, LoopNotEnded);
    if (text.isEmpty()) {
        QVERIFY(closer.records.isEmpty());
        QVERIFY(!fixture.system.calls.isEmpty()); // the worker went to work
        return;
    }
    QCOMPARE(closer.records.size(), 1);
    QCOMPARE(closer.records.at(0).title, title);
    QCOMPARE(closer.records.at(0).text, text);
    QVERIFY(fixture.system.calls.isEmpty());
    QVERIFY(window.findChild<QPushButton*>(QStringLiteral("quit"))->isEnabled());
}

void InstallFlowTest::installResult_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("unpackable");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("stickBox");
    QTest::addColumn<bool>("checkedAfter");

    QTest::newRow("1: done, window stays") << "doc" << int(KindHelpFiles) << true << LoopNotEnded << false << false;
    QTest::newRow("10: failed, window stays") << "doc" << int(KindHelpFiles) << false << LoopNotEnded << false << true;
    QTest::newRow("2: new installer") << "ins" << int(KindInstaller) << true << int(ExitNewInstaller) << false << false;
    QTest::newRow("3: program, stick box first")
        << "bin" << int(KindProgram) << true << int(ExitReboot) << true << false;
}

void InstallFlowTest::installResult()
{
    QFETCH(QString, name);
    QFETCH(int, kind);
    QFETCH(bool, unpackable);
    QFETCH(int, exitCode);
    QFETCH(bool, stickBox);
    QFETCH(bool, checkedAfter);

    WindowFixture fixture;
    const UpdatePackage record = fixture.package(name, kind, true);
    if (unpackable)
        fixture.makeInstallable(record);
    CMainWidget& window = fixture.open({ record });

    ModalCloser closer;
    QCOMPARE(runForExitCode([&window] { window.sl_BtnInstall(); }), exitCode);

    // A box the closer found was shown while the loop was still running.
    QCOMPARE(closer.records.size(), stickBox ? 1 : 0);
    if (stickBox) {
        QCOMPARE(closer.records.at(0).text, windowText("Please remove USB-Stick first. Then press OK.", "PopUp"));
        QCOMPARE(closer.records.at(0).title, windowText("Update", "Title"));
    }
    QCOMPARE(window.settings().GetReRun(), exitCode == ExitNewInstaller);
    QCOMPARE(window.findChild<QCheckBox*>(QStringLiteral("checkbox_0"))->isChecked(), checkedAfter);
    QCOMPARE(window.packages().at(0).selected, checkedAfter);
    QCOMPARE(window.findChild<QPushButton*>(QStringLiteral("install"))->isEnabled(), checkedAfter);
    QVERIFY(window.findChild<QPushButton*>(QStringLiteral("quit"))->isEnabled());
    const QString lastMessage
        = unpackable ? workerText("Ready") : workerText("Unpack error: ") + fixture.system.unpackError;
    QCOMPARE(messageLine(window), CMainWidget::ShortenText(lastMessage, 59));
    QCOMPARE(QFile::exists(fixture.destination() + QStringLiteral("/payload")), unpackable);
}

void InstallFlowTest::quitEndsWithOne()
{
    WindowFixture fixture;
    CMainWidget& window = fixture.open({ fixture.package(QStringLiteral("bin"), KindProgram, true) });
    QTest::ignoreMessage(QtDebugMsg, "sl_BtnCancel()");
    auto* quit = window.findChild<QPushButton*>(QStringLiteral("quit"));
    QCOMPARE(runForExitCode([quit] { quit->click(); }), int(ExitQuit));
    QVERIFY(fixture.system.calls.isEmpty());
}

void InstallFlowTest::helpPage_data()
{
    QTest::addColumn<QString>("catalogue");
    QTest::addColumn<QString>("firstParagraph");
    QTest::addColumn<QString>("title");

    QTest::newRow("no catalogue shows the keys") << ":/lang/xx"
                                                 << "HelpText_1."
                                                 << "Help";
    QTest::newRow("english") << ":/lang/en"
                             << "Select the required software packages or keep the pre-selection (recommended). "
                                "Press <i>Install</i> to start the update. After an installer update, a further "
                                "update start is necessary."
                             << "Help";
    QTest::newRow("german") << ":/lang/de"
                            << "Wählen Sie die benötigten Software-Pakete aus oder belassen es bei der Vorauswahl "
                               "(empfohlen). Um das Update zu starten, drücken Sie <i>Installieren</i>. Nach einem "
                               "Update des Installers ist ein weiterer Update-Start notwendig."
                            << "Hilfe";
}

void InstallFlowTest::helpPage()
{
    QFETCH(QString, catalogue);
    QFETCH(QString, firstParagraph);
    QFETCH(QString, title);

    WindowFixture fixture;
    fixture.writeSettings(QStringLiteral("Language=") + catalogue + QLatin1Char('\n'));
    if (catalogue == QLatin1String(":/lang/xx"))
        QTest::ignoreMessage(QtDebugMsg, "  Load Translation failed:  \":/lang/xx\"");
    CMainWidget& window = fixture.open({});

    ModalCloser closer;
    window.findChild<QPushButton*>(QStringLiteral("help"))->click();

    QCOMPARE(closer.records.size(), 1);
    const ModalRecord& box = closer.records.at(0);
    QCOMPARE(box.title, title);
    QCOMPARE(box.styleSheet, QStringLiteral("font-size: 18pt;"));
    QCOMPARE(box.iconWidth, 90);
    const QStringList texts = paragraphs(box.text);
    QCOMPARE(texts.size(), 4);
    QCOMPARE(texts.at(0), firstParagraph);
    QCOMPARE(
        texts.at(1), catalogue == QLatin1String(":/lang/xx") ? QStringLiteral("HelpText_2") : QStringLiteral("---"));
    QCOMPARE(texts.at(2), QStringLiteral("2.0.0  Build 34725"));
    QVERIFY(box.text.endsWith(QStringLiteral("<p><small>") + QCoreApplication::translate("Help", "LanguageIconLicence")
        + QStringLiteral("</small></p>")));
}

QTEST_MAIN(InstallFlowTest)
#include "installflowtest.moc"
