#include "settings/cparameter.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

// installer.ini is read when the settings are made and written once, when they
// are destroyed, only if something was set.
class CParameterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void writtenAtExit_data();
    void writtenAtExit();
    void untouchedWithoutChange();
    void defaults();

private:
    QString iniPath() const { return m_dir->filePath(QStringLiteral("installer.ini")); }
    QString shareDir() const { return m_dir->path() + QLatin1Char('/'); }
    void writeIni(const QByteArray& content) const;
    QByteArray readIni() const;

    QScopedPointer<QTemporaryDir> m_dir;
};

void CParameterTest::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
}

void CParameterTest::writeIni(const QByteArray& content) const
{
    QFile file(iniPath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QByteArray CParameterTest::readIni() const
{
    QFile file(iniPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void CParameterTest::writtenAtExit_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("language"); // empty: not set
    QTest::addColumn<bool>("reRun");
    QTest::addColumn<QByteArray>("after");

    const QByteArray missing("<missing>");
    QTest::newRow("language on a new device") << missing << ":/lang/de" << false << QByteArray("Language=:/lang/de\n\n");
    QTest::newRow("re-run on a new device") << missing << QString() << true << QByteArray("ReRun=true\n\n");
    QTest::newRow("both, sorted") << missing << ":/lang/de" << true
                                  << QByteArray("Language=:/lang/de\nReRun=true\n\n");
    QTest::newRow("language keeps ReRun and unknown keys")
        << QByteArray("; comment\nZoom = 2\nReRun=false\nLanguage=:/lang/en\n") << ":/lang/de" << false
        << QByteArray("Language=:/lang/de\nReRun=false\nZoom=2\n\n");
    QTest::newRow("same language still rewrites") << QByteArray("Language = \":/lang/en\"\n") << ":/lang/en" << false
                                                  << QByteArray("Language=:/lang/en\n\n");
    QTest::newRow("unknown catalogue stored as given") << missing << ":/lang/xx" << false
                                                       << QByteArray("Language=:/lang/xx\n\n");
}

void CParameterTest::writtenAtExit()
{
    QFETCH(QByteArray, before);
    QFETCH(QString, language);
    QFETCH(bool, reRun);
    QFETCH(QByteArray, after);

    if (before != "<missing>")
        writeIni(before);
    {
        CParameter settings(shareDir());
        if (!language.isEmpty())
            settings.SetLanguage(language);
        if (reRun)
            settings.SetReRun();
        QCOMPARE(readIni(), before); // nothing is written before the end
    }
    QCOMPARE(readIni(), after);
}

void CParameterTest::untouchedWithoutChange()
{
    {
        CParameter settings(shareDir());
        QCOMPARE(settings.GetLanguage(), QStringLiteral(":/lang/en"));
    }
    QVERIFY(!QFile::exists(iniPath()));

    const QByteArray before("; kept as it is\nLanguage = :/lang/de\n");
    writeIni(before);
    {
        CParameter settings(shareDir());
        QCOMPARE(settings.GetLanguage(), QStringLiteral(":/lang/de"));
        QVERIFY(!settings.GetReRun());
    }
    QCOMPARE(readIni(), before);
}

void CParameterTest::defaults()
{
    writeIni("ReRun=TRUE\nLanguage=\n");
    CParameter settings(shareDir());
    QCOMPARE(settings.filePath(), iniPath());
    QVERIFY(!settings.GetReRun());               // only "true" is true
    QCOMPARE(settings.GetLanguage(), QString()); // an empty value is still a value
}

QTEST_GUILESS_MAIN(CParameterTest)
#include "cparametertest.moc"
