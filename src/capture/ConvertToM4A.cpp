// The conversion of a finished CAF, which AudioTrackWriter offers and recovery needs as well.
#include "base/Files.h"
#include "capture/AudioTrackWriter.h"
#include "media/AudioReader.h"
#include "media/M4aWriter.h"

#include <vector>

namespace capture {

namespace {

constexpr std::size_t chunkFrames = 48000;

std::unexpected<ConvertFailure> failed(const media::Error& error) {
    return std::unexpected(ConvertFailure{std::nullopt, error.text});
}

/// `chunk` holds the first `count` frames already.
std::expected<void, media::Error> copyAll(media::AudioReader& reader, media::M4aWriter& writer,
                                          std::vector<float>& chunk, std::size_t count) {
    while (count > 0) {
        if (const auto written = writer.write(std::span(chunk).first(count)); !written) {
            return written;
        }
        const auto next = reader.read(chunk);
        if (!next) {
            return std::unexpected(next.error());
        }
        count = *next;
    }
    return writer.finish();
}

/// A name is safe from a power cut once its folder is.
std::expected<void, media::Error> flushName(const std::filesystem::path& file) {
    if (const auto flushed = base::flushFolder(file.parent_path()); !flushed) {
        return std::unexpected(media::Error{flushed.error().text});
    }
    return {};
}

} // namespace

std::filesystem::path AudioTrackWriter::m4aURL(std::filesystem::path caf) {
    return caf.replace_extension(".m4a");
}

std::expected<double, ConvertFailure> AudioTrackWriter::convertToM4A(const std::filesystem::path& caf,
                                                                     const std::filesystem::path& m4a) {
    const auto reader = media::AudioReader::open(caf, sampleRate);
    if (!reader) {
        return failed(reader.error());
    }
    std::vector<float> chunk(chunkFrames);
    const auto first = (*reader)->read(chunk);
    if (!first) {
        return failed(first.error());
    }
    if (*first == 0) {
        return std::unexpected(
            ConvertFailure{store::ConvertError::Empty, store::convertErrorText(store::ConvertError::Empty)});
    }
    std::error_code ignored;
    std::filesystem::remove(m4a, ignored);
    const auto writer = media::M4aWriter::create(m4a, static_cast<int>(sampleRate), bitRate);
    auto done = writer ? copyAll(**reader, **writer, chunk, *first) : std::unexpected(writer.error());
    if (done) {
        done = flushName(m4a);
    }
    if (!done) {
        std::filesystem::remove(m4a, ignored);
        return failed(done.error());
    }
    return (*reader)->secondsRead();
}

} // namespace capture
