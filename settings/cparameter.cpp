#include "settings/cparameter.h"

// Placeholder: replaced by the real implementation.
CParameter::CParameter(const QString& shareDirectory) : CInitFile(shareDirectory + QStringLiteral("installer.ini")) {}
CParameter::~CParameter() = default;
QString CParameter::GetLanguage() const { return QStringLiteral(":/lang/en"); }
void CParameter::SetLanguage(const QString&) {}
void CParameter::SetReRun() {}
bool CParameter::GetReRun() const { return false; }
