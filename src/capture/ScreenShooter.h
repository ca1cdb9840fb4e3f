// Photographs the screen of the call during a recording and keeps what differs enough from the last picture kept.
//   Files    JPEGs in `directory`, named by their second since the start of the recording; each appears under its
//            name whole or not at all
//   Threads  capture and stop: any, but stop never on the shooter's own queue. onError is set on the main thread
//            before the first capture and is called there
//   Owns     its serial queue. Hold the shooter in a std::shared_ptr: what is under way holds it weakly
//   Errors   a picture that can't be taken is told through onError; one that can't be written is not, and not counted
#pragma once

#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "capture/ScreenDiff.h"
#include "capture/ScreenSource.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace capture {

class ScreenShooter : public std::enable_shared_from_this<ScreenShooter> {
public:
    /// Seconds between two automatic attempts.
    static constexpr double interval = 30.0;
    static constexpr double jpegQuality = 0.7; ///< of 0 to 1

    /// `startHost` is the start of the recording on `clock`, the zero of all its tracks. Nothing starts yet.
    /// `source`, `clock` and `dispatch` outlive it.
    ScreenShooter(Display display, std::filesystem::path directory, double startHost, ScreenSource& source,
                  const base::HostClock& clock, base::Dispatch& dispatch);

    enum class Force { No, Yes };
    /// One attempt at a shot, named by the second of this call whenever the picture arrives; forced, it is kept
    /// whatever it shows. Returns at once.
    void capture(Force force);
    /// No shot is written after this. Returns how many were.
    std::int64_t stop();

    std::function<void(const QString& text)> onError;

private:
    [[nodiscard]] Force follow(const ScreenContent& content, Force force);
    void shoot(std::int64_t seconds, Force force);
    void consider(const QImage& picture, std::int64_t seconds, Force force);
    [[nodiscard]] bool save(const QImage& picture, std::int64_t seconds) const;
    void report(const QString& reason);

    const std::filesystem::path m_directory;
    const double m_startHost;
    ScreenSource& m_source;
    const base::HostClock& m_clock;
    base::Scheduler& m_main;
    const std::shared_ptr<base::Scheduler> m_queue;

    // On the queue alone.
    Display m_display;
    std::optional<ScreenDiff::Thumbnail> m_reference; ///< of the last picture kept on this display
    bool m_stopped = false;
    std::int64_t m_savedCount = 0;
};

} // namespace capture
