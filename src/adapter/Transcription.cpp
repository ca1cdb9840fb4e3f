#include "adapter/Transcription.h"

#include "adapter/Budget.h"
#include "adapter/EngineRun.h"
#include "adapter/Loudness.h"
#include "adapter/Speech.h"
#include "adapter/WavFile.h"
#include "ai/TranscribeStep.h"
#include "ai/WorkFolder.h"
#include "base/Files.h"
#include "base/Json.h"
#include "media/AudioReader.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

using namespace Qt::StringLiterals;

namespace adapter {
namespace {

constexpr double secondsForTheEnd = 20.0;
constexpr double millisecondsPerSecond = 1000.0;
constexpr auto frameSamples = static_cast<std::size_t>(Loudness::frameSeconds * engineRate);

std::unexpected<std::string> complaint(const std::string& text) {
    return std::unexpected("brieflet-whisper: " + text);
}

using Reader = std::unique_ptr<media::AudioReader>;

std::expected<Reader, std::string> openTrack(const std::filesystem::path& path) {
    auto reader = media::AudioReader::open(path, engineRate);
    if (!reader) {
        return std::unexpected(reader.error().text.toStdString());
    }
    return std::move(*reader);
}

/// The level of every frame. A damaged track counts up to its damage.
std::vector<float> levelsOf(media::AudioReader& reader) {
    std::vector<float> levels;
    std::vector<float> frame(frameSamples);
    for (;;) {
        const auto got = reader.read(frame);
        if (!got || *got == 0) {
            return levels;
        }
        levels.push_back(Loudness::levelDB(std::span(frame).first(*got)));
    }
}

std::expected<void, std::string> copyRange(media::AudioReader& reader, const Range& range, WavFile& file) {
    if (const auto moved = reader.seek(range.start); !moved) {
        return std::unexpected(moved.error().text.toStdString());
    }
    std::vector<float> block(static_cast<std::size_t>(engineRate));
    auto left = static_cast<std::size_t>(std::llround(range.length() * engineRate));
    while (left > 0) {
        const auto got = reader.read(std::span(block).first(std::min(left, block.size())));
        if (!got || *got == 0) {
            break; // the damage where the levels ended too
        }
        if (const auto written = file.write(std::span(block).first(*got)); !written) {
            return written;
        }
        left -= *got;
    }
    return {};
}

std::expected<void, std::string> writePiece(media::AudioReader& reader, const Piece& piece,
                                            const std::filesystem::path& path) {
    auto file = WavFile::create(path);
    if (!file) {
        return std::unexpected(file.error());
    }
    for (const auto& range : piece.ranges()) {
        if (const auto copied = copyRange(reader, range, *file); !copied) {
            return copied;
        }
    }
    return file->finish();
}

base::Json toMillisecond(double seconds) {
    return base::Json::number(std::round(seconds * millisecondsPerSecond) / millisecondsPerSecond);
}

/// What was heard so far, on the track's time line.
class Heard {
public:
    void add(const Piece& piece, const ai::WhisperOutput& output) {
        qsizetype characters = 0;
        for (const auto& segment : output.segments) {
            m_segments.push_back(
                {piece.startInTrack(segment.start), piece.endInTrack(segment.end), segment.text, segment.noSpeechProb});
            characters += segment.text.size();
        }
        if (output.language) {
            m_charactersByLanguage[*output.language] += characters;
        }
    }

    [[nodiscard]] QByteArray fileBytes() const {
        base::Json::Array segments;
        QString text;
        for (const auto& segment : m_segments) {
            segments.emplace_back(base::Json::Object{{u"id"_s, base::Json::integer(std::ssize(segments))},
                                                     {u"start"_s, toMillisecond(segment.start)},
                                                     {u"end"_s, toMillisecond(std::max(segment.start, segment.end))},
                                                     {u"text"_s, segment.text},
                                                     {u"no_speech_prob"_s, base::Json::number(segment.noSpeechProb)}});
            text += segment.text;
        }
        return base::writeJson(base::Json::Object{
            {u"text"_s, text}, {u"segments"_s, std::move(segments)}, {u"language"_s, base::Json::orNull(language())}});
    }

private:
    /// The one with the most text.
    [[nodiscard]] std::optional<QString> language() const {
        const auto most =
            std::ranges::max_element(m_charactersByLanguage, {}, [](const auto& each) { return each.second; });
        return most != m_charactersByLanguage.end() ? std::optional(most->first) : std::nullopt;
    }

    std::vector<ai::WhisperSegment> m_segments;
    std::map<QString, qsizetype> m_charactersByLanguage;
};

/// Goes through the pieces with the best engine that works and the best model that is quick enough.
class Engines {
public:
    Engines(const Request& request, const Means& means, const std::filesystem::path& folder)
        : m_request(request)
        , m_means(means)
        , m_folder(folder)
        , m_begun(means.clock.now())
        , m_budget(means.threads) {}

    /// `speechLeft` counts this piece too.
    [[nodiscard]] std::expected<ai::WhisperOutput, std::string> hear(const std::filesystem::path& sound, double speech,
                                                                     double speechLeft) {
        while (m_engine < m_means.engines.size()) {
            const auto& engine = m_means.engines[m_engine];
            const auto& model = engine.models[m_budget.choose(engine.models, speechLeft, left())];
            const double begun = m_means.clock.now();
            const EngineTask task{
                .engine = engine, .model = model, .sound = sound, .folder = m_folder, .threads = m_means.threads};
            auto output = runEngine(task, m_request, m_runner, left());
            if (output) {
                m_budget.measured(model, speech, m_means.clock.now() - begun);
                m_used = engine.program.filename().native() + " with " + model.name;
                return std::move(*output);
            }
            if (output.error().tooSlow) {
                return tooSlow(model, speechLeft);
            }
            m_complaints += (m_complaints.empty() ? "" : "; ") + output.error().text;
            ++m_engine;
        }
        return complaint(m_complaints);
    }

    [[nodiscard]] const std::string& used() const { return m_used; }

private:
    [[nodiscard]] double left() const { return m_means.secondsAllowed - (m_means.clock.now() - m_begun); }

    [[nodiscard]] std::unexpected<std::string> tooSlow(const ai::SpeechModel& model, double speechLeft) const {
        const auto minutes = [](double seconds) { return std::to_string(std::llround(std::ceil(seconds / 60.0))); };
        return complaint("this machine is too slow for " + model.name + ": " + minutes(speechLeft) +
                         " minutes of speech were left after " + minutes(m_means.secondsAllowed) +
                         " minutes; install a smaller model");
    }

    const Request& m_request;
    const Means& m_means;
    const std::filesystem::path& m_folder;
    double m_begun;
    Budget m_budget;
    ai::ProcessRunner m_runner;
    std::size_t m_engine = 0;
    std::string m_used;
    std::string m_complaints;
};

std::expected<std::string, std::string> hearAll(media::AudioReader& reader, const std::vector<Piece>& all,
                                                const Request& request, const Means& means, Heard& heard) {
    const ai::WorkFolder work(std::filesystem::absolute(request.outputDir), "engine_");
    Engines engines(request, means, work.path());
    double left =
        std::accumulate(all.begin(), all.end(), 0.0, [](double sum, const auto& each) { return sum + each.length(); });
    for (const auto& piece : all) {
        const auto sound = work.path() / "piece.wav";
        if (const auto written = writePiece(reader, piece, sound); !written) {
            return complaint(written.error());
        }
        const auto output = engines.hear(sound, piece.length(), left);
        if (!output) {
            return std::unexpected(output.error());
        }
        heard.add(piece, *output);
        left -= piece.length();
    }
    return engines.used();
}

} // namespace

double secondsAllowed(double trackSeconds) {
    return ai::AIPipeline::whisperTimeout(trackSeconds) - secondsForTheEnd;
}

std::expected<std::string, std::string> transcribe(const Request& request, const Means& means) {
    if (means.engines.empty()) {
        return std::unexpected(nothingFound);
    }
    const auto reader = openTrack(request.audio);
    if (!reader) {
        return complaint(reader.error());
    }
    const auto levels = levelsOf(**reader);
    const auto all = pieces(Loudness::speech(levels), levels);
    Heard heard;
    std::string used = "nobody speaks";
    if (!all.empty()) {
        auto result = hearAll(**reader, all, request, means, heard);
        if (!result) {
            return result;
        }
        used = *result;
    }
    const auto file = request.outputDir / (request.outputName + ".json");
    if (const auto written = base::replaceFile(file, heard.fileBytes()); !written) {
        return complaint(written.error().text.toStdString());
    }
    return "brieflet-whisper: " + used;
}

} // namespace adapter
