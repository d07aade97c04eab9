#pragma once

#include <QGenericPlugin>
#include <QObject>

#include <ctime>

class QWidget;

// Loaded into the installer (or a bare window) as a toolkit plugin by bench/mainjob.
// BENCH_PROBE=shown: prints the wall clock at the window's first paint and ends
// the process. BENCH_PROBE=install: at the first paint clicks Install, and when the
// message line paints "Ready" prints the time since the click, the peak resident
// memory and how often the message line was painted, then ends the process.
class CBenchProbe : public QObject {
    Q_OBJECT

public:
    explicit CBenchProbe(bool install, QObject* parent = nullptr);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void sl_Install();
    void windowPainted(QWidget* window);
    void messagePainted(QWidget* label);

    const bool m_install;
    bool m_started = false;
    timespec m_click {};
    int m_messagePaints = 0;
};

class CBenchProbePlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "benchprobe.json")

public:
    QObject* create(const QString& key, const QString& parameters) override;
};
