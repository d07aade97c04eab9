#include "system/procversion.h"

#include <QList>

QString bspVersionFromProcVersion(const QByteArray& text)
{
    const QList<QByteArray> pieces = text.split('-');
    QByteArray piece = pieces.value(7);
    const int nul = piece.indexOf('\0');
    if (nul >= 0)
        piece.truncate(nul);
    const QString version = QString::fromLatin1(piece);
    return version.isNull() ? QLatin1String("") : version;
}
