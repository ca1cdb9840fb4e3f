#include "platform/linux/X11Picture.h"

#include "platform/linux/X11Pixels.h"

#include <xcb/shm.h>

#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <sys/mman.h>

namespace platform::linux_desktop::X11Picture {

namespace {

constexpr std::uint32_t allPlanes = 0xFFFFFFFF;

/// What X calls a rectangle within a drawable.
struct Area {
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

std::optional<Area> areaOf(const QRect& part) {
    constexpr int most = std::numeric_limits<std::int16_t>::max();
    if (part.isEmpty() || part.x() < 0 || part.y() < 0 || part.right() > most || part.bottom() > most) {
        return std::nullopt;
    }
    return Area{.x = static_cast<std::int16_t>(part.x()),
                .y = static_cast<std::int16_t>(part.y()),
                .width = static_cast<std::uint16_t>(part.width()),
                .height = static_cast<std::uint16_t>(part.height())};
}

/// Memory that the server writes a picture into; the image made of it owns it.
class SharedPixels {
public:
    static std::unique_ptr<SharedPixels> create(std::size_t size) {
        base::FileDescriptor file(::memfd_create("screen", MFD_CLOEXEC));
        if (!file || ::ftruncate(file.get(), static_cast<off_t>(size)) != 0) {
            return nullptr;
        }
        void* memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
        if (memory == MAP_FAILED) {
            return nullptr;
        }
        return std::unique_ptr<SharedPixels>(new SharedPixels(std::move(file), memory, size));
    }

    SharedPixels(const SharedPixels&) = delete;
    SharedPixels& operator=(const SharedPixels&) = delete;

    ~SharedPixels() { ::munmap(m_memory, m_size); }

    /// For the one message that hands it to the server.
    [[nodiscard]] int releaseFile() { return m_file.release(); }

    [[nodiscard]] uchar* memory() const { return static_cast<uchar*>(m_memory); }

private:
    SharedPixels(base::FileDescriptor file, void* memory, std::size_t size)
        : m_file(std::move(file))
        , m_memory(memory)
        , m_size(size) {}

    base::FileDescriptor m_file;
    void* m_memory;
    std::size_t m_size;
};

bool canShareMemory(X11Connection& connection) {
    if (!connection.isLocal() || !connection.has(xcb_shm_id)) {
        return false;
    }
    const auto version = connection.reply<xcb_shm_query_version_reply_t>(xcb_shm_query_version(connection.get()));
    return version && ((*version)->major_version > 1 || (*version)->minor_version >= 2); // takes descriptors since 1.2
}

/// The picture through shared memory; an error where that way is barred.
std::expected<QImage, X11Error> grabShared(X11Connection& connection, const Area& area, std::size_t bytesPerRow,
                                           QImage::Format format) {
    auto pixels = SharedPixels::create(bytesPerRow * area.height);
    if (!pixels) {
        return std::unexpected(X11Error{.code = XCB_ALLOC});
    }
    auto* xcb = connection.get();
    const xcb_shm_seg_t segment = xcb_generate_id(xcb);
    xcb_shm_attach_fd(xcb, segment, pixels->releaseFile(), 0); // closes the descriptor
    const auto done = connection.reply<xcb_shm_get_image_reply_t>(
        xcb_shm_get_image(xcb, connection.screen().root, area.x, area.y, area.width, area.height, allPlanes,
                          XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0));
    xcb_shm_detach(xcb, segment);
    xcb_flush(xcb);
    if (!done) {
        return std::unexpected(done.error());
    }
    auto* memory = pixels->memory();
    const auto release = [](void* owned) { delete static_cast<SharedPixels*>(owned); };
    return QImage(memory, area.width, area.height, static_cast<qsizetype>(bytesPerRow), format, release,
                  pixels.release());
}

/// The picture through the connection itself.
std::expected<QImage, X11Error> grabCopied(X11Connection& connection, const Area& area, std::size_t bytesPerRow,
                                           QImage::Format format) {
    auto sent = connection.reply<xcb_get_image_reply_t>(xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                                                      connection.screen().root, area.x, area.y,
                                                                      area.width, area.height, allPlanes));
    if (!sent) {
        return std::unexpected(sent.error());
    }
    const auto length = static_cast<std::size_t>(xcb_get_image_data_length(sent->get()));
    if (length < bytesPerRow * area.height) {
        return std::unexpected(X11Error{.code = XCB_LENGTH});
    }
    auto* reply = sent->release();
    return QImage(xcb_get_image_data(reply), area.width, area.height, static_cast<qsizetype>(bytesPerRow), format,
                  std::free, reply);
}

} // namespace

std::expected<QImage, Failure> grab(X11Connection& connection, const QRect& part) {
    const auto area = areaOf(part);
    if (!area) {
        return std::unexpected(Failure::Gone);
    }
    const X11Pixels pixels = pixelsOf(*xcb_get_setup(connection.get()), connection.screen());
    const auto format = pixels.imageFormat();
    const std::size_t bytesPerRow = pixels.bytesPerRow(area->width);
    if (!format || bytesPerRow == 0) {
        return std::unexpected(Failure::Unreadable);
    }
    std::expected<QImage, X11Error> picture = std::unexpected(X11Error{.code = XCB_ALLOC});
    if (canShareMemory(connection)) {
        picture = grabShared(connection, *area, bytesPerRow, *format);
    }
    if (!picture && !connection.isDead() && picture.error().code != XCB_MATCH) {
        picture = grabCopied(connection, *area, bytesPerRow, *format);
    }
    connection.dropEvents();
    if (connection.isDead()) {
        return std::unexpected(Failure::Lost);
    }
    if (!picture) {
        return std::unexpected(picture.error().code == XCB_MATCH ? Failure::Gone : Failure::Unreadable);
    }
    return std::move(*picture);
}

} // namespace platform::linux_desktop::X11Picture
