// A TrackFile as FFmpeg writes it.
#pragma once

#include "media/Ffmpeg_p.h"
#include "media/TrackFile.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace media::ffmpeg {

class OutputFile {
public:
    explicit OutputFile(std::unique_ptr<TrackFile> file);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// nullptr when there was no memory for it.
    [[nodiscard]] AVIOContext* context() const noexcept { return m_context; }

    /// Why writing failed; the library only knows that it did.
    [[nodiscard]] const std::optional<Error>& failure() const noexcept { return m_failure; }

    /// Hands over what the library has gathered, flushes and closes.
    [[nodiscard]] std::expected<void, Error> close();

private:
    static int write(void* self, std::uint8_t* bytes, int length);
    static std::int64_t seek(void* self, std::int64_t offset, int whence);

    std::unique_ptr<TrackFile> m_file;
    std::int64_t m_position = 0;
    std::int64_t m_size = 0;
    std::optional<Error> m_failure;
    AVIOContext* m_context = nullptr;
};

} // namespace media::ffmpeg
