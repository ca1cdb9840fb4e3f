#include "media/OutputFile_p.h"

#include <algorithm>

namespace media::ffmpeg {

OutputFile::OutputFile(std::unique_ptr<TrackFile> file) : m_file(std::move(file)) {
    constexpr int bufferBytes = 64 * 1024;
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(bufferBytes));
    if (buffer != nullptr) {
        m_context = avio_alloc_context(buffer, bufferBytes, 1, this, nullptr, &OutputFile::write, &OutputFile::seek);
    }
    if (m_context == nullptr) {
        av_free(buffer);
    }
}

OutputFile::~OutputFile() {
    if (m_context != nullptr) {
        av_freep(&m_context->buffer);
        avio_context_free(&m_context);
    }
}

std::expected<void, Error> OutputFile::close() {
    avio_flush(m_context);
    if (m_failure) {
        return std::unexpected(*m_failure);
    }
    if (m_context->error < 0) {
        return std::unexpected(error(m_context->error));
    }
    const auto flushed = m_file->flush();
    const auto closed = m_file->close();
    return flushed ? closed : flushed;
}

int OutputFile::write(void* self, std::uint8_t* bytes, int length) {
    auto& output = *static_cast<OutputFile*>(self);
    const auto written =
        output.m_file->writeAt(output.m_position, std::as_bytes(std::span(bytes, static_cast<std::size_t>(length))));
    if (!written) {
        output.m_failure = output.m_failure.value_or(written.error());
        return AVERROR(EIO);
    }
    output.m_position += length;
    output.m_size = std::max(output.m_size, output.m_position);
    return length;
}

std::int64_t OutputFile::seek(void* self, std::int64_t offset, int whence) {
    auto& output = *static_cast<OutputFile*>(self);
    if (whence == AVSEEK_SIZE) {
        return output.m_size;
    }
    const int from = whence & ~AVSEEK_FORCE;
    const std::int64_t base = from == SEEK_CUR ? output.m_position : from == SEEK_END ? output.m_size : 0;
    if (base + offset < 0) {
        return AVERROR(EINVAL);
    }
    return output.m_position = base + offset;
}

} // namespace media::ffmpeg
