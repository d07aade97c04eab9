#pragma once

#include <QGenericPlugin>
#include <QObject>
#include <QString>
#include <QTimer>

class QWidget;

// Watches the application's windows and writes, whenever something a tester
// could see has changed, one snapshot of every named widget (screen position,
// size, enabled and checked state, text) and of any open message box to
// standard error. The window driver (simdevice/drive-window) reads the snapshots to
// find where to click; nothing is ever changed in the watched program.
// Texts shown in the message line ("message") are written the moment they are
// painted, since an installation keeps the event loop (and the timer) busy.
class CWidgetProbe : public QObject {
    Q_OBJECT

public:
    explicit CWidgetProbe(QObject* parent = nullptr);

    // Notes each new text of the message line when it is painted.
    bool eventFilter(QObject* watched, QEvent* event) override;

private Q_SLOTS:
    // Takes a snapshot and writes it if it differs from the last one written.
    void sl_Look();

private:
    [[nodiscard]] static QString describeWindow(QWidget* window);
    [[nodiscard]] static QString describeWidget(QWidget* widget);

    QTimer m_timer;
    QString m_lastSnapshot;
    int m_count = 0;
    QString m_lastMessage;
    int m_messageCount = 0;
};

// Makes the probe when the toolkit loads generic plugins
// (QT_QPA_GENERIC_PLUGINS=widgetprobe).
class CWidgetProbePlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "widgetprobe.json")

public:
    QObject* create(const QString& key, const QString& parameters) override;
};
