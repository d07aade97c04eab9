#include "settings/cinitfile.h"

// Placeholder: replaced by the real implementation.
CInitFile::CInitFile(const QString& filePath) : m_filePath(filePath) {}
CInitFile::~CInitFile() = default;
void CInitFile::Read() {}
void CInitFile::Write() {}
QString CInitFile::GetString(const QString&, const QString& d) const { return d; }
void CInitFile::SetString(const QString&, const QString&) {}
bool CInitFile::GetBool(const QString&, bool d) const { return d; }
void CInitFile::SetBool(const QString&, bool) {}
CVersion ReadVersion(QString&, const QString&) { return CVersion(); }
