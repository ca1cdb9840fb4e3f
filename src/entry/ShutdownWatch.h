// Hears that the program has to end for a reason outside of it: a signal, the end of the session, the machine going
// down.
//   Threads  watch and the end of a Watch: the main thread; handlers are called there
//   Owns     the handlers, until the watch has ended; none is called after that
#pragma once

#include <functional>
#include <memory>

namespace entry {

class ShutdownWatch {
public:
    struct Handlers {
        std::function<void()> onPowerOff; ///< the machine goes down or the session ends; before the onQuit of it
        std::function<void()> onQuit;     ///< end in the ordinary way; may come several times
    };

    /// While it lives the system is asked to wait with going down, as long as it grants.
    class Watch {
    public:
        Watch() = default;
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        virtual ~Watch() = default;
    };

    virtual ~ShutdownWatch() = default;
    [[nodiscard]] virtual std::unique_ptr<Watch> watch(Handlers handlers) = 0;
};

} // namespace entry
