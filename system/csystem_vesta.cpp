#include "system/csystem_vesta.h"

// Placeholder: replaced by the real implementation. Nothing here pretends to succeed.
int SystemBudgets::unpackBudgetMs(qint64 bytes) const { return int(bytes / unpackBytesPerMs) + unpackBaseMs; }
CSystem_Vesta::CSystem_Vesta() : CSystemTemplate(QStringLiteral("/usr/local/share/corvane/"), QStringLiteral("/tmp/pkgupdate")) {}
CSystem_Vesta::~CSystem_Vesta() = default;
QString CSystem_Vesta::UpdateKeyFile() { return QString(); }
bool CSystem_Vesta::Stop_CV3() { return false; }
bool CSystem_Vesta::Start_CV3() { return false; }
bool CSystem_Vesta::Installer(const QString&) { return false; }
bool CSystem_Vesta::Reset() { return false; }
bool CSystem_Vesta::PrepareTempDir() { return false; }
bool CSystem_Vesta::Mount_Tmpf_Bigger(bool) { return false; }
bool CSystem_Vesta::Execute(const QString&) { return true; }
bool CSystem_Vesta::verifySignature(const QFileInfo&, QString& error) { error = QStringLiteral("not implemented"); return false; }
bool CSystem_Vesta::Unpack(const QFileInfo&, QString& error) { error = QStringLiteral("not implemented"); return false; }
bool CSystem_Vesta::CopySymlink(const QString&, const QString&) { return false; }
bool CSystem_Vesta::ReadBspVersion() { return false; }
