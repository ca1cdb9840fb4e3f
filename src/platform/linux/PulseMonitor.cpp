#include "platform/linux/PulseMonitor.h"

#include "copy/DesktopCopy.h"
#include "platform/linux/PulseFormat.h"

#include <utility>

namespace platform::linux_desktop {

PulseMonitor::PulseMonitor(PulseConnection& connection, PulseConnection::Sink sink, const capture::AudioFormat& format,
                           SoundFeed::OnBlock onBlock)
    : m_connection(connection)
    , m_sink(std::move(sink))
    , m_format(format)
    , m_feed(format, std::move(onBlock)) {}

PulseMonitor::~PulseMonitor() {
    finish();
}

std::optional<QString> PulseMonitor::open(std::optional<std::uint32_t> sinkInput, PulseRecording::OnEnded onEnded,
                                          Deadline deadline) {
    const auto source = m_connection.source(m_sink.monitor, deadline);
    if (!source) {
        return source.error();
    }
    if (!*source || !(*source)->playsBack) {
        return copy::DesktopCopy::current().noMonitor;
    }
    auto opened = PulseRecording::open(m_connection,
                                       {.source = m_sink.monitor,
                                        .format = PulseFormat::toSampleSpec(m_format),
                                        .channels = std::nullopt,
                                        .sinkInput = sinkInput},
                                       m_feed, std::move(onEnded), deadline);
    if (!opened) {
        return std::move(opened.error());
    }
    m_recording = std::move(*opened);
    // Where the output has just gone, a server may choose another source by itself.
    if (m_recording->device() != m_sink.monitor) {
        return copy::DesktopCopy::current().noMonitor;
    }
    return std::nullopt;
}

void PulseMonitor::start(std::optional<double> deliveredUntil) {
    const PulseLoop::Lock lock(m_connection.loop());
    m_feed.start(deliveredUntil);
}

std::optional<double> PulseMonitor::finish() {
    const PulseLoop::Lock lock(m_connection.loop());
    m_recording.reset();
    m_feed.finish();
    return m_feed.deliveredUntil();
}

} // namespace platform::linux_desktop
