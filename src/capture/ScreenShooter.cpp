#include "capture/ScreenShooter.h"

#include "base/Files.h"
#include "base/Output.h"
#include "capture/ShotSize.h"
#include "copy/Strings.h"
#include "store/MeetingNaming.h"

#include <QBuffer>
#include <QImageWriter>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace capture {

using namespace Qt::StringLiterals;

namespace {

std::int64_t wholeSeconds(double seconds) noexcept {
    constexpr double most = 1e15; // far within both types
    return std::isfinite(seconds) ? static_cast<std::int64_t>(std::clamp(seconds, -most, most)) : 0;
}

int rounded(double side) noexcept {
    constexpr double most = std::numeric_limits<int>::max();
    return std::isfinite(side) ? static_cast<int>(std::clamp(side, 0.0, most)) : 0;
}

PixelSize pictureSize(const Display& display) noexcept {
    if (display.pixelWidth < 1) {
        return ShotSize::fit(rounded(2 * display.frame.width), rounded(2 * display.frame.height), ShotSize::maxEdge);
    }
    return ShotSize::fit(display.pixelWidth, display.pixelHeight, ShotSize::maxEdge);
}

std::vector<PickerDisplay> pickerDisplays(const ScreenContent& content) {
    std::vector<PickerDisplay> displays;
    displays.reserve(content.displays.size());
    for (const Display& display : content.displays) {
        displays.push_back({.id = display.id, .frame = display.frame});
    }
    return displays;
}

const Display* displayWithId(const ScreenContent& content, std::uint32_t id) {
    const auto found = std::ranges::find(content.displays, id, &Display::id);
    return found == content.displays.end() ? nullptr : &*found;
}

QByteArray jpegOf(const QImage& picture) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(static_cast<int>(std::lround(ScreenShooter::jpegQuality * 100)));
    return writer.write(picture) ? bytes : QByteArray();
}

} // namespace

ScreenShooter::ScreenShooter(Display display, std::filesystem::path directory, double startHost, ScreenSource& source,
                             const base::HostClock& clock, base::Dispatch& dispatch)
    : m_directory(std::move(directory))
    , m_startHost(startHost)
    , m_source(source)
    , m_clock(clock)
    , m_main(dispatch.main())
    , m_queue(dispatch.makeSerialQueue("com.orvane.tarvex.shots", base::Priority::Utility))
    , m_display(std::move(display)) {}

void ScreenShooter::capture(Force force) {
    const std::int64_t seconds = wholeSeconds(m_clock.now() - m_startHost);
    m_source.content([weak = weak_from_this(), seconds, force](std::expected<ScreenContent, QString> content) {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        self->m_queue->post([weak, seconds, force, content = std::move(content)] {
            if (const auto shooter = weak.lock(); shooter && !shooter->m_stopped) {
                shooter->shoot(seconds, content ? shooter->follow(*content, force) : force);
            }
        });
    });
}

std::int64_t ScreenShooter::stop() {
    std::int64_t saved = 0;
    m_queue->sync([this, &saved] {
        m_stopped = true;
        saved = m_savedCount;
    });
    return saved;
}

/// Turns to the display of the call. The first shot of another display is kept whatever it shows.
ScreenShooter::Force ScreenShooter::follow(const ScreenContent& content, Force force) {
    const std::uint32_t wanted =
        VideoDisplayPicker::pick(content.windows, pickerDisplays(content), content.mainDisplay);
    const Display* found = displayWithId(content, wanted);
    if (found == nullptr) {
        found = displayWithId(content, m_display.id);
    }
    if (found == nullptr) {
        return force;
    }
    const bool moved = found->id != m_display.id;
    m_display = *found; // a known display may have changed its mode
    if (!moved) {
        return force;
    }
    m_reference.reset();
    base::printLine(u"screenshots: now on display %1 (%2 x %3)"_s.arg(m_display.id)
                        .arg(rounded(m_display.frame.width))
                        .arg(rounded(m_display.frame.height)));
    return Force::Yes;
}

void ScreenShooter::shoot(std::int64_t seconds, Force force) {
    const PixelSize size = pictureSize(m_display);
    m_source.picture(m_display, size.width, size.height,
                     [weak = weak_from_this(), seconds, force](std::expected<QImage, QString> picture) {
                         const auto self = weak.lock();
                         if (!self) {
                             return;
                         }
                         if (!picture || picture->isNull()) {
                             self->report(picture ? QString() : picture.error());
                             return;
                         }
                         self->m_queue->post([weak, seconds, force, image = std::move(*picture)] {
                             if (const auto shooter = weak.lock()) {
                                 shooter->consider(image, seconds, force);
                             }
                         });
                     });
}

void ScreenShooter::consider(const QImage& picture, std::int64_t seconds, Force force) {
    if (m_stopped) {
        return;
    }
    ScreenDiff::Thumbnail thumbnail = ScreenDiff::thumbnail(picture);
    if (force == Force::No && m_reference && !ScreenDiff::changed(*m_reference, thumbnail)) {
        return;
    }
    m_reference = std::move(thumbnail);
    if (save(picture, seconds)) {
        ++m_savedCount;
    }
}

bool ScreenShooter::save(const QImage& picture, std::int64_t seconds) const {
    const auto taken = [this](const QString& name) {
        std::error_code ignored; // a folder that can't be looked into refuses the file as well
        return std::filesystem::exists(std::filesystem::symlink_status(m_directory / base::pathFrom(name), ignored));
    };
    int attempt = 1;
    QString name = store::MeetingNaming::shotName(seconds, attempt);
    while (taken(name)) {
        name = store::MeetingNaming::shotName(seconds, ++attempt);
    }
    const QByteArray jpeg = jpegOf(picture);
    return !jpeg.isEmpty() && base::replaceFile(m_directory / base::pathFrom(name), jpeg).has_value();
}

void ScreenShooter::report(const QString& reason) {
    m_main.post([weak = weak_from_this(), text = copy::Strings::shotFailed(reason)] {
        if (const auto self = weak.lock(); self && self->onError) {
            self->onError(text);
        }
    });
}

} // namespace capture
