#include "ui/cmainwidget.h"

// Placeholder: replaced by the real implementation.
CMainWidget::CMainWidget(const QList<UpdatePackage>& packages, const CMainWidgetContext& context)
    : m_context(context), m_packages(packages), m_settings(QString()) {}
CMainWidget::~CMainWidget() = default;
void CMainWidget::FillTable() {}
void CMainWidget::Retranslate() {}
void CMainWidget::LoadTranslation(const QString&) {}
void CMainWidget::EnableButtons(bool) {}
QString CMainWidget::ShortenText(const QString& text, int) { return text; }
void CMainWidget::sl_BtnHelp() {}
void CMainWidget::sl_BtnLanguage() {}
void CMainWidget::sl_BtnInstall() {}
void CMainWidget::sl_BtnQuit() {}
void CMainWidget::sl_CheckMark(int) {}
void CMainWidget::sl_Message(const QString&) {}
