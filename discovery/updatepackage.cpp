#include "discovery/updatepackage.h"

#include <QDebug>

// Placeholder: replaced by the real implementation.
UpdatePackage::UpdatePackage(const QFileInfo& archive) : file(archive) {}
QString UpdatePackage::signaturePath() const { return QString(); }
QDebug operator<<(QDebug debug, const UpdatePackage& p) { return debug << p.name; }
void parseName(UpdatePackage&, const QString&) {}
void checkSignatureFile(UpdatePackage&) {}
void checkBsp(UpdatePackage&, const QString&) {}
bool packageLessThan(const UpdatePackage&, const UpdatePackage&) { return false; }
void sortPackages(QList<UpdatePackage>&) {}
