#include "settings/cparameter.h"

namespace {
const QString kLanguageKey = QStringLiteral("Language");
const QString kReRunKey = QStringLiteral("ReRun");
} // namespace

CParameter::CParameter(const QString& shareDirectory)
    : CInitFile(shareDirectory + QStringLiteral("installer.ini"))
{
    Read();
}

// The base destructor writes the file if a setting was changed.
CParameter::~CParameter() = default;

QString CParameter::GetLanguage() const
{
    return GetString(kLanguageKey, QStringLiteral(":/lang/en"));
}

void CParameter::SetLanguage(const QString& catalogue)
{
    SetString(kLanguageKey, catalogue);
}

void CParameter::SetReRun()
{
    SetBool(kReRunKey, true);
}

bool CParameter::GetReRun() const
{
    return GetBool(kReRunKey, false);
}
