// A file as FFmpeg reads it: through a descriptor of ours, so that no name is ever taken for an address and nothing but
// a regular file is opened.
#pragma once

#include "media/Ffmpeg_p.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>

namespace media::ffmpeg {

class InputFile {
public:
    [[nodiscard]] static std::expected<std::unique_ptr<InputFile>, Error> open(const std::filesystem::path& path);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    [[nodiscard]] AVIOContext* context() const noexcept { return m_context; }

    [[nodiscard]] std::int64_t size() const noexcept { return m_size; }

private:
    InputFile(base::FileDescriptor file, std::int64_t size);
    static int read(void* self, std::uint8_t* buffer, int length);
    static std::int64_t seek(void* self, std::int64_t offset, int whence);

    base::FileDescriptor m_file;
    std::int64_t m_size;
    std::int64_t m_position = 0;
    AVIOContext* m_context = nullptr;
};

} // namespace media::ffmpeg
