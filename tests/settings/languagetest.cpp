#include "common/golden.h"
#include "common/testtools.h"
#include "settings/clanguagedlg.h"

#include <QDir>
#include <QImage>
#include <QTest>
#include <QTranslator>
#include <QXmlStreamReader>

// The catalogues and images compiled into the program, as the program finds them.
class LanguageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void catalogues();
    void resources();
};

// One line per message of the translation sources: context, source, disambiguation,
// and what the window's lookup gives with the German and with the English catalogue.
void LanguageTest::catalogues()
{
    QTranslator german, english;
    QVERIFY(german.load(QStringLiteral(":/lang/de")) && english.load(QStringLiteral(":/lang/en")));
    QString table;
    QStringList key { {}, {}, {} }; // context, source text, disambiguation
    QXmlStreamReader xml(TestTools::readFile(TestPaths::source(QStringLiteral("resources/lang/de.ts"))));
    while (xml.readNext() != QXmlStreamReader::Invalid) { // Invalid follows the end of the document
        const int field = QStringList { "name", "source", "comment" }.indexOf(xml.name().toString());
        if (xml.isStartElement() && field >= 0)
            key[field] = xml.readElementText();
        if (!xml.isEndElement() || xml.name() != QLatin1String("message"))
            continue;
        table += key.join(QLatin1String(" | "));
        const QByteArray comment = key.at(2).toUtf8();
        for (QTranslator* catalogue : { &german, &english }) {
            QCoreApplication::installTranslator(catalogue);
            table += " | "
                + QCoreApplication::translate(qPrintable(key.at(0)), key.at(1).toUtf8().constData(),
                    comment.isEmpty() ? nullptr : comment.constData());
            QCoreApplication::removeTranslator(catalogue);
        }
        table += '\n';
        key[2].clear();
    }
    QCOMPARE_GOLDEN("settings/data/catalogues.ref", table);
}

// The resource directories in the order the language dialog lists them, image
// sizes, and the flag grid's column count for 0 to 17 languages.
void LanguageTest::resources()
{
    QString listing;
    for (const QString directory : { ":/png", ":/flags", ":/lang" }) {
        for (const QString& name : QDir(directory).entryList(QDir::Files, QDir::Unsorted)) {
            const QImage image(directory + '/' + name); // a catalogue reads as a null image
            listing += QString::asprintf("%s/%s %dx%d alpha %d\n", qPrintable(directory), qPrintable(name),
                image.width(), image.height(), int(image.hasAlphaChannel()));
        }
    }
    listing += QStringLiteral("columns:");
    for (int languages = 0; languages < 18; ++languages)
        listing += QStringLiteral(" %1").arg(CLanguageDlg::columnCount(languages));
    QCOMPARE_GOLDEN("settings/data/resources.ref", listing + '\n');
}

QTEST_MAIN(LanguageTest)
#include "languagetest.moc"
