#include "base/Files.h"
#include "media/InputFile_p.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace media::ffmpeg {

std::expected<std::unique_ptr<InputFile>, Error> InputFile::open(const std::filesystem::path& path) {
    base::FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status{};
    if (!file || ::fstat(file.get(), &status) != 0) {
        return std::unexpected(Error{base::fileError(errno).text});
    }
    if (!S_ISREG(status.st_mode)) {
        return std::unexpected(Error{base::fileError(S_ISDIR(status.st_mode) ? EISDIR : EINVAL).text});
    }
    std::unique_ptr<InputFile> input(new InputFile(std::move(file), status.st_size));
    if (input->m_context == nullptr) {
        return std::unexpected(error(AVERROR(ENOMEM)));
    }
    return input;
}

InputFile::InputFile(base::FileDescriptor file, std::int64_t size) : m_file(std::move(file)), m_size(size) {
    constexpr int bufferBytes = 64 * 1024;
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(bufferBytes));
    if (buffer != nullptr) {
        m_context = avio_alloc_context(buffer, bufferBytes, 0, this, &InputFile::read, nullptr, &InputFile::seek);
    }
    if (m_context == nullptr) {
        av_free(buffer);
    }
}

InputFile::~InputFile() {
    if (m_context != nullptr) {
        av_freep(&m_context->buffer); // the library may have put another one in place of ours
        avio_context_free(&m_context);
    }
}

int InputFile::read(void* self, std::uint8_t* buffer, int length) {
    auto& input = *static_cast<InputFile*>(self);
    ssize_t got = -1;
    do {
        got = ::pread(input.m_file.get(), buffer, static_cast<std::size_t>(length), input.m_position);
    } while (got < 0 && errno == EINTR);
    if (got <= 0) {
        return got < 0 ? AVERROR(errno) : AVERROR_EOF;
    }
    input.m_position += got;
    return static_cast<int>(got);
}

std::int64_t InputFile::seek(void* self, std::int64_t offset, int whence) {
    auto& input = *static_cast<InputFile*>(self);
    if (whence == AVSEEK_SIZE) {
        return input.m_size;
    }
    const int from = whence & ~AVSEEK_FORCE;
    const std::int64_t base = from == SEEK_CUR ? input.m_position : from == SEEK_END ? input.m_size : 0;
    if (offset < -base || offset > INT64_MAX - base) {
        return AVERROR(EINVAL);
    }
    return input.m_position = base + offset;
}

} // namespace media::ffmpeg
