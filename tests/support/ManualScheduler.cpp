#include "support/ManualScheduler.h"

namespace {

class ManualHandle final : public Scheduler::Handle {
public:
    explicit ManualHandle(std::shared_ptr<bool> alive)
        : alive(std::move(alive))
    {
    }
    ~ManualHandle() override { *alive = false; }
    void cancel() override { *alive = false; }
    bool isActive() const override { return *alive; }

private:
    std::shared_ptr<bool> alive;
};

} // namespace

ManualScheduler::ManualScheduler(Date start)
    : clock(start)
{
}

Scheduler::HandlePtr ManualScheduler::schedule(double delay, double interval,
                                               std::function<void()> fn)
{
    auto alive = std::make_shared<bool>(true);
    queue.emplace(Key{clock.seconds + std::max(0.0, delay), sequence++},
                  Entry{interval, std::move(fn), alive});
    return std::make_unique<ManualHandle>(alive);
}

Scheduler::HandlePtr ManualScheduler::after(double seconds, std::function<void()> fn)
{
    return schedule(seconds, 0, std::move(fn));
}

Scheduler::HandlePtr ManualScheduler::every(double seconds, std::function<void()> fn)
{
    return schedule(seconds, std::max(seconds, 1e-6), std::move(fn));
}

void ManualScheduler::advance(double seconds)
{
    const double target = clock.seconds + seconds;
    while (!queue.empty() && queue.begin()->first.first <= target) {
        auto node = queue.extract(queue.begin());
        Entry entry = std::move(node.mapped());
        if (!*entry.alive)
            continue;
        clock.seconds = std::max(clock.seconds, node.key().first);
        if (entry.interval > 0) {
            queue.emplace(Key{clock.seconds + entry.interval, sequence++}, entry);
            entry.fn();
        } else {
            *entry.alive = false;
            entry.fn();
        }
    }
    clock.seconds = std::max(clock.seconds, target);
}

int ManualScheduler::pendingCount() const
{
    int count = 0;
    for (const auto& [key, entry] : queue)
        count += *entry.alive ? 1 : 0;
    return count;
}
