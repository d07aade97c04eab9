#include "common/widgetdump.h"

#include <QAbstractButton>
#include <QBoxLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMessageBox>

namespace WidgetDump {

namespace {

QString quoted(QString text)
{
    return QLatin1Char('"') + text.replace(QLatin1Char('\n'), QLatin1String("\\n")) + QLatin1Char('"');
}

// The widget's place in the layout (searched through nested layouts) that holds it.
QString placement(const QWidget* widget, const QLayout* layout)
{
    const int i = layout ? layout->indexOf(const_cast<QWidget*>(widget)) : -1; // Qt 5 takes no const
    for (int inner = 0; layout && i < 0 && inner < layout->count(); ++inner) {
        if (const QString text = placement(widget, layout->itemAt(inner)->layout()); !text.isEmpty())
            return text;
    }
    QString text;
    int row = 0, column = 0, rows = 0, columns = 0;
    if (const auto* grid = qobject_cast<const QGridLayout*>(layout); grid && i >= 0) {
        grid->getItemPosition(i, &row, &column, &rows, &columns);
        text = QStringLiteral(" cell %1,%2 span %3x%4").arg(row).arg(column).arg(rows).arg(columns);
    } else if (const auto* box = qobject_cast<const QBoxLayout*>(layout); box && i >= 0 && box->stretch(i)) {
        text = QStringLiteral(" stretch %1").arg(box->stretch(i));
    }
    if (i >= 0 && layout->itemAt(i)->alignment())
        text += QStringLiteral(" align 0x%1").arg(int(layout->itemAt(i)->alignment()), 0, 16);
    return text;
}

QString buttonText(const QAbstractButton* button)
{
    QString text = QStringLiteral(" text ") + quoted(button->text());
    if (button->isCheckable())
        text += button->isChecked() ? QStringLiteral(" checked") : QStringLiteral(" unchecked");
    // The size the icon is shown at, and the size of its image (none when it did not load).
    const QSize image = button->icon().availableSizes().value(0);
    if (!button->icon().isNull())
        text += QStringLiteral(" icon %1x%2 image %3x%4")
                    .arg(button->iconSize().width())
                    .arg(button->iconSize().height())
                    .arg(image.width())
                    .arg(image.height());
    return text;
}

QString boxText(const QMessageBox* box)
{
    QString text = QStringLiteral(" text ") + quoted(box->text());
    // The height of a scaled pixmap is rounded differently by Qt 5 and Qt 6.
    text += QStringLiteral(" pixmap width %1").arg(box->iconPixmap().width());
    for (const QAbstractButton* button : box->buttons())
        text += QStringLiteral(" button ") + quoted(button->text());
    return text;
}

QString ownText(const QWidget* widget)
{
    if (const auto* box = qobject_cast<const QMessageBox*>(widget))
        return boxText(box);
    if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
        return buttonText(button);
    if (const auto* label = qobject_cast<const QLabel*>(widget)) {
        const bool automatic = label->textFormat() == Qt::AutoText; // rich text when it looks like it
        return QStringLiteral(" text ") + quoted(label->text())
            + (automatic ? QString() : QStringLiteral(" format %1").arg(int(label->textFormat())));
    }
    if (const auto* group = qobject_cast<const QGroupBox*>(widget))
        return QStringLiteral(" title ") + quoted(group->title());
    return {};
}

QString line(const QWidget* widget)
{
    const QWidget* parent = widget->isWindow() ? nullptr : widget->parentWidget();
    QString text
        = QString::fromLatin1(widget->metaObject()->className()) + QLatin1Char(' ') + quoted(widget->objectName());
    if (widget->isWindow()) {
        text += QStringLiteral(" window ") + quoted(widget->windowTitle());
        text += QStringLiteral(" flags 0x%1 state 0x%2")
                    .arg(uint(widget->windowFlags()), 0, 16)
                    .arg(uint(widget->windowState()), 0, 16);
    } else {
        text += placement(widget, parent->layout());
    }
    if (widget->isHidden())
        text += QStringLiteral(" hidden");
    if (!widget->isEnabled())
        text += QStringLiteral(" disabled");
    text += ownText(widget);
    if (!widget->styleSheet().isEmpty())
        text += QStringLiteral(" style ") + quoted(widget->styleSheet());
    const auto* frame = qobject_cast<const QFrame*>(widget);
    if (frame && frame->frameShape() != QFrame::NoFrame && !qobject_cast<const QMessageBox*>(widget))
        text += QStringLiteral(" frame 0x%1 line %2").arg(frame->frameStyle(), 0, 16).arg(frame->lineWidth());
    if (parent && !widget->minimumSize().isNull())
        text += QStringLiteral(" min %1x%2").arg(widget->minimumWidth()).arg(widget->minimumHeight());
    // Stretch factors of every item of a box layout, spacers and nested layouts included.
    if (const auto* box = qobject_cast<const QBoxLayout*>(widget->layout())) {
        QStringList stretches;
        for (int i = 0; i < box->count(); ++i)
            stretches << QString::number(box->stretch(i));
        text += QStringLiteral(" stretches ") + stretches.join(QLatin1Char(','));
    }
    if (!parent || widget->font().pointSize() != parent->font().pointSize())
        text += QStringLiteral(" font %1pt").arg(widget->font().pointSize());
    return text;
}

void append(const QWidget* widget, int depth, QString& out)
{
    out += QString(depth * 2, QLatin1Char(' ')) + line(widget) + QLatin1Char('\n');
    if (qobject_cast<const QMessageBox*>(widget))
        return;
    for (const QObject* child : widget->children()) {
        const auto* childWidget = qobject_cast<const QWidget*>(child);
        if (childWidget && !childWidget->isWindow() && !childWidget->objectName().startsWith(QLatin1String("qt_")))
            append(childWidget, depth + 1, out);
    }
}

} // namespace

QString tree(const QWidget* root)
{
    QString out;
    append(root, 0, out);
    return out;
}

} // namespace WidgetDump
