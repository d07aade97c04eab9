#include "settings/clanguagedlg.h"

// Placeholder: replaced by the real implementation.
CLanguageDlg::CLanguageDlg(QWidget* parent) : QDialog(parent) {}
int CLanguageDlg::columnCount(int) { return 3; }
void CLanguageDlg::setLanguage(int) {}
