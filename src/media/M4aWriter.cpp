#include "media/M4aWriter.h"

#include "media/OutputFile_p.h"

#include <algorithm>
#include <optional>

namespace media {

namespace {

using namespace ffmpeg;

struct FreeOutput {
    void operator()(AVFormatContext* context) const noexcept { avformat_free_context(context); }
};

using Container = std::unique_ptr<AVFormatContext, FreeOutput>;

} // namespace

struct M4aWriter::State {
    std::unique_ptr<OutputFile> file; // outlives the container
    Container container;
    AVStream* stream = nullptr; // of the container
    Codec encoder;
    Frame frame{av_frame_alloc()};
    Packet packet{av_packet_alloc()};
    int filled = 0;           // frames in `frame`
    std::int64_t encoded = 0; // frames given to the encoder

    [[nodiscard]] std::expected<void, Error> openContainer();
    [[nodiscard]] std::expected<void, Error> openEncoder(int sampleRate, int bitRate);
    [[nodiscard]] std::expected<void, Error> openStream();
    [[nodiscard]] std::expected<void, Error> freshFrame();
    [[nodiscard]] std::expected<void, Error> encodeFrame();
    [[nodiscard]] std::expected<void, Error> takePackets();
    [[nodiscard]] std::expected<void, Error> result(int code) const;
};

/// The file's own reason, where there is one, rather than the library's.
std::expected<void, Error> M4aWriter::State::result(int code) const {
    if (code >= 0) {
        return {};
    }
    return std::unexpected(file->failure().value_or(error(code)));
}

std::expected<void, Error> M4aWriter::State::openContainer() {
    AVFormatContext* made = nullptr;
    const int code = avformat_alloc_output_context2(&made, nullptr, "ipod", nullptr);
    container.reset(made);
    if (code < 0 || file->context() == nullptr || !frame || !packet) {
        return result(code < 0 ? code : AVERROR(ENOMEM));
    }
    container->pb = file->context();
    container->flush_packets =
        0; // half a file can't be read anyway, so packets are gathered and not written one by one
    container->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT; // the same sound gives the same bytes
    return {};
}

std::expected<void, Error> M4aWriter::State::openEncoder(int sampleRate, int bitRate) {
    const AVCodec* codec = avcodec_find_encoder_by_name("aac");
    encoder.reset(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
    if (!encoder) {
        return result(AVERROR_ENCODER_NOT_FOUND);
    }
    encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
    encoder->sample_rate = sampleRate;
    encoder->bit_rate = bitRate;
    av_channel_layout_default(&encoder->ch_layout, 1);
    encoder->time_base = {1, sampleRate};
    encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    // A fifth of the processor time for the same bit rate: docs/decisions/0001-m4a-encoder.md has the figures.
    av_opt_set(encoder->priv_data, "aac_coder", "fast", 0);
    return result(avcodec_open2(encoder.get(), codec, nullptr));
}

std::expected<void, Error> M4aWriter::State::openStream() {
    stream = avformat_new_stream(container.get(), nullptr);
    if (stream == nullptr) {
        return result(AVERROR(ENOMEM));
    }
    stream->time_base = encoder->time_base;
    if (const int code = avcodec_parameters_from_context(stream->codecpar, encoder.get()); code < 0) {
        return result(code);
    }
    // The edit list counts in the movie's time scale: only in frames is the length exact.
    AVDictionary* options = nullptr;
    av_dict_set_int(&options, "movie_timescale", encoder->sample_rate, 0);
    const int code = avformat_write_header(container.get(), &options);
    av_dict_free(&options);
    return result(code);
}

M4aWriter::M4aWriter(std::unique_ptr<State> state) : m_state(std::move(state)) {}

M4aWriter::~M4aWriter() = default;

std::expected<std::unique_ptr<M4aWriter>, Error> M4aWriter::create(const std::filesystem::path& path, int sampleRate,
                                                                   int bitRate, const OpenTrackFile& open) {
    prepare();
    auto file = open(path);
    if (!file) {
        return std::unexpected(file.error());
    }
    auto state = std::make_unique<State>();
    state->file = std::make_unique<OutputFile>(std::move(*file));
    auto opened = state->openContainer();
    if (opened) {
        opened = state->openEncoder(sampleRate, bitRate);
    }
    if (opened) {
        opened = state->openStream();
    }
    if (opened) {
        opened = state->freshFrame();
    }
    if (!opened) {
        return std::unexpected(opened.error());
    }
    return std::unique_ptr<M4aWriter>(new M4aWriter(std::move(state)));
}

/// The encoder may still hold the samples of the frame before.
std::expected<void, Error> M4aWriter::State::freshFrame() {
    av_frame_unref(frame.get());
    frame->format = encoder->sample_fmt;
    frame->sample_rate = encoder->sample_rate;
    frame->ch_layout = encoder->ch_layout;
    frame->nb_samples = encoder->frame_size;
    filled = 0;
    return result(av_frame_get_buffer(frame.get(), 0));
}

std::expected<void, Error> M4aWriter::write(std::span<const float> samples) {
    State& state = *m_state;
    while (!samples.empty()) {
        const auto room = static_cast<std::size_t>(state.encoder->frame_size - state.filled);
        const auto count = std::min(room, samples.size());
        std::copy_n(samples.begin(), count, reinterpret_cast<float*>(state.frame->data[0]) + state.filled);
        state.filled += static_cast<int>(count);
        samples = samples.subspan(count);
        if (state.filled == state.encoder->frame_size) {
            if (const auto encoded = state.encodeFrame(); !encoded) {
                return encoded;
            }
        }
    }
    return {};
}

std::expected<void, Error> M4aWriter::State::encodeFrame() {
    frame->nb_samples = filled;
    frame->pts = encoded;
    encoded += filled;
    if (const int code = avcodec_send_frame(encoder.get(), frame.get()); code < 0) {
        return result(code);
    }
    if (const auto taken = takePackets(); !taken) {
        return taken;
    }
    return freshFrame();
}

std::expected<void, Error> M4aWriter::State::takePackets() {
    for (;;) {
        const int code = avcodec_receive_packet(encoder.get(), packet.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) {
            return {};
        }
        if (code < 0) {
            return result(code);
        }
        av_packet_rescale_ts(packet.get(), encoder->time_base, stream->time_base);
        packet->stream_index = stream->index;
        if (const int written = av_write_frame(container.get(), packet.get()); written < 0) {
            av_packet_unref(packet.get());
            return result(written);
        }
        av_packet_unref(packet.get());
    }
}

std::expected<void, Error> M4aWriter::finish() {
    State& state = *m_state;
    if (state.filled > 0) {
        if (const auto encoded = state.encodeFrame(); !encoded) {
            return encoded;
        }
    }
    if (const int code = avcodec_send_frame(state.encoder.get(), nullptr); code < 0) {
        return state.result(code);
    }
    if (const auto taken = state.takePackets(); !taken) {
        return taken;
    }
    if (const int code = av_write_trailer(state.container.get()); code < 0) {
        return state.result(code);
    }
    return state.file->close();
}

} // namespace media
