#include "settings/clanguagedlg.h"

#include <QCoreApplication>
#include <QDir>
#include <QGridLayout>
#include <QImage>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTranslator>

// The catalogues and images compiled into the program, and the dialog that
// offers one flag per catalogue.
class LanguageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void catalogues_data();
    void catalogues();
    void resourceDirectories();
    void images_data();
    void images();
    void columnCount_data();
    void columnCount();
    void dialogOffersOneFlagPerCatalogue();
    void flagAcceptsWithItsCatalogue();
    void cancelRejects();
    void dialogTextsFollowTheLanguage();
};

void LanguageTest::catalogues_data()
{
    QTest::addColumn<QString>("catalogue"); // empty: none loaded
    QTest::addColumn<QString>("context");
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("disambiguation");
    QTest::addColumn<QString>("text");

    const QString none;
    const QString de = QStringLiteral(":/lang/de");
    const QString en = QStringLiteral(":/lang/en");
    QTest::newRow("de Cancel") << de << "CLanguageDlg" << "Cancel" << none << "Abbrechen";
    QTest::newRow("de title falls back") << de << "CLanguageDlg" << "Select Language" << "Title" << "Sprache wählen";
    QTest::newRow("de Help") << de << "CMainWidget" << "Help" << none << "Hilfe";
    QTest::newRow("de Help Title") << de << "CMainWidget" << "Help" << "Title" << "Hilfe";
    QTest::newRow("de Update Title") << de << "CMainWidget" << "Update" << "Title" << "Update";
    QTest::newRow("de Installer") << de << "CMainWidget" << "Installer" << none << "Installer-Version";
    QTest::newRow("de wrong BSP") << de << "CMainWidget" << "Wrong BSP %1" << none << "Falsches BSP %1";
    QTest::newRow("de remove stick") << de << "CMainWidget" << "Please remove USB-Stick first. Then press OK."
                                     << "PopUp" << "Bitte entfernen Sie zuerst den USB-Stick. Drücken Sie dann OK.";
    QTest::newRow("de more than six") << de << "CMainWidget" << "More than 6 packages found. Please delete or move."
                                      << none << "Mehr als 6 Pakete gefunden. Bitte löschen oder verschieben.";
    QTest::newRow("de _InstallerOld") << de << "CMainWidget" << "_InstallerOld" << none << "Installer alt";
    QTest::newRow("de CVersion") << de << "CVersion" << "Unknown" << none << "Unbekannt";
    QTest::newRow("de CWorker") << de << "CWorker" << "Verify key from %1" << none << "Vergleiche Schlüssel von %1";
    QTest::newRow("de unpack error") << de << "CWorker" << "Unpack error: " << none << "Fehler beim Entpacken: ";
    QTest::newRow("de HelpText_2") << de << "Help" << "HelpText_2" << none << "---";
    QTest::newRow("en corrects Unknowen") << en << "CMainWidget" << "Unknowen" << none << "Unknown";
    QTest::newRow("en Start") << en << "CMainWidget" << "Start ..." << none << "Starting ...";
    QTest::newRow("en signature") << en << "CMainWidget" << "Signature check fails" << none
                                  << "Signature check failed";
    QTest::newRow("en one per kind") << en << "CMainWidget" << "Please select only one of each package type."
                                     << none << "Please select only one package from each package type.";
    QTest::newRow("en _HelpFiles") << en << "CMainWidget" << "_HelpFiles" << none << "Help Files";
    QTest::newRow("en unfinished shows source") << en << "CMainWidget" << "Install" << none << "Install";
    QTest::newRow("en unfinished in CWorker") << en << "CWorker" << "Ready" << none << "Ready";
    QTest::newRow("en HelpText_1.") << en << "Help" << "HelpText_1." << none
                                    << "Select the required software packages or keep the pre-selection "
                                       "(recommended). Press <i>Install</i> to start the update. After an "
                                       "installer update, a further update start is necessary.";
    QTest::newRow("no context fall-back") << de << "CWorker" << "Cancel" << none << "Cancel";
    QTest::newRow("none: key shown") << none << "Help" << "HelpText_1." << none << "HelpText_1.";
    QTest::newRow("none: _Program") << none << "CMainWidget" << "_Program" << none << "_Program";
}

void LanguageTest::catalogues()
{
    QFETCH(QString, catalogue);
    QFETCH(QString, context);
    QFETCH(QString, source);
    QFETCH(QString, disambiguation);
    QFETCH(QString, text);

    QTranslator translator;
    if (!catalogue.isEmpty()) {
        QVERIFY(translator.load(catalogue));
        QCoreApplication::installTranslator(&translator);
    }
    const QByteArray comment = disambiguation.toUtf8();
    QCOMPARE(QCoreApplication::translate(context.toUtf8().constData(), source.toUtf8().constData(),
                                         comment.isEmpty() ? nullptr : comment.constData()),
             text);
    QCoreApplication::removeTranslator(&translator);
}

void LanguageTest::resourceDirectories()
{
    QCOMPARE(QDir(QStringLiteral(":/lang")).entryList(QDir::Files, QDir::Unsorted), QStringList({"de", "en"}));
    QCOMPARE(QDir(QStringLiteral(":/flags")).entryList(QDir::Files, QDir::Unsorted),
             QStringList({"de", "en", "fr", "pl"}));
    QTranslator credit;
    QVERIFY(credit.load(QStringLiteral(":/lang/de")));
    QVERIFY(credit.translate("Help", "LanguageIconLicence").startsWith(QStringLiteral("Sprachsymbol: ")));
    QVERIFY(credit.load(QStringLiteral(":/lang/en")));
    QVERIFY(credit.translate("Help", "LanguageIconLicence").startsWith(QStringLiteral("Language icon: ")));
}

void LanguageTest::images_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");

    const QSize icon(48, 48);
    for (const char* name : {"run", "exit", "help", "lang", "undo", "package", "window_add.png"})
        QTest::newRow(name) << QStringLiteral(":/png/") + QLatin1String(name) << icon;
    for (const char* name : {"de", "en", "fr", "pl"})
        QTest::newRow(name) << QStringLiteral(":/flags/") + QLatin1String(name) << icon;
    QTest::newRow("logo") << ":/png/qel-b" << QSize(566, 140);
}

void LanguageTest::images()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);

    const QImage image(path);
    QCOMPARE(image.size(), size);
    QVERIFY(image.hasAlphaChannel());
}

void LanguageTest::columnCount_data()
{
    QTest::addColumn<int>("languages");
    QTest::addColumn<int>("columns");

    const int expected[] = {0, 3, 3, 3, 2, 3, 3, 3, 3, 3, 4, 4, 4, 4, 4, 4, 4, 5};
    for (int n = 0; n < 18; ++n)
        QTest::addRow("%d languages", n) << n << expected[n];
}

void LanguageTest::columnCount()
{
    QFETCH(int, languages);
    QFETCH(int, columns);
    QCOMPARE(CLanguageDlg::columnCount(languages), columns);
}

void LanguageTest::dialogOffersOneFlagPerCatalogue()
{
    CLanguageDlg dialog(nullptr);
    QCOMPARE(dialog.languages().size(), 2);
    QCOMPARE(dialog.languages().at(0).catalogue, QStringLiteral(":/lang/de"));
    QCOMPARE(dialog.languages().at(1).flag, QStringLiteral(":/flags/en"));

    auto* grid = dialog.findChild<QGridLayout*>();
    QVERIFY(grid);
    int row = -1, column = -1, span = 0;
    grid->getItemPosition(grid->indexOf(dialog.findChild<QPushButton*>(QStringLiteral("flag_en"))), &row, &column,
                          &span, &span);
    QCOMPARE(QPoint(column, row), QPoint(1, 0));
    QCOMPARE(dialog.findChildren<QPushButton*>().size(), 3); // two flags and cancel
    QVERIFY(!dialog.findChild<QPushButton*>(QStringLiteral("flag_de"))->icon().isNull());
}

void LanguageTest::flagAcceptsWithItsCatalogue()
{
    CLanguageDlg dialog(nullptr);
    QTimer::singleShot(0, &dialog, [&dialog] {
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("flag_de")), Qt::LeftButton);
    });
    QCOMPARE(dialog.exec(), 1);
    QCOMPARE(dialog.selectedLanguage(), QStringLiteral(":/lang/de"));
}

void LanguageTest::cancelRejects()
{
    CLanguageDlg dialog(nullptr);
    QTimer::singleShot(0, &dialog, [&dialog] {
        QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("cancel")), Qt::LeftButton);
    });
    QCOMPARE(dialog.exec(), 0);
    QCOMPARE(dialog.selectedLanguage(), QString());
}

void LanguageTest::dialogTextsFollowTheLanguage()
{
    QTranslator german;
    QVERIFY(german.load(QStringLiteral(":/lang/de")));
    QCoreApplication::installTranslator(&german);
    CLanguageDlg dialog(nullptr);
    QCoreApplication::removeTranslator(&german);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Sprache wählen"));
    QCOMPARE(dialog.findChild<QPushButton*>(QStringLiteral("cancel"))->text(), QStringLiteral("Abbrechen"));
    QVERIFY(!(dialog.windowFlags() & Qt::WindowContextHelpButtonHint));
}

QTEST_MAIN(LanguageTest)
#include "languagetest.moc"
