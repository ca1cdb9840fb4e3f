#include "media/AudioReader.h"

#include "media/InputFile_p.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace media {

namespace {

using namespace ffmpeg;

/// Containers and codecs of tracks. Whatever else a file claims to be is not looked at.
constexpr const char* knownFormats = "caf,mov";
constexpr const char* knownCodecs = "aac,alac,pcm_s8,pcm_u8,pcm_s16le,pcm_s16be,pcm_s24le,pcm_s24be,pcm_s32le,"
                                    "pcm_s32be,pcm_f32le,pcm_f32be,pcm_f64le,pcm_f64be";
constexpr double lowestRate = 1000.0;
constexpr double highestRate = 1000000.0;
/// What a decoder needs to hear before the first frame that counts, so that it comes out as in an unbroken run.
constexpr std::int64_t runUpFrames = 2048;
/// More than this missing at the end of a compressed file means that the file was cut: its last packet may be short.
constexpr std::int64_t packetFrames = 4096;

struct CloseInput {
    void operator()(AVFormatContext* context) const noexcept { avformat_close_input(&context); }
};

using Container = std::unique_ptr<AVFormatContext, CloseInput>;

bool isUsableRate(double rate) {
    return rate >= lowestRate && rate <= highestRate;
}

bool isPcm(AVCodecID codec) {
    return codec >= AV_CODEC_ID_FIRST_AUDIO && codec < AV_CODEC_ID_ADPCM_IMA_QT;
}

class Options {
public:
    Options(std::initializer_list<std::pair<const char*, const char*>> entries) {
        for (const auto& [name, value] : entries) {
            av_dict_set(&m_entries, name, value, 0);
        }
    }

    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    ~Options() { av_dict_free(&m_entries); }

    [[nodiscard]] AVDictionary** get() { return &m_entries; }

private:
    AVDictionary* m_entries = nullptr;
};

} // namespace

struct AudioReader::State {
    std::unique_ptr<InputFile> file; // outlives the container
    Container container;
    AVStream* stream = nullptr; // of the container
    Codec decoder;
    int sourceRate = 0; // as the file began; a damaged one can change its mind
    Packet packet{av_packet_alloc()};
    Frame frame{av_frame_alloc()};
    int outputRate = 0;

    // Source side, in frames of the file.
    std::int64_t position = 0;       // of the next frame that the decoder gives
    std::int64_t wantedFrom = 0;     // frames before are dropped
    std::optional<std::int64_t> end; // where the container says that the sound ends
    bool placeKnown = true;          // false after a seek, until a frame has told where it belongs
    bool drained = false;
    std::optional<Error> failure; // stays

    // The change to the output rate.
    Resampler resampler;
    AVSampleFormat inputFormat = AV_SAMPLE_FMT_NONE;
    int inputChannels = 0;
    int inputRate = 0;
    double secondsBefore = 0;      // read before the present input rate
    std::int64_t framesAtRate = 0; // read at the present input rate
    std::int64_t made = 0;         // frames put into `ready` so far

    std::vector<float> ready;
    std::size_t taken = 0; // of `ready`

    [[nodiscard]] std::expected<void, Error> openContainer();
    [[nodiscard]] std::expected<void, Error> openDecoder();
    void findEnd();
    [[nodiscard]] std::expected<void, Error> refill();
    [[nodiscard]] std::expected<bool, Error> decode();
    [[nodiscard]] std::expected<void, Error> feed();
    [[nodiscard]] std::expected<bool, Error> nextPacket();
    void dropHalfFrame() const;
    [[nodiscard]] std::expected<void, Error> place();
    [[nodiscard]] std::expected<void, Error> convert(std::int64_t from, std::int64_t to);
    [[nodiscard]] std::expected<void, Error> prepareResampler();
    void finishResampler();
    void restart(std::int64_t target);
    [[nodiscard]] bool isCutShort() const;
    [[nodiscard]] double secondsRead() const;
};

double AudioReader::State::secondsRead() const {
    return secondsBefore + (inputRate > 0 ? static_cast<double>(framesAtRate) / inputRate : 0.0);
}

std::expected<void, Error> AudioReader::State::openContainer() {
    AVFormatContext* context = avformat_alloc_context();
    if (context == nullptr) {
        return std::unexpected(error(AVERROR(ENOMEM)));
    }
    context->pb = file->context();
    Options options{{"format_whitelist", knownFormats}, {"codec_whitelist", knownCodecs}};
    // The library frees the context when it fails.
    if (const int code = avformat_open_input(&context, nullptr, nullptr, options.get()); code < 0) {
        return std::unexpected(error(code));
    }
    container.reset(context);
    if (const int code = avformat_find_stream_info(context, nullptr); code < 0) {
        return std::unexpected(error(code));
    }
    return {};
}

std::expected<void, Error> AudioReader::State::openDecoder() {
    const AVCodec* codec = nullptr;
    const int index = av_find_best_stream(container.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
    if (index < 0) {
        return std::unexpected(error(index));
    }
    for (unsigned other = 0; other < container->nb_streams; ++other) {
        container->streams[other]->discard = static_cast<int>(other) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    stream = container->streams[index];
    decoder.reset(avcodec_alloc_context3(codec));
    if (!decoder || !packet || !frame) {
        return std::unexpected(error(AVERROR(ENOMEM)));
    }
    if (const int code = avcodec_parameters_to_context(decoder.get(), stream->codecpar); code < 0) {
        return std::unexpected(error(code));
    }
    decoder->pkt_timebase = stream->time_base;
    Options options{{"codec_whitelist", knownCodecs}};
    if (const int code = avcodec_open2(decoder.get(), codec, options.get()); code < 0) {
        return std::unexpected(error(code));
    }
    sourceRate = decoder->sample_rate;
    if (!isUsableRate(sourceRate)) {
        return std::unexpected(error(AVERROR_INVALIDDATA));
    }
    return {};
}

void AudioReader::State::findEnd() {
    if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0) {
        end = av_rescale_q(stream->duration, stream->time_base, {1, sourceRate});
    }
}

AudioReader::AudioReader(std::unique_ptr<State> state) : m_state(std::move(state)) {}

AudioReader::~AudioReader() = default;

std::expected<std::unique_ptr<AudioReader>, Error> AudioReader::open(const std::filesystem::path& path,
                                                                     double sampleRate) {
    if (!isUsableRate(sampleRate)) {
        return std::unexpected(error(AVERROR(EINVAL)));
    }
    prepare();
    auto file = InputFile::open(path);
    if (!file) {
        return std::unexpected(file.error());
    }
    auto state = std::make_unique<State>();
    state->file = std::move(*file);
    state->outputRate = static_cast<int>(std::lround(sampleRate));
    if (const auto opened = state->openContainer(); !opened) {
        return std::unexpected(opened.error());
    }
    if (const auto opened = state->openDecoder(); !opened) {
        return std::unexpected(opened.error());
    }
    state->findEnd();
    return std::unique_ptr<AudioReader>(new AudioReader(std::move(state)));
}

double AudioReader::seconds() const {
    return static_cast<double>(m_state->end.value_or(0)) / m_state->sourceRate;
}

double AudioReader::secondsRead() const {
    return m_state->secondsRead();
}

std::expected<std::size_t, Error> AudioReader::read(std::span<float> output) {
    std::size_t filled = 0;
    while (filled < output.size()) {
        if (m_state->taken == m_state->ready.size()) {
            if (m_state->drained) {
                break;
            }
            if (const auto more = m_state->refill(); !more) {
                m_state->failure = more.error();
                m_state->drained = true;
            }
            continue;
        }
        const std::size_t count = std::min(output.size() - filled, m_state->ready.size() - m_state->taken);
        std::copy_n(m_state->ready.begin() + static_cast<std::ptrdiff_t>(m_state->taken), count,
                    output.begin() + static_cast<std::ptrdiff_t>(filled));
        filled += count;
        m_state->taken += count;
    }
    if (filled == 0 && m_state->failure) {
        return std::unexpected(*m_state->failure);
    }
    return filled;
}

/// Puts the next frames into `ready`, which may still be empty after it; the end of the file sets `drained`.
std::expected<void, Error> AudioReader::State::refill() {
    ready.clear();
    taken = 0;
    const auto got = decode();
    if (!got) {
        return std::unexpected(got.error());
    }
    if (*got) {
        return feed();
    }
    drained = true;
    finishResampler();
    if (isCutShort()) {
        return std::unexpected(error(AVERROR_INVALIDDATA));
    }
    return {};
}

/// The next frame into `frame`; false at the end.
std::expected<bool, Error> AudioReader::State::decode() {
    for (;;) {
        const int code = avcodec_receive_frame(decoder.get(), frame.get());
        if (code == 0) {
            return true;
        }
        if (code == AVERROR_EOF) {
            return false;
        }
        if (code != AVERROR(EAGAIN)) {
            return std::unexpected(error(code));
        }
        const auto more = nextPacket();
        if (!more) {
            return std::unexpected(more.error());
        }
        const int sent = avcodec_send_packet(decoder.get(), *more ? packet.get() : nullptr);
        av_packet_unref(packet.get());
        if (sent < 0) {
            return std::unexpected(error(sent));
        }
    }
}

/// The track's next packet into `packet`; false at the end.
std::expected<bool, Error> AudioReader::State::nextPacket() {
    for (;;) {
        av_packet_unref(packet.get());
        const int code = av_read_frame(container.get(), packet.get());
        if (code == AVERROR_EOF) {
            const int trouble = container->pb->error;
            return trouble < 0 && trouble != AVERROR_EOF ? std::expected<bool, Error>(std::unexpected(error(trouble)))
                                                         : false;
        }
        if (code < 0) {
            return std::unexpected(error(code));
        }
        if (isPcm(decoder->codec_id)) {
            dropHalfFrame();
        }
        if (packet->stream_index == stream->index && packet->size > 0) {
            return true;
        }
    }
}

/// Half a frame of PCM is what a write that was cut off leaves at the end.
void AudioReader::State::dropHalfFrame() const {
    const int frameBytes = stream->codecpar->block_align;
    if (frameBytes > 0) {
        av_shrink_packet(packet.get(), packet->size - packet->size % frameBytes);
    }
}

/// After a seek: where on the track the decoded frame belongs.
std::expected<void, Error> AudioReader::State::place() {
    if (placeKnown) {
        return {};
    }
    if (frame->best_effort_timestamp == AV_NOPTS_VALUE) {
        return std::unexpected(error(AVERROR_INVALIDDATA));
    }
    position = av_rescale_q(frame->best_effort_timestamp, stream->time_base, {1, sourceRate});
    placeKnown = true;
    return {};
}

/// Takes of `frame` what lies between the wanted beginning and the end of the track.
std::expected<void, Error> AudioReader::State::feed() {
    if (const auto placed = place(); !placed) {
        return placed;
    }
    const std::int64_t begin = position;
    const std::int64_t length = frame->nb_samples;
    if (begin > std::numeric_limits<std::int64_t>::max() - length) {
        return std::unexpected(error(AVERROR_INVALIDDATA));
    }
    position += length;
    const std::int64_t from = std::clamp<std::int64_t>(wantedFrom - begin, 0, length);
    const bool endCounts = end && !isPcm(decoder->codec_id); // PCM has no delay to cut off and ends where it ends
    const std::int64_t to = endCounts ? std::clamp<std::int64_t>(*end - begin, 0, length) : length;
    return from < to ? convert(from, to) : std::expected<void, Error>{};
}

std::expected<void, Error> AudioReader::State::convert(std::int64_t from, std::int64_t to) {
    if (const auto prepared = prepareResampler(); !prepared) {
        return prepared;
    }
    const int channels = frame->ch_layout.nb_channels;
    const bool planar = av_sample_fmt_is_planar(inputFormat) != 0;
    const std::int64_t stride = av_get_bytes_per_sample(inputFormat) * (planar ? 1 : channels);
    std::vector<const std::uint8_t*> planes;
    for (int plane = 0; plane < (planar ? channels : 1); ++plane) {
        planes.push_back(frame->extended_data[plane] + from * stride);
    }
    const int count = static_cast<int>(to - from);
    const int room = swr_get_out_samples(resampler.get(), count);
    const std::size_t before = ready.size();
    ready.resize(before + static_cast<std::size_t>(std::max(room, 0)));
    auto* output = reinterpret_cast<std::uint8_t*>(ready.data() + before);
    const int got = swr_convert(resampler.get(), &output, room, planes.data(), count);
    ready.resize(before + static_cast<std::size_t>(std::max(got, 0)));
    if (got < 0) {
        return std::unexpected(error(got));
    }
    framesAtRate += count;
    made += got;
    return {};
}

std::expected<void, Error> AudioReader::State::prepareResampler() {
    const auto format = static_cast<AVSampleFormat>(frame->format);
    const int channels = frame->ch_layout.nb_channels;
    if (resampler && format == inputFormat && channels == inputChannels && frame->sample_rate == inputRate) {
        return {};
    }
    finishResampler();
    secondsBefore = secondsRead();
    framesAtRate = 0;
    if (!isUsableRate(frame->sample_rate)) {
        return std::unexpected(error(AVERROR_INVALIDDATA));
    }
    resampler = makeDownmix(format, channels, frame->sample_rate, outputRate);
    if (!resampler) {
        return std::unexpected(error(AVERROR(ENOSYS)));
    }
    inputFormat = format;
    inputChannels = channels;
    inputRate = frame->sample_rate;
    return {};
}

/// Lets out what the resampler kept, so that there are exactly as many frames as the time that was read holds.
void AudioReader::State::finishResampler() {
    if (!resampler) {
        return;
    }
    const std::int64_t missing = std::max<std::int64_t>(std::llround(secondsRead() * outputRate) - made, 0);
    const std::size_t before = ready.size();
    ready.resize(before + static_cast<std::size_t>(missing));
    auto* output = reinterpret_cast<std::uint8_t*>(ready.data() + before);
    static_cast<void>(swr_convert(resampler.get(), &output, static_cast<int>(missing), nullptr, 0));
    made += missing;
    resampler.reset();
}

bool AudioReader::State::isCutShort() const {
    return end && !isPcm(decoder->codec_id) && placeKnown && position + packetFrames < *end;
}

std::expected<void, Error> AudioReader::seek(double seconds) {
    constexpr double farthest = 4503599627370496.0; // 2^52: exact, and far from any overflow
    State& state = *m_state;
    const double frame = std::round(seconds * state.sourceRate);
    const auto target = static_cast<std::int64_t>(std::isnan(frame) ? 0.0 : std::clamp(frame, 0.0, farthest));
    state.restart(target);
    if (state.end && target >= *state.end) { // a container may refuse to go there
        state.drained = true;
        return {};
    }
    const std::int64_t moment =
        av_rescale_q(std::max<std::int64_t>(target - runUpFrames, 0), {1, state.sourceRate}, state.stream->time_base);
    const int code = av_seek_frame(state.container.get(), state.stream->index, moment, AVSEEK_FLAG_BACKWARD);
    if (code < 0) {
        state.drained = true;
        return std::unexpected(error(code));
    }
    avcodec_flush_buffers(state.decoder.get());
    return {};
}

void AudioReader::State::restart(std::int64_t target) {
    wantedFrom = target;
    placeKnown = false;
    drained = false;
    failure.reset();
    resampler.reset();
    secondsBefore = 0;
    framesAtRate = 0;
    inputRate = 0;
    made = 0;
    ready.clear();
    taken = 0;
}

std::expected<double, Error> lengthOf(const std::filesystem::path& path) {
    constexpr double anyRate = 48000.0;
    const auto reader = AudioReader::open(path, anyRate);
    if (!reader) {
        return std::unexpected(reader.error());
    }
    return (*reader)->seconds();
}

} // namespace media
