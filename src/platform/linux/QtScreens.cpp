#include "platform/linux/QtScreens.h"

#include <QGuiApplication>
#include <QScreen>

#include <cmath>
#include <utility>

namespace platform::linux_desktop {

namespace {

capture::Display displayOf(const QScreen& screen) {
    const QRect place = screen.geometry();
    const auto pixels = [&](int side) { return static_cast<int>(std::lround(side * screen.devicePixelRatio())); };
    return {
        .id = QtScreens::idOf(screen.name()),
        .frame = {.x = static_cast<double>(place.x()),
                  .y = static_cast<double>(place.y()),
                  .width = static_cast<double>(place.width()),
                  .height = static_cast<double>(place.height())},
        .pixelWidth = pixels(place.width()),
        .pixelHeight = pixels(place.height()),
    };
}

capture::ScreenContent listedByQt() {
    capture::ScreenContent content;
    for (const QScreen* screen : QGuiApplication::screens()) {
        content.displays.push_back(displayOf(*screen));
    }
    if (const QScreen* primary = QGuiApplication::primaryScreen()) {
        content.mainDisplay = QtScreens::idOf(primary->name());
    }
    return content;
}

} // namespace

QtScreens::QtScreens(base::Scheduler& main, QString refusal) : m_main(main), m_refusal(std::move(refusal)) {}

void QtScreens::content(ContentReply reply) {
    m_main.post([reply = std::move(reply)] { reply(listedByQt()); });
}

void QtScreens::picture(const capture::Display& /*display*/, int /*width*/, int /*height*/, PictureReply reply) {
    reply(std::unexpected(m_refusal));
}

std::uint32_t QtScreens::idOf(const QString& screenName) {
    // FNV-1a over the name's bytes: http://www.isthe.com/chongo/tech/comp/fnv/
    constexpr std::uint32_t offset = 2166136261U;
    constexpr std::uint32_t prime = 16777619U;
    std::uint32_t hash = offset;
    for (const char byte : screenName.toUtf8()) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * prime;
    }
    return hash == 0 ? offset : hash;
}

} // namespace platform::linux_desktop
