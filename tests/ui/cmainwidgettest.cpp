#include "ui/windowfixture.h"

#include "settings/clanguagedlg.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>

// The package table, the selection and the language change of the main window.
class CMainWidgetTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void packageRow_data();
    void packageRow();
    void checkBoxToggles_data();
    void checkBoxToggles();
    void shortenText_data();
    void shortenText();
    void languageChangeRebuildsTable();
    void languageCancelChangesNothing();
};

template <typename T> T* find(QWidget& window, const QString& name)
{
    return window.findChild<T*>(name);
}

void CMainWidgetTest::packageRow_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("bsp");
    QTest::addColumn<QByteArray>("typeKey"); // empty: the name itself is shown
    QTest::addColumn<QByteArray>("reasonKey"); // empty: the row has a check box

    QTest::newRow("doc") << "doc" << 0 << "1.36.0" << QByteArray("_HelpFiles") << QByteArray();
    QTest::newRow("bin") << "bin" << 0 << "1.36.0" << QByteArray("_Program") << QByteArray();
    QTest::newRow("ins") << "ins" << 0 << "1.36.0" << QByteArray("_Installer") << QByteArray();
    QTest::newRow("inst") << "inst" << 0 << "1.36.0" << QByteArray("_InstallerOld") << QByteArray();
    QTest::newRow("longer name kept") << "bin_main" << 0 << "1.36.0" << QByteArray() << QByteArray();
    QTest::newRow("other name kept") << "firmware" << 0 << "1.36.0" << QByteArray() << QByteArray();
    QTest::newRow("upper case not a type") << "BIN" << 0 << "1.36.0" << QByteArray() << QByteArray();
    QTest::newRow("wrong bsp") << "bin" << 2 << "1.41.0" << QByteArray("_Program") << QByteArray("Wrong BSP %1");
    QTest::newRow("missing signature") << "doc" << 3 << "1.36.0" << QByteArray("_HelpFiles")
                                       << QByteArray("Missing Signature File");
    QTest::newRow("signature fails") << "ins" << 4 << "1.36.0" << QByteArray("_Installer")
                                     << QByteArray("Signature check fails");
    QTest::newRow("unknown error") << "bin" << 7 << "1.36.0" << QByteArray("_Program") << QByteArray("Unknowen");
    QTest::newRow("error 1 is unknown") << "bin" << 1 << "1.36.0" << QByteArray("_Program") << QByteArray("Unknowen");
}

void CMainWidgetTest::packageRow()
{
    QFETCH(QString, name);
    QFETCH(int, error);
    QFETCH(QString, bsp);
    QFETCH(QByteArray, typeKey);
    QFETCH(QByteArray, reasonKey);

    WindowFixture fixture;
    UpdatePackage record = fixture.package(name, KindProgram, true, QStringLiteral("3.1.4"));
    record.error = error;
    record.bsp = bsp;
    CMainWidget& window = fixture.open({ record });

    const QString typeText = typeKey.isEmpty() ? name : windowText(typeKey.constData());
    QCOMPARE(find<QLabel>(window, QStringLiteral("type_0"))->text(), typeText);
    QCOMPARE(find<QLabel>(window, QStringLiteral("installed_0"))->text(), QStringLiteral("1.0.0"));
    auto* box = find<QCheckBox>(window, QStringLiteral("checkbox_0"));
    auto* reasonLabel = find<QLabel>(window, QStringLiteral("reason_0"));
    const UpdatePackage& shown = window.packages().at(0);
    if (reasonKey.isEmpty()) {
        QVERIFY(box && !reasonLabel);
        QVERIFY(box->isChecked());
        QCOMPARE(find<QLabel>(window, QStringLiteral("version_0"))->text(), QStringLiteral("3.1.4"));
        QCOMPARE(shown.checkBoxIndex, 0);
        QVERIFY(shown.selected);
    } else {
        QVERIFY(!box && reasonLabel);
        QString reason = windowText(reasonKey.constData());
        if (error == ErrorWrongBsp)
            reason = reason.arg(bsp);
        QCOMPARE(reasonLabel->text(), QStringLiteral("<font size=xx-small color=\"red\">%1</font>").arg(reason));
        QCOMPARE(shown.checkBoxIndex, -1);
        QVERIFY(!shown.selected); // a record that cannot be installed is never selected
    }
    QCOMPARE(find<QPushButton>(window, QStringLiteral("install"))->isEnabled(), reasonKey.isEmpty());
}

void CMainWidgetTest::checkBoxToggles_data()
{
    QTest::addColumn<int>("row");
    QTest::newRow("first row") << 0;
    QTest::newRow("middle row") << 1;
    QTest::newRow("last row") << 2;
}

void CMainWidgetTest::checkBoxToggles()
{
    QFETCH(int, row);

    WindowFixture fixture;
    CMainWidget& window = fixture.open({ fixture.package(QStringLiteral("doc"), KindHelpFiles, false),
        fixture.package(QStringLiteral("bin"), KindProgram, false),
        fixture.package(QStringLiteral("ins"), KindInstaller, false) });
    auto* install = find<QPushButton>(window, QStringLiteral("install"));
    const QString nameAtRow = window.packages().at(row).name;
    auto* box = find<QCheckBox>(window, QStringLiteral("checkbox_%1").arg(row));
    QVERIFY(box);

    QTest::mouseClick(box, Qt::LeftButton);
    for (int i = 0; i < window.packages().size(); ++i)
        QCOMPARE(window.packages().at(i).selected, i == row);
    QCOMPARE(window.packages().at(row).name, nameAtRow);
    QVERIFY(box->isChecked());
    QVERIFY(install->isEnabled());

    QTest::mouseClick(box, Qt::LeftButton);
    QVERIFY(!window.packages().at(row).selected);
    QVERIFY(!box->isChecked());
    QVERIFY(!install->isEnabled());
}

void CMainWidgetTest::shortenText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("expected");

    const QString sixty = QStringLiteral("abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMNOPQRSTUVWX");
    QTest::newRow("empty") << QString() << 59 << QString();
    QTest::newRow("59 kept whole") << sixty.left(59) << 59 << sixty.left(59);
    QTest::newRow("60 shortened to 28+3+28") << sixty << 59 << sixty.left(28) + QStringLiteral("...") + sixty.right(28);
    QTest::newRow("long text keeps both ends") << QString(200, QLatin1Char('x')) + QStringLiteral("END") << 59
                                               << QString(28, QLatin1Char('x')) + QStringLiteral("...")
            + QString(25, QLatin1Char('x')) + QStringLiteral("END");
    QTest::newRow("odd remainder goes right") << QStringLiteral("0123456789ab") << 10 << QStringLiteral("012...89ab");
    QTest::newRow("even remainder") << QStringLiteral("0123456789ab") << 11 << QStringLiteral("0123...89ab");
}

void CMainWidgetTest::shortenText()
{
    QFETCH(QString, text);
    QFETCH(int, limit);
    QFETCH(QString, expected);

    const QString shortened = CMainWidget::ShortenText(text, limit);
    QCOMPARE(shortened, expected);
    QVERIFY(shortened.size() <= limit);
}

void CMainWidgetTest::languageChangeRebuildsTable()
{
    WindowFixture fixture;
    CMainWidget& window = fixture.open({ fixture.package(QStringLiteral("doc"), KindHelpFiles, true),
                                           fixture.package(QStringLiteral("bin"), KindProgram, false) },
        true);
    const QString versionLine = find<QLabel>(window, QStringLiteral("versionLabel"))->text();
    auto* oldBox = find<QCheckBox>(window, QStringLiteral("checkbox_1"));
    QTest::mouseClick(oldBox, Qt::LeftButton); // the selection now differs from the initial one
    const bool firstSelected = window.packages().at(0).selected;

    ModalCloser closer;
    closer.closeDialog = [](QDialog* dialog) {
        auto* languageDialog = qobject_cast<CLanguageDlg*>(dialog);
        for (int i = 0; languageDialog && i < languageDialog->languages().size(); ++i) {
            if (languageDialog->languages().at(i).catalogue == QLatin1String(":/lang/de")) {
                languageDialog->setLanguage(i);
                return;
            }
        }
        dialog->reject(); // only reached when no German catalogue was offered
    };
    window.sl_BtnLanguage();

    QCOMPARE(closer.records.size(), 1);
    QCOMPARE(window.settings().GetLanguage(), QStringLiteral(":/lang/de"));
    QCOMPARE(find<QLabel>(window, QStringLiteral("header_0"))->text(), QStringLiteral("Paket"));
    QCOMPARE(find<QPushButton>(window, QStringLiteral("install"))->text(), QStringLiteral("Installieren"));
    QCOMPARE(find<QLabel>(window, QStringLiteral("type_1"))->text(), QStringLiteral("Programm"));
    QCOMPARE(find<QLabel>(window, QStringLiteral("message"))->text(),
        QStringLiteral("Mehr als 6 Pakete gefunden. Bitte löschen oder verschieben."));
    QCOMPARE(find<QLabel>(window, QStringLiteral("versionLabel"))->text(), versionLine);
    QCOMPARE(find<QCheckBox>(window, QStringLiteral("checkbox_0"))->isChecked(), firstSelected);
    QVERIFY(find<QCheckBox>(window, QStringLiteral("checkbox_1"))->isChecked());
    QCOMPARE(window.findChildren<QCheckBox*>().size(), 2); // the old boxes are gone

    // The rebuilt boxes are mapped again: clicking toggles the same record. New
    // row widgets are shown and laid out from the event loop.
    auto* newBox = find<QCheckBox>(window, QStringLiteral("checkbox_1"));
    QTRY_VERIFY(newBox->isVisible());
    QTest::mouseClick(newBox, Qt::LeftButton);
    QVERIFY(!window.packages().at(1).selected);
}

void CMainWidgetTest::languageCancelChangesNothing()
{
    WindowFixture fixture;
    CMainWidget& window = fixture.open({ fixture.package(QStringLiteral("bin"), KindProgram, true) });
    auto* box = find<QCheckBox>(window, QStringLiteral("checkbox_0"));
    const QString title = find<QLabel>(window, QStringLiteral("title"))->text();

    ModalCloser closer;
    window.sl_BtnLanguage();

    QCOMPARE(closer.records.size(), 1);
    QCOMPARE(closer.records.at(0).className, QStringLiteral("CLanguageDlg"));
    QVERIFY(!window.settings().isModified());
    QCOMPARE(find<QCheckBox>(window, QStringLiteral("checkbox_0")), box); // not rebuilt
    QCOMPARE(find<QLabel>(window, QStringLiteral("title"))->text(), title);
    fixture.close();
    QVERIFY(!QFile::exists(fixture.system.shareDir + QStringLiteral("installer.ini")));
}

QTEST_MAIN(CMainWidgetTest)
#include "cmainwidgettest.moc"
