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
    void dialog_data();
    void dialog();
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
    QTest::newRow("de title falls back") << de << "CLanguageDlg" << "Select Language" << "Title" << "Sprache wählen";
    QTest::newRow("de Help") << de << "CMainWidget" << "Help" << none << "Hilfe";
    QTest::newRow("de Help Title") << de << "CMainWidget" << "Help" << "Title" << "Hilfe";
    QTest::newRow("de remove stick") << de << "CMainWidget" << "Please remove USB-Stick first. Then press OK."
                                     << "PopUp" << "Bitte entfernen Sie zuerst den USB-Stick. Drücken Sie dann OK.";
    QTest::newRow("de CVersion") << de << "CVersion" << "Unknown" << none << "Unbekannt";
    QTest::newRow("de CWorker") << de << "CWorker" << "Verify key from %1" << none << "Vergleiche Schlüssel von %1";
    QTest::newRow("en corrects Unknowen") << en << "CMainWidget" << "Unknowen" << none << "Unknown";
    QTest::newRow("en one per kind") << en << "CMainWidget" << "Please select only one of each package type."
                                     << none << "Please select only one package from each package type.";
    QTest::newRow("en unfinished shows source") << en << "CWorker" << "Ready" << none << "Ready";
    QTest::newRow("no context fall-back") << de << "CWorker" << "Cancel" << none << "Cancel";
    QTest::newRow("none: key shown") << none << "Help" << "HelpText_1." << none << "HelpText_1.";
}

void LanguageTest::catalogues()
{
    QFETCH(QString, catalogue);
    QFETCH(QString, context);
    QFETCH(QString, source);
    QFETCH(QString, disambiguation);

    QTranslator translator;
    if (!catalogue.isEmpty()) {
        QVERIFY(translator.load(catalogue));
        QCoreApplication::installTranslator(&translator);
    }
    const QByteArray comment = disambiguation.toUtf8();
    QTEST(QCoreApplication::translate(context.toUtf8().constData(), source.toUtf8().constData(),
                                      comment.isEmpty() ? nullptr : comment.constData()),
          "text");
    QCoreApplication::removeTranslator(&translator);
}

void LanguageTest::resourceDirectories()
{
    QCOMPARE(QDir(QStringLiteral(":/lang")).entryList(QDir::Files, QDir::Unsorted), QStringList({"de", "en"}));
    QCOMPARE(QDir(QStringLiteral(":/flags")).entryList(QDir::Files, QDir::Unsorted),
             QStringList({"de", "en", "fr", "pl"}));
}

void LanguageTest::images_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");

    for (const char* name : {"run", "exit", "help", "lang", "undo", "package", "window_add.png"})
        QTest::newRow(name) << QStringLiteral(":/png/") + QLatin1String(name) << QSize(48, 48);
    for (const char* name : {"de", "en", "fr", "pl"})
        QTest::newRow(name) << QStringLiteral(":/flags/") + QLatin1String(name) << QSize(48, 48);
    QTest::newRow("logo") << ":/png/qel-b" << QSize(566, 140);
}

void LanguageTest::images()
{
    QFETCH(QString, path);
    const QImage image(path);
    QTEST(image.size(), "size");
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
    QTEST(CLanguageDlg::columnCount(languages), "columns");
}

void LanguageTest::dialog_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("selected");

    QTest::newRow("flag accepts with its catalogue") << "flag_de" << 1 << ":/lang/de";
    QTest::newRow("cancel rejects") << "cancel" << 0 << "";
}

// Two flags in one row and a cancel button, labelled in the language in force.
void LanguageTest::dialog()
{
    QFETCH(QString, button);
    QTranslator german;
    QVERIFY(german.load(QStringLiteral(":/lang/de")));
    QCoreApplication::installTranslator(&german);
    CLanguageDlg dialog(nullptr);
    QCoreApplication::removeTranslator(&german);
    QCOMPARE(dialog.findChild<QPushButton*>(QStringLiteral("cancel"))->text(), QStringLiteral("Abbrechen"));
    QCOMPARE(dialog.findChildren<QPushButton*>().size(), 3);
    auto* grid = dialog.findChild<QGridLayout*>();
    int row = -1, column = -1, span = 0;
    grid->getItemPosition(grid->indexOf(dialog.findChild<QPushButton*>(QStringLiteral("flag_en"))), &row, &column,
                          &span, &span);
    QCOMPARE(QPoint(column, row), QPoint(1, 0));
    QVERIFY(!dialog.findChild<QPushButton*>(QStringLiteral("flag_de"))->icon().isNull());

    QTimer::singleShot(0, &dialog, [&dialog, button] {
        QTest::mouseClick(dialog.findChild<QPushButton*>(button), Qt::LeftButton);
    });
    QTEST(dialog.exec(), "result");
    QTEST(dialog.selectedLanguage(), "selected");
}

QTEST_MAIN(LanguageTest)
#include "languagetest.moc"
