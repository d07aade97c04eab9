#pragma once

#include <QDialog>
#include <QList>
#include <QString>

// A language offered by the dialog: a translation catalogue and its flag.
struct LanguageEntry {
    QString catalogue; // ":/lang/<name>"
    QString flag; // ":/flags/<name>"
};

// Modal dialog with one flag button per catalogue in ":/lang" and a cancel button.
// exec() returns 1 with selectedLanguage() set when a flag was pressed, else 0.
class CLanguageDlg : public QDialog {
    Q_OBJECT

public:
    explicit CLanguageDlg(QWidget* parent);

    [[nodiscard]] const QString& selectedLanguage() const { return m_selectedLanguage; }
    [[nodiscard]] const QList<LanguageEntry>& languages() const { return m_languages; }

    // Columns of the flag grid for n languages: 3 up to three, then floor(sqrt(n-1)) + 1.
    [[nodiscard]] static int columnCount(int languageCount);

public Q_SLOTS:
    void setLanguage(int a_eLanguage);

private:
    QList<LanguageEntry> m_languages;
    QString m_selectedLanguage;
};
