#include "ui/cmainwidget.h"
#include "common/fakesystem.h"
#include "common/testtools.h"
#include "install/cworker.h"
#include "settings/clanguagedlg.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

namespace {

// Value returned by runForExitCode when the slot did not end the event loop.
constexpr int LoopNotEnded = -100;

// Watches for modal windows while it exists, records each one's title and text
// and closes it: message boxes with their OK button, other dialogs with closeDialog.
class ModalCloser : public QObject {
public:
    ModalCloser()
    {
        connect(&m_timer, &QTimer::timeout, this, &ModalCloser::poll);
        m_timer.start(10);
    }
    std::function<void(QDialog*)> closeDialog = [](QDialog* dialog) { dialog->reject(); };
    QStringList titles;
    QStringList texts; // a message box's text, empty for other dialogs

private:
    void poll()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible())
            return;
        auto* box = qobject_cast<QMessageBox*>(modal);
        titles << modal->windowTitle();
        texts << (box ? box->text() : QString());
        if (box && box->button(QMessageBox::Ok))
            box->button(QMessageBox::Ok)->click();
        else if (auto* dialog = qobject_cast<QDialog*>(modal))
            closeDialog(dialog);
    }
    QTimer m_timer;
};

// Runs action inside the application's event loop and returns the code it was
// ended with through QCoreApplication::exit, or LoopNotEnded.
int runForExitCode(const std::function<void()>& action)
{
    // Timers added while timers are being activated fire in a later pass, so an
    // exit requested by action ends the loop before the marker below is seen.
    // The marker belongs to guard, so it cannot fire in a later loop.
    QObject guard;
    QTimer::singleShot(0, &guard, [action, &guard] {
        action();
        QTimer::singleShot(0, &guard, [] { QCoreApplication::exit(LoopNotEnded); });
    });
    // QApplication::exec(), unlike a plain QEventLoop, clears the application's
    // quit request again when it returns, so later modal boxes still run.
    return QApplication::exec();
}

// A window over a fake device in a temporary directory with a real worker.
class WindowFixture {
public:
    WindowFixture()
        : system(m_dir.filePath(QStringLiteral("share/")), m_dir.filePath(QStringLiteral("unpack")))
        , worker(system)
    {
        QDir().mkpath(system.shareDir);
    }

    UpdatePackage package(const QString& name, int kind, bool selected, const QString& version = "2.0.0") const
    {
        UpdatePackage record;
        record.file = QFileInfo(m_dir.filePath(name + QLatin1Char('-') + version + "-BSP-1.36.0.tar.bz2"));
        record.name = name;
        record.versionText = version;
        record.version = CVersion(version);
        record.installed = CVersion(QStringLiteral("1.0.0"));
        record.bsp = QStringLiteral("1.36.0");
        record.priority = kind;
        record.selected = selected;
        return record;
    }

    // The archive unpacks to an UPDATE.CONF that copies one file "payload" to destination().
    void makeInstallable(const UpdatePackage& package)
    {
        const QString source = m_dir.filePath(QStringLiteral("contents/") + package.file.fileName());
        TestTools::writeFile(source + QStringLiteral("/payload"), "payload");
        TestTools::writeFile(source + QStringLiteral("/UPDATE.CONF"),
            "DEST_FILE1 = " + QFile::encodeName(destination()) + "\nFILE_LIST = payload\n");
        system.unpackSources.insert(package.file.fileName(), source);
    }

    // The window over packages, with installer.ini naming language when one is given.
    CMainWidget& open(const QList<UpdatePackage>& packages, const QString& language = {}, bool truncated = false)
    {
        if (!language.isEmpty())
            TestTools::writeFile(system.shareDir + "installer.ini", "Language=" + language.toUtf8() + '\n');
        if (language == QLatin1String(":/lang/xx"))
            QTest::ignoreMessage(QtDebugMsg, "  Load Translation failed:  \":/lang/xx\"");
        const CMainWidgetContext context { system, worker, CVersion(QStringLiteral("2.0.0")),
            CVersion(QStringLiteral("34725")), QString(), truncated };
        window = std::make_unique<CMainWidget>(packages, context);
        QObject::connect(&worker, &CWorker::message, window.get(), &CMainWidget::sl_Message);
        window->showMaximized(); // as on the device, so that clicks reach the laid-out widgets
        return *window;
    }

    [[nodiscard]] QString destination() const { return m_dir.filePath(QStringLiteral("dest")); }

    QTemporaryDir m_dir;
    CFakeSystem system;
    CWorker worker;
    std::unique_ptr<CMainWidget> window;
};

QString windowText(const char* source, const char* comment = nullptr)
{
    return QCoreApplication::translate("CMainWidget", source, comment);
}

QString labelText(QWidget& window, const QString& name)
{
    auto* label = window.findChild<QLabel*>(name);
    return label ? label->text() : QStringLiteral("<no label>");
}

bool isChecked(QWidget& window, int index)
{
    auto* box = window.findChild<QCheckBox*>(QStringLiteral("checkbox_%1").arg(index));
    return box && box->isChecked();
}

bool installEnabled(QWidget& window)
{
    return window.findChild<QPushButton*>(QStringLiteral("install"))->isEnabled();
}

} // namespace

// The main window's package table, selection, language change and buttons.
class CMainWidgetTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void packageRow_data();
    void packageRow();
    void checkBoxesMapToTheirRecords();
    void shortenText_data();
    void shortenText();
    void languageChange_data();
    void languageChange();
    void install_data();
    void install();
    void helpPage_data();
    void helpPage();
};

void CMainWidgetTest::packageRow_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("error");
    QTest::addColumn<QByteArray>("typeKey"); // empty: the name itself is shown
    QTest::addColumn<QByteArray>("reasonKey"); // empty: the row has a check box

    QTest::newRow("doc") << "doc" << 0 << QByteArray("_HelpFiles") << QByteArray();
    QTest::newRow("bin") << "bin" << 0 << QByteArray("_Program") << QByteArray();
    QTest::newRow("ins") << "ins" << 0 << QByteArray("_Installer") << QByteArray();
    QTest::newRow("inst") << "inst" << 0 << QByteArray("_InstallerOld") << QByteArray();
    QTest::newRow("other name kept") << "bin_main" << 0 << QByteArray() << QByteArray();
    QTest::newRow("wrong bsp") << "bin" << 2 << QByteArray("_Program") << QByteArray("Wrong BSP %1");
    QTest::newRow("missing signature") << "doc" << 3 << QByteArray("_HelpFiles")
                                       << QByteArray("Missing Signature File");
    QTest::newRow("signature fails") << "ins" << 4 << QByteArray("_Installer") << QByteArray("Signature check fails");
    QTest::newRow("unknown error") << "bin" << 1 << QByteArray("_Program") << QByteArray("Unknowen");
}

void CMainWidgetTest::packageRow()
{
    QFETCH(QString, name);
    QFETCH(int, error);
    QFETCH(QByteArray, typeKey);
    QFETCH(QByteArray, reasonKey);

    WindowFixture fixture;
    UpdatePackage record = fixture.package(name, KindProgram, true, QStringLiteral("3.1.4"));
    record.error = error;
    record.bsp = QStringLiteral("1.41.0");
    CMainWidget& window = fixture.open({ record });

    const bool installable = reasonKey.isEmpty();
    QCOMPARE(labelText(window, "type_0"), typeKey.isEmpty() ? name : windowText(typeKey.constData()));
    QCOMPARE(labelText(window, "installed_0"), QStringLiteral("1.0.0"));
    QCOMPARE(isChecked(window, 0), installable);
    QCOMPARE(window.packages().at(0).selected, installable); // an uninstallable record is never selected
    QCOMPARE(window.packages().at(0).checkBoxIndex, installable ? 0 : -1);
    QCOMPARE(installEnabled(window), installable);
    if (installable) {
        QCOMPARE(labelText(window, "version_0"), QStringLiteral("3.1.4"));
    } else {
        QString reason = windowText(reasonKey.constData());
        if (error == ErrorWrongBsp)
            reason = reason.arg(record.bsp);
        QCOMPARE(
            labelText(window, "reason_0"), QStringLiteral("<font size=xx-small color=\"red\">%1</font>").arg(reason));
    }
}

void CMainWidgetTest::checkBoxesMapToTheirRecords()
{
    WindowFixture fixture;
    CMainWidget& window = fixture.open({ fixture.package(QStringLiteral("doc"), KindHelpFiles, false),
        fixture.package(QStringLiteral("bin"), KindProgram, false),
        fixture.package(QStringLiteral("ins"), KindInstaller, false) });
    for (int row = 0; row < 3; ++row) {
        auto* box = window.findChild<QCheckBox*>(QStringLiteral("checkbox_%1").arg(row));
        QTest::mouseClick(box, Qt::LeftButton);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(window.packages().at(i).selected, i == row);
        QVERIFY(box->isChecked() && installEnabled(window));
        QTest::mouseClick(box, Qt::LeftButton);
        QVERIFY(!window.packages().at(row).selected && !box->isChecked() && !installEnabled(window));
    }
}

void CMainWidgetTest::shortenText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("expected");

    const QString sixty = QStringLiteral("abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMNOPQRSTUVWX");
    QTest::newRow("59 kept whole") << sixty.left(59) << 59 << sixty.left(59);
    QTest::newRow("60 shortened to 28+3+28") << sixty << 59 << sixty.left(28) + QStringLiteral("...") + sixty.right(28);
    QTest::newRow("odd remainder goes right") << QStringLiteral("0123456789ab") << 10 << QStringLiteral("012...89ab");
}

void CMainWidgetTest::shortenText()
{
    QFETCH(QString, text);
    QFETCH(int, limit);
    QTEST(CMainWidget::ShortenText(text, limit), "expected");
}

void CMainWidgetTest::languageChange_data()
{
    QTest::addColumn<QString>("choice"); // empty: the dialog is cancelled
    QTest::addColumn<QString>("install");
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("message");

    QTest::newRow("German") << ":/lang/de"
                            << "Installieren"
                            << "Programm"
                            << "Mehr als 6 Pakete gefunden. Bitte löschen oder verschieben.";
    QTest::newRow("cancelled") << ""
                               << "Install"
                               << "Program"
                               << "More than 6 packages found. Please delete or move.";
}

void CMainWidgetTest::languageChange()
{
    QFETCH(QString, choice);
    WindowFixture fixture;
    CMainWidget& window = fixture.open({ fixture.package(QStringLiteral("doc"), KindHelpFiles, true),
                                           fixture.package(QStringLiteral("bin"), KindProgram, false) },
        QString(), true);
    QTest::mouseClick(window.findChild<QCheckBox*>(QStringLiteral("checkbox_1")), Qt::LeftButton);

    ModalCloser closer;
    closer.closeDialog = [choice](QDialog* dialog) {
        auto* languageDialog = qobject_cast<CLanguageDlg*>(dialog);
        for (int i = 0; languageDialog && i < languageDialog->languages().size(); ++i) {
            if (languageDialog->languages().at(i).catalogue == choice)
                return languageDialog->setLanguage(i);
        }
        dialog->reject();
    };
    window.sl_BtnLanguage();

    QCOMPARE(closer.titles.size(), 1);
    QCOMPARE(window.settings().isModified(), !choice.isEmpty());
    QTEST(window.findChild<QPushButton*>(QStringLiteral("install"))->text(), "install");
    QTEST(labelText(window, "type_1"), "program");
    QTEST(labelText(window, "message"), "message");
    QVERIFY(isChecked(window, 0) && isChecked(window, 1));
    QCOMPARE(window.findChildren<QCheckBox*>().size(), 2); // the old boxes are gone

    // The rebuilt boxes are mapped again. New row widgets are shown from the event loop.
    auto* box = window.findChild<QCheckBox*>(QStringLiteral("checkbox_1"));
    QTRY_VERIFY(box->isVisible());
    QTest::mouseClick(box, Qt::LeftButton);
    QVERIFY(!window.packages().at(1).selected);
}

void CMainWidgetTest::install_data()
{
    QTest::addColumn<QStringList>("names"); // all selected
    QTest::addColumn<QList<int>>("kinds");
    QTest::addColumn<bool>("unpackable");
    QTest::addColumn<QString>("catalogue");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("box"); // text of the one box shown, empty: none
    QTest::addColumn<bool>("selectedAfter");

    QTest::newRow("refused: nothing selected, untranslated")
        << QStringList {} << QList<int> {} << true << ":/lang/de" << LoopNotEnded
        << "No update selected. Please select an update or chancel the installer." << false;
    QTest::newRow("refused: two programs")
        << QStringList { "bin", "bin_main" } << QList<int> { KindProgram, KindProgram } << true << ":/lang/en"
        << LoopNotEnded << "Please select only one package from each package type." << true;
    QTest::newRow("refused: two unrecognised, no catalogue")
        << QStringList { "abc", "xyz" } << QList<int> { KindUnrecognised, KindUnrecognised } << true << ":/lang/xx"
        << LoopNotEnded << "Please select only one of each package type." << true;
    QTest::newRow("1: two kinds done, window stays")
        << QStringList { "doc", "abc" } << QList<int> { KindHelpFiles, KindUnrecognised } << true << "" << LoopNotEnded
        << "" << false;
    QTest::newRow("10: failed, window stays re-synced")
        << QStringList { "doc" } << QList<int> { KindHelpFiles } << false << "" << LoopNotEnded << "" << true;
    QTest::newRow("2: new installer") << QStringList { "ins" } << QList<int> { KindInstaller } << true << ""
                                      << int(ExitNewInstaller) << "" << false;
    QTest::newRow("3: program, stick box first")
        << QStringList { "bin" } << QList<int> { KindProgram } << true << "" << int(ExitReboot)
        << "Please remove USB flash drive first. Then press OK." << false;
}

void CMainWidgetTest::install()
{
    QFETCH(QStringList, names);
    QFETCH(QList<int>, kinds);
    QFETCH(bool, unpackable);
    QFETCH(QString, catalogue);
    QFETCH(int, exitCode);
    QFETCH(QString, box);
    QFETCH(bool, selectedAfter);

    WindowFixture fixture;
    QList<UpdatePackage> records;
    for (int i = 0; i < names.size(); ++i) {
        records << fixture.package(names.at(i), kinds.at(i), true, QStringLiteral("2.%1.0").arg(i));
        if (unpackable)
            fixture.makeInstallable(records.last());
    }
    CMainWidget& window = fixture.open(records, catalogue);

    ModalCloser closer;
    QCOMPARE(runForExitCode([&window] { window.sl_BtnInstall(); }), exitCode);
    // A box the closer found was shown while the loop was still running.
    QCOMPARE(closer.texts, box.isEmpty() ? QStringList() : QStringList { box });
    QCOMPARE(window.settings().GetReRun(), exitCode == ExitNewInstaller);
    for (int i = 0; i < records.size(); ++i) {
        QCOMPARE(isChecked(window, i), selectedAfter);
        QCOMPARE(window.packages().at(i).selected, selectedAfter);
    }
    QCOMPARE(installEnabled(window), selectedAfter);
    const bool refused = exitCode == LoopNotEnded && !box.isEmpty();
    QCOMPARE(fixture.system.calls.isEmpty(), refused); // a refusal never reaches the worker
    QCOMPARE(QFile::exists(fixture.destination() + QStringLiteral("/payload")), unpackable && !refused);
    if (!refused && !unpackable) {
        const QString unpackError
            = QCoreApplication::translate("CWorker", "Unpack error: ") + fixture.system.unpackError;
        QCOMPARE(labelText(window, "message"), CMainWidget::ShortenText(unpackError, 59));
    }
}

void CMainWidgetTest::helpPage_data()
{
    QTest::addColumn<QString>("catalogue");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");

    QTest::newRow("no catalogue shows the keys") << ":/lang/xx"
                                                 << "HelpText_1."
                                                 << "HelpText_2";
    QTest::newRow("german") << ":/lang/de"
                            << "Wählen Sie die benötigten Software-Pakete aus oder belassen es bei der Vorauswahl "
                               "(empfohlen). Um das Update zu starten, drücken Sie <i>Installieren</i>. Nach einem "
                               "Update des Installers ist ein weiterer Update-Start notwendig."
                            << "---";
}

void CMainWidgetTest::helpPage()
{
    QFETCH(QString, catalogue);
    QFETCH(QString, first);
    QFETCH(QString, second);

    WindowFixture fixture;
    CMainWidget& window = fixture.open({}, catalogue);
    ModalCloser closer;
    window.findChild<QPushButton*>(QStringLiteral("help"))->click();

    QCOMPARE(closer.titles, QStringList { windowText("Help", "Title") });
    QStringList paragraphs;
    const QRegularExpression paragraph(QStringLiteral("<p>(.*?)</p>"));
    for (auto match = paragraph.globalMatch(closer.texts.at(0)); match.hasNext();)
        paragraphs << match.next().captured(1);
    const QString licence = QCoreApplication::translate("Help", "LanguageIconLicence");
    QCOMPARE(paragraphs,
        QStringList({ first, second, "2.0.0  Build 34725", QStringLiteral("<small>%1</small>").arg(licence) }));
}

QTEST_MAIN(CMainWidgetTest)
#include "cmainwidgettest.moc"
