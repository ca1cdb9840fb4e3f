// One child process from its launch to its end, with the ends of its streams that belong to us.
#pragma once

#include "ai/ProcessRunner.h"
#include "base/Handle.h"

#include <sys/types.h>

namespace ai {

class ChildProcess {
public:
    /// The child runs, or the reason why it does not. Our ends of the pipes don't block.
    [[nodiscard]] static std::expected<ChildProcess, ProcessRunner::LaunchError>
    launch(const ProcessRunner::Invocation& invocation);

    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&&) = delete;
    ~ChildProcess(); ///< a child that has not been waited for is killed first

    base::FileDescriptor standardInput; ///< none if the child reads from the null device
    base::FileDescriptor standardOutput;
    base::FileDescriptor standardError;
    base::FileDescriptor ended; ///< readable from the child's end on

    /// Sends the signal to the child and to what it has started in its process group.
    void signal(int number) const noexcept;
    /// Its exit status, or the number of the signal that ended it. Call it once, when the child has ended.
    [[nodiscard]] std::int32_t wait() noexcept;

private:
    ChildProcess() = default;

    pid_t m_pid = -1; ///< -1: waited for
};

} // namespace ai
