#pragma once

#include <QString>

class CVersion;
class QWidget;

// The help page's rich text: the two help paragraphs and the language-icon credit
// from the translation context "Help", and the installer's version and build.
[[nodiscard]] QString HelpPageText(const CVersion& installerVersion, const CVersion& installerBuild);

// Shows text modally in an information box titled title, with the maker's logo
// as its icon; returns when the user has closed it.
void ShowHelpPage(QWidget* parent, const QString& title, const QString& text);
