#include "platform/qt/QtScheduler.h"

#include <QTimer>

#include <cmath>

namespace {

class TimerHandle final : public Scheduler::Handle {
public:
    TimerHandle(double seconds, bool repeating, std::function<void()> fn)
        : timer(new QTimer)
        , work(std::move(fn))
    {
        timer->setSingleShot(!repeating);
        timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(timer, &QTimer::timeout, [this] {
            // The work may drop this very handle; then the timer goes by deleteLater and
            // nothing here touches the handle again.
            const auto stillAlive = alive;
            firing = true;
            auto run = work;
            run();
            if (*stillAlive)
                firing = false;
        });
        timer->start(std::max(0, static_cast<int>(std::lround(seconds * 1000.0))));
    }
    ~TimerHandle() override
    {
        *alive = false;
        timer->stop();
        if (firing)
            timer->deleteLater();
        else
            delete timer;
    }
    void cancel() override { timer->stop(); }
    bool isActive() const override { return timer->isActive(); }

private:
    QTimer* timer;
    std::function<void()> work;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
    bool firing = false;
};

} // namespace

Date QtScheduler::now() const { return Date::now(); }

Scheduler::HandlePtr QtScheduler::after(double seconds, std::function<void()> fn)
{
    return std::make_unique<TimerHandle>(seconds, false, std::move(fn));
}

Scheduler::HandlePtr QtScheduler::every(double seconds, std::function<void()> fn)
{
    return std::make_unique<TimerHandle>(seconds, true, std::move(fn));
}
