// A window timer with the classic Enabled/Interval behaviour: ticks arrive only while events are
// processed, and enabling a running timer does not restart its interval.
#pragma once

#include <QObject>
#include <QTimer>

namespace vb {

class Timer : public QObject {
    Q_OBJECT
public:
    // `designMs` is replaced by VELMORA_TICK_MS when that is set (tests).
    explicit Timer(int designMs, QObject* parent = nullptr);

    bool Enabled() const { return timer.isActive(); }
    void setEnabled(bool enabled);
    int Interval() const { return timer.interval(); }

signals:
    void Tick();

private:
    QTimer timer;
};

} // namespace vb
