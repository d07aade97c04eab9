#include "ui/helppage.h"

#include "discovery/cversion.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPixmap>

namespace {

// The texts live only in the catalogues; the program knows just their keys.
QString helpText(const char* key)
{
    return QCoreApplication::translate("Help", key);
}

QString paragraph(const QString& text)
{
    return QStringLiteral("<p>") + text + QStringLiteral("</p>");
}

} // namespace

QString HelpPageText(const CVersion& installerVersion, const CVersion& installerBuild)
{
    return paragraph(helpText("HelpText_1.")) + paragraph(helpText("HelpText_2"))
        + paragraph(installerVersion.toString() + QStringLiteral("  ") + installerBuild.toString())
        + QStringLiteral("<p><small>") + helpText("LanguageIconLicence") + QStringLiteral("</small></p>");
}

void ShowHelpPage(QWidget* parent, const QString& title, const QString& text)
{
    // No buttons given: the box adds its own OK button when it is shown.
    QMessageBox box(QMessageBox::Information, title, text, QMessageBox::NoButton, parent);
    box.setObjectName(QStringLiteral("helpBox"));
    box.setStyleSheet(QStringLiteral("font-size: 18pt;"));
    const QPixmap logo(QStringLiteral(":/png/qel-b"));
    box.setIconPixmap(logo.scaledToWidth(90, Qt::SmoothTransformation));
    box.exec();
}
