// A disk that runs full when the test says so, and counts what is asked of it. It holds one file.
#pragma once

#include "media/TrackFile.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

namespace fakes {

struct FakeDisk {
    std::vector<std::byte> bytes;
    std::int64_t capacity = std::numeric_limits<std::int64_t>::max(); ///< bytes that the file can have
    bool opens = true;
    bool truncates = true;
    bool flushes = true;
    bool closes = true;
    int writes = 0;
    std::size_t largestWrite = 0;
    int flushCount = 0;
    int closeCount = 0;
    std::function<void()> onFlush;

    /// The disk must outlive the file.
    [[nodiscard]] media::OpenTrackFile opener() {
        return [this](const std::filesystem::path&) -> std::expected<std::unique_ptr<media::TrackFile>, media::Error> {
            if (!opens) {
                return std::unexpected(media::Error{QStringLiteral("no disk")});
            }
            return std::make_unique<File>(*this);
        };
    }

private:
    class File final : public media::TrackFile {
    public:
        explicit File(FakeDisk& disk) : m_disk(disk) {}

        std::expected<void, media::Error> writeAt(std::int64_t offset, std::span<const std::byte> data) override {
            ++m_disk.writes;
            m_disk.largestWrite = std::max(m_disk.largestWrite, data.size());
            const auto room = static_cast<std::size_t>(std::max<std::int64_t>(m_disk.capacity - offset, 0));
            const auto fits = data.first(std::min(data.size(), room)); // a real disk too takes a part of it
            const auto end = static_cast<std::size_t>(offset) + fits.size();
            m_disk.bytes.resize(std::max(m_disk.bytes.size(), end));
            std::ranges::copy(fits, m_disk.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
            return result(fits.size() == data.size(), QStringLiteral("disk full"));
        }

        std::expected<void, media::Error> truncate(std::int64_t length) override {
            if (m_disk.truncates) {
                m_disk.bytes.resize(static_cast<std::size_t>(length));
            }
            return result(m_disk.truncates, QStringLiteral("no truncating"));
        }

        std::expected<void, media::Error> flush() override {
            ++m_disk.flushCount;
            if (m_disk.onFlush) {
                m_disk.onFlush();
            }
            return result(m_disk.flushes, QStringLiteral("flush failed"));
        }

        std::expected<void, media::Error> close() override {
            ++m_disk.closeCount;
            return result(m_disk.closes, QStringLiteral("close failed"));
        }

    private:
        static std::expected<void, media::Error> result(bool good, const QString& text) {
            return good ? std::expected<void, media::Error>{} : std::unexpected(media::Error{text});
        }

        FakeDisk& m_disk;
    };
};

} // namespace fakes
