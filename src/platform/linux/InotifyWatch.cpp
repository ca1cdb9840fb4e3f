#include "platform/linux/InotifyWatch.h"

#include <QSocketNotifier>

#include <array>
#include <cstdint>
#include <cstring>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace platform::linux_desktop {

namespace {

constexpr std::uint32_t changes =
    IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;

} // namespace

InotifyWatch::InotifyWatch(Handlers handlers)
    : m_handlers(std::move(handlers))
    , m_inotify(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (m_inotify) {
        m_notifier = std::make_unique<QSocketNotifier>(m_inotify.get(), QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] { takeEvents(); });
    }
}

InotifyWatch::~InotifyWatch() = default;

bool InotifyWatch::watch(const std::filesystem::path& folder) {
    // The number is the one of before if the folder is watched already, under whatever name.
    const int number = ::inotify_add_watch(m_inotify.get(), folder.c_str(), changes | IN_ONLYDIR);
    if (number < 0) {
        return false;
    }
    const std::scoped_lock lock(m_mutex);
    std::filesystem::path& known = m_folders[number];
    if (known != folder) {
        m_watches.erase(known);
        known = folder;
    }
    m_watches[folder] = number;
    return true;
}

void InotifyWatch::forget(const std::filesystem::path& folder) {
    int number = -1;
    {
        const std::scoped_lock lock(m_mutex);
        const auto found = m_watches.find(folder);
        if (found == m_watches.end()) {
            return;
        }
        number = found->second;
        m_folders.erase(number);
        m_watches.erase(found);
    }
    ::inotify_rm_watch(m_inotify.get(), number);
}

void InotifyWatch::takeEvents() {
    alignas(inotify_event) std::array<char, 16384> buffer{};
    const ssize_t size = ::read(m_inotify.get(), buffer.data(), buffer.size());
    // One buffer at a time: if there is more, the event loop comes back after everything else.
    for (ssize_t at = 0; at < size;) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + at, sizeof event);
        const char* name = buffer.data() + at + sizeof event;
        tell(event.wd, event.mask, event.len > 0 ? std::string(name) : std::string());
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
}

void InotifyWatch::tell(int watch, std::uint32_t mask, const std::string& name) {
    if ((mask & IN_Q_OVERFLOW) != 0) {
        m_handlers.onLost();
        return;
    }
    // Without a name it is about the folder itself, and one that was forgotten is of no interest.
    if (const auto folder = folderOf(watch); !folder.empty() && !name.empty()) {
        m_handlers.onChange(folder, name);
    }
    if ((mask & IN_IGNORED) != 0) { // the folder is gone
        const std::scoped_lock lock(m_mutex);
        if (const auto found = m_folders.find(watch); found != m_folders.end()) {
            m_watches.erase(found->second);
            m_folders.erase(found);
        }
    }
}

std::filesystem::path InotifyWatch::folderOf(int watch) {
    const std::scoped_lock lock(m_mutex);
    const auto found = m_folders.find(watch);
    return found != m_folders.end() ? found->second : std::filesystem::path();
}

} // namespace platform::linux_desktop
