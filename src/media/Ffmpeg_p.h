// What the files of this folder share of FFmpeg. Seen nowhere else.
#pragma once

#include "base/Handle.h"
#include "media/Error.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <memory>

namespace media::ffmpeg {

/// For the av_..._free functions, which take the address of the pointer.
template<auto free>
struct FreeWith {
    void operator()(auto* handle) const noexcept { free(&handle); }
};

template<typename T, auto free>
using Freed = std::unique_ptr<T, FreeWith<free>>;

using Packet = Freed<AVPacket, av_packet_free>;
using Frame = Freed<AVFrame, av_frame_free>;
using Codec = Freed<AVCodecContext, avcodec_free_context>;
using Resampler = Freed<SwrContext, swr_free>;

/// Before anything else of FFmpeg: it keeps quiet on standard error, and no damaged file makes it ask for memory
/// without measure.
void prepare();

/// The library's own words for a code below 0.
[[nodiscard]] Error error(int code);

/// Packed samples of 1 to 64 channels, each weighing the same, to mono floats; nullptr where
/// the library can't.
[[nodiscard]] Resampler makeDownmix(AVSampleFormat format, int channels, int inputRate, int outputRate);

} // namespace media::ffmpeg
