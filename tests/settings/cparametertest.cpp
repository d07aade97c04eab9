#include "common/testtools.h"
#include "settings/cparameter.h"

#include <QTemporaryDir>
#include <QTest>

using TestTools::readFile;

// installer.ini is read when the settings are made and written once, when they
// are destroyed, only if something was set.
class CParameterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writtenAtExit_data();
    void writtenAtExit();
};

void CParameterTest::writtenAtExit_data()
{
    QTest::addColumn<QByteArray>("before"); // "<missing>": no file
    QTest::addColumn<QString>("languageRead");
    QTest::addColumn<QString>("language"); // empty: not set
    QTest::addColumn<bool>("reRun");
    QTest::addColumn<QByteArray>("after");

    const QByteArray missing("<missing>");
    const QByteArray kept("; kept as it is\nLanguage = :/lang/de\n");
    QTest::newRow("nothing set, no file") << missing << ":/lang/en" << QString() << false << missing;
    QTest::newRow("nothing set, file untouched") << kept << ":/lang/de" << QString() << false << kept;
    QTest::newRow("both on a new device, sorted")
        << missing << ":/lang/en" << ":/lang/de" << true << QByteArray("Language=:/lang/de\nReRun=true\n\n");
    QTest::newRow("language keeps ReRun and unknown keys")
        << QByteArray("; comment\nZoom = 2\nReRun=false\nLanguage=:/lang/en\n") << ":/lang/en" << ":/lang/de"
        << false << QByteArray("Language=:/lang/de\nReRun=false\nZoom=2\n\n");
    QTest::newRow("same language still rewrites")
        << QByteArray("Language = \":/lang/en\"\n") << ":/lang/en" << ":/lang/en" << false
        << QByteArray("Language=:/lang/en\n\n");
}

void CParameterTest::writtenAtExit()
{
    QFETCH(QByteArray, before);
    QFETCH(QString, language);
    QFETCH(bool, reRun);

    QTemporaryDir dir;
    const QString iniPath = dir.filePath(QStringLiteral("installer.ini"));
    if (before != "<missing>")
        TestTools::writeFile(iniPath, before);
    {
        CParameter settings(dir.path() + QLatin1Char('/'));
        QCOMPARE(settings.filePath(), iniPath);
        QTEST(settings.GetLanguage(), "languageRead");
        if (!language.isEmpty())
            settings.SetLanguage(language);
        if (reRun)
            settings.SetReRun();
        QCOMPARE(readFile(iniPath), before); // nothing is written before the end
    }
    QTEST(readFile(iniPath), "after");
}

QTEST_GUILESS_MAIN(CParameterTest)
#include "cparametertest.moc"
