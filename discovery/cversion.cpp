#include "discovery/cversion.h"

#include <QDebug>
#include <QTextStream>

// Placeholder: replaced by the real implementation.
CVersion::CVersion() : major{0}, minor{0}, build{0}, modified{false} {}
CVersion::CVersion(int a, int b, int c, bool m) : major{a}, minor{b}, build{c}, modified{m} {}
CVersion::CVersion(const QString& text) : CVersion() { parse(text); }
bool CVersion::parse(const QString&) { return false; }
QString CVersion::toString() const { return QString(); }
bool CVersion::isUnknown() const { return major == 0 && minor == 0 && build == 0; }
bool CVersion::operator<(const CVersion&) const { return false; }
bool CVersion::operator==(const CVersion&) const { return false; }
QDebug operator<<(QDebug debug, const CVersion& v) { return debug << v.toString(); }
QTextStream& operator<<(QTextStream& s, const CVersion& v) { return s << v.toString(); }
