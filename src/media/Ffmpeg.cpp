#include "media/Ffmpeg_p.h"

#include <array>
#include <mutex>
#include <vector>

namespace media::ffmpeg {

namespace {

constexpr int mostChannels = 64; // the library's own limit, which it keeps to itself

} // namespace

void prepare() {
    static std::once_flag once;
    std::call_once(once, [] {
        constexpr std::size_t largestPiece = 256U * 1024 * 1024; // the index of a day of sound needs half of it
        av_log_set_level(AV_LOG_QUIET);
        av_max_alloc(largestPiece);
    });
}

Error error(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> words{};
    av_strerror(code, words.data(), words.size());
    return {QString::fromUtf8(words.data())};
}

Resampler makeDownmix(AVSampleFormat format, int channels, int inputRate, int outputRate) {
    if (channels < 1 || channels > mostChannels) {
        return nullptr;
    }
    prepare();
    AVChannelLayout from{};
    from.order = AV_CHANNEL_ORDER_UNSPEC;
    from.nb_channels = channels;
    AVChannelLayout mono{};
    av_channel_layout_default(&mono, 1);
    SwrContext* made = nullptr;
    if (swr_alloc_set_opts2(&made, &mono, AV_SAMPLE_FMT_FLT, outputRate, &from, format, inputRate, 0, nullptr) < 0) {
        return nullptr;
    }
    Resampler resampler(made);
    const std::vector<double> weights(static_cast<std::size_t>(channels), 1.0 / channels);
    av_opt_set_sample_fmt(made, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0);
    if (swr_set_matrix(made, weights.data(), channels) < 0 || swr_init(made) < 0) {
        return nullptr;
    }
    return resampler;
}

} // namespace media::ffmpeg
