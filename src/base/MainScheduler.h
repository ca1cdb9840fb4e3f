// The Scheduler of the thread that runs the Qt event loop. Tasks and timers run while menus and dialogs are open.
//   Threads  construct and destroy it on that thread; post, after and sync from any
#pragma once

#include "base/Scheduler.h"

#include <memory>

class QObject;

namespace base {

class MainScheduler final : public Scheduler {
public:
    MainScheduler();
    ~MainScheduler() override;

    void post(Task task) override;
    void after(double seconds, Task task) override;
    void sync(const Task& task) override;
    [[nodiscard]] std::unique_ptr<Timer> every(double seconds, Task task) override;
    [[nodiscard]] bool isCurrent() const noexcept override;

private:
    std::unique_ptr<QObject> m_context;
};

} // namespace base
