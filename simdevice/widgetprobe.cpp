#include "widgetprobe.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QWidget>

#include <cstdio>

namespace {

const int LookIntervalMs = 100;

// One field of a tab-separated line: tabs and line ends would break the line.
QString field(QString text)
{
    text.replace(QLatin1Char('\t'), QLatin1Char(' '));
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    return text;
}

QString rectFields(const QWidget* widget)
{
    const QPoint topLeft = widget->mapToGlobal(QPoint(0, 0));
    return QStringLiteral("%1\t%2\t%3\t%4")
        .arg(topLeft.x())
        .arg(topLeft.y())
        .arg(widget->width())
        .arg(widget->height());
}

QString checkedField(const QWidget* widget)
{
    const auto* button = qobject_cast<const QAbstractButton*>(widget);
    if (!button || !button->isCheckable())
        return QStringLiteral("-");
    return button->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
}

QString textOf(const QWidget* widget)
{
    if (const auto* label = qobject_cast<const QLabel*>(widget))
        return label->text();
    if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
        return button->text();
    return QString();
}

} // namespace

CWidgetProbe::CWidgetProbe(QObject* parent)
    : QObject(parent)
{
    connect(&m_timer, &QTimer::timeout, this, &CWidgetProbe::sl_Look);
    m_timer.start(LookIntervalMs);
    QCoreApplication::instance()->installEventFilter(this);
}

bool CWidgetProbe::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::Paint || watched->objectName() != QLatin1String("message"))
        return false;
    const auto* label = qobject_cast<const QLabel*>(watched);
    if (!label || label->text() == m_lastMessage)
        return false;
    m_lastMessage = label->text();
    ++m_messageCount;
    std::fprintf(stderr, "widgetprobe\tmessage\t%d\t%s\n", m_messageCount, field(m_lastMessage).toUtf8().constData());
    std::fflush(stderr);
    return false;
}

void CWidgetProbe::sl_Look()
{
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return;
    QString snapshot;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows) {
        if (window->isVisible())
            snapshot += describeWindow(window);
    }
    const QWidget* focus = QApplication::focusWidget();
    snapshot += QStringLiteral("focus\t%1\n").arg(focus ? focus->objectName() : QString());
    snapshot += QStringLiteral("messages\t%1\n").arg(m_messageCount);
    if (snapshot == m_lastSnapshot)
        return;
    m_lastSnapshot = snapshot;
    ++m_count;
    const QString block
        = QStringLiteral("begin\t%1\n").arg(m_count) + snapshot + QStringLiteral("end\t%1\n").arg(m_count);
    const QStringList lines = block.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines)
        std::fprintf(stderr, "widgetprobe\t%s\n", line.toUtf8().constData());
    std::fflush(stderr);
}

QString CWidgetProbe::describeWindow(QWidget* window)
{
    QString text;
    if (const auto* box = qobject_cast<const QMessageBox*>(window))
        text = box->text();
    QString lines = QStringLiteral("window\t%1\t%2\t%3\t%4\t%5\n")
                        .arg(QString::fromLatin1(window->metaObject()->className()), window->objectName(),
                            rectFields(window), field(window->windowTitle()), field(text));
    const QList<QWidget*> children = window->findChildren<QWidget*>();
    for (QWidget* child : children) {
        if (child->isVisible() && !child->objectName().isEmpty()
            && !child->objectName().startsWith(QLatin1String("qt_")))
            lines += describeWidget(child);
    }
    if (auto* box = qobject_cast<QMessageBox*>(window)) {
        if (QPushButton* button = box->defaultButton())
            lines += QStringLiteral("widget\tmsgbox_default\t%1\t%2\t-\t%3\n")
                         .arg(rectFields(button), button->isEnabled() ? QStringLiteral("1") : QStringLiteral("0"),
                             field(button->text()));
    }
    return lines;
}

QString CWidgetProbe::describeWidget(QWidget* widget)
{
    return QStringLiteral("widget\t%1\t%2\t%3\t%4\t%5\n")
        .arg(widget->objectName(), rectFields(widget), widget->isEnabled() ? QStringLiteral("1") : QStringLiteral("0"),
            checkedField(widget), field(textOf(widget)));
}

QObject* CWidgetProbePlugin::create(const QString& key, const QString&)
{
    if (key.compare(QLatin1String("widgetprobe"), Qt::CaseInsensitive) != 0)
        return nullptr;
    // No parent: the toolkit keeps the objects of generic plugins and deletes them itself.
    return new CWidgetProbe;
}
