#include "pack/scanreport.h"

#include "ui/cmainwidget.h"

#include <QStringList>

namespace ScanReport {

namespace {

const char* const TableFormat = "%1  %2  %3  %4  %5  %6  %7";

} // namespace

QString kindName(int kind)
{
    switch (kind) {
    case KindInstaller:
        return QStringLiteral("installer");
    case KindHelpFiles:
        return QStringLiteral("help files");
    case KindProgram:
        return QStringLiteral("program");
    default:
        return QStringLiteral("unrecognised");
    }
}

namespace {

QString row(const QStringList& cells)
{
    static const int widths[] = { -3, -36, -13, -14, -9, -11, 0 };
    QString line = QString::fromLatin1(TableFormat);
    for (int i = 0; i < cells.size(); ++i)
        line = line.arg(cells.at(i), widths[i]);
    while (line.endsWith(QLatin1Char(' ')))
        line.chop(1);
    return line + QLatin1Char('\n');
}

} // namespace

QString stateText(const UpdatePackage& record)
{
    if (record.error == ErrorNone)
        return record.selected ? QStringLiteral("pre-selected") : QStringLiteral("not selected");
    return QStringLiteral("red: ") + CMainWidget::reasonText(record);
}

QString table(QList<UpdatePackage> packages, bool truncated)
{
    if (!packages.isEmpty())
        sortPackages(packages);
    QString text = row({ QStringLiteral("row"), QStringLiteral("file"), QStringLiteral("shown as"),
        QStringLiteral("kind"), QStringLiteral("new"), QStringLiteral("installed"), QStringLiteral("state") });
    for (int i = 0; i < packages.size(); ++i) {
        const UpdatePackage& record = packages.at(i);
        const QString version = record.error == ErrorNone ? record.version.toString() : QStringLiteral("-");
        text += row({ QString::number(i), record.file.fileName(), CMainWidget::typeName(record.name),
            QStringLiteral("%1 %2").arg(record.priority).arg(kindName(record.priority)), version,
            record.installed.toString(), stateText(record) });
    }
    if (packages.isEmpty())
        text += QStringLiteral("(no packages: the installer ends at once and changes nothing)\n");
    if (truncated)
        text += QStringLiteral("More than 6 packages found: only the first 6 by name were taken.\n");
    return text;
}

} // namespace ScanReport
