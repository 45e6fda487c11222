#pragma once

#include "zelectronframework/zelectronframework.h"

#include <QByteArray>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

/// A host callback that notes every delivery. Fails the test when it goes away with deliveries that
/// nobody has taken.
class Recorder final : public zelectronframeworkspace::IElectronCallback
{
public:
    struct Delivery
    {
        QByteArray text;
        std::size_t length = 0;
        std::thread::id thread;
    };

    ~Recorder() override;
    void onCallback(const char *text, std::size_t length) override;

    /// Called inside each delivery, after it was noted.
    void runInside(std::function<void()> action);

    /// Waits for the next delivery and removes it; one with an empty text when none came in time.
    Delivery take(int milliseconds = 10000);

    /// The text of take().
    QByteArray text(int milliseconds = 10000) { return take(milliseconds).text; }

    std::size_t count() const;

private:
    mutable std::mutex m_mutex; // guards everything below; not held while the action runs
    std::condition_variable m_arrived;
    std::deque<Delivery> m_deliveries;
    std::function<void()> m_action;
};
