#include "settings/clanguagedlg.h"

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QPixmap>
#include <QPushButton>
#include <QSignalMapper>
#include <QVBoxLayout>

#include <cmath>

namespace {

// One entry per catalogue in ":/lang", in the order the resource system lists them.
QList<LanguageEntry> findLanguages()
{
    QList<LanguageEntry> languages;
    const QFileInfoList catalogues
        = QDir(QStringLiteral(":/lang")).entryInfoList({ QStringLiteral("*") }, QDir::Files, QDir::Unsorted);
    for (const QFileInfo& catalogue : catalogues) {
        const QString name = catalogue.completeBaseName();
        languages.append({ QStringLiteral(":/lang/") + name, QStringLiteral(":/flags/") + name });
    }
    return languages;
}

QPushButton* makeFlagButton(QWidget* parent, const LanguageEntry& language)
{
    auto* button = new QPushButton(parent);
    button->setObjectName(QStringLiteral("flag_") + QFileInfo(language.catalogue).fileName());
    const QPixmap flag(language.flag);
    if (!flag.isNull())
        button->setIcon(QIcon(flag));
    button->setIconSize(QSize(64, 64));
    return button;
}

} // namespace

CLanguageDlg::CLanguageDlg(QWidget* parent)
    : QDialog(parent)
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setWindowTitle(tr("Select Language", "Title"));

    auto* mapper = new QSignalMapper(this);
    connect(mapper, &QSignalMapper::mappedInt, this, &CLanguageDlg::setLanguage);

    m_languages = findLanguages();
    auto* layout = new QVBoxLayout(this);
    auto* grid = new QGridLayout;
    layout->addLayout(grid);
    const int columns = columnCount(m_languages.size());
    for (int i = 0; i < m_languages.size(); ++i) {
        QPushButton* button = makeFlagButton(this, m_languages.at(i));
        grid->addWidget(button, i / columns, i % columns);
        mapper->setMapping(button, i);
        connect(button, &QPushButton::clicked, mapper, qOverload<>(&QSignalMapper::map));
    }

    auto* row = new QHBoxLayout;
    layout->addLayout(row);
    row->addStretch();
    auto* cancel = new QPushButton(QIcon(QStringLiteral(":/png/exit")), tr("Cancel"), this);
    cancel->setObjectName(QStringLiteral("cancel"));
    cancel->setIconSize(QSize(48, 48));
    cancel->setMinimumHeight(40);
    row->addWidget(cancel, 2, Qt::AlignCenter);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

int CLanguageDlg::columnCount(int languageCount)
{
    // Deliberate thresholds: three columns up to three languages, then a square-ish grid.
    if (languageCount <= 0)
        return 0;
    if (languageCount <= 3)
        return 3;
    return int(std::sqrt(double(languageCount - 1))) + 1;
}

void CLanguageDlg::setLanguage(int a_eLanguage)
{
    m_selectedLanguage = m_languages.at(a_eLanguage).catalogue;
    accept();
}
