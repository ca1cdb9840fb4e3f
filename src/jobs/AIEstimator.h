// How long a step of AI work will take, learnt from the last few runs on this computer.
//   Units    seconds; "work" is seconds of audio, all tracks of a recording added up
//   Storage  two functions of a key, so that the arithmetic stands alone. What was stored in another shape counts as
//            no samples
//   Threads  the main thread; only work() may read the header of an audio file
//   Errors   none: a wrong estimate changes a text and no deadline
#pragma once

#include "ai/AIStep.h"
#include "base/Json.h"
#include "base/PreferenceStore.h"
#include "store/MeetingRecord.h"

#include <QString>

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace jobs {

class AIEstimator {
public:
    /// A straight line: `fixed` seconds, and `perSecond` for each second of work.
    struct Fit {
        double fixed = 0;
        double perSecond = 0;
        bool operator==(const Fit&) const = default;
    };

    struct Sample {
        double work = 0;
        double seconds = 0; ///< how long the step took
        bool operator==(const Sample&) const = default;
    };

    static constexpr Fit defaultFit{.fixed = 30.0, .perSecond = 0.25};
    static constexpr double defaultSummary = 30.0;
    static constexpr double minFixed = 10.0;
    static constexpr double minPerSecond = 0.05;
    static constexpr double maxPerSecond = 2.0;
    /// Runs that are remembered.
    static constexpr std::size_t kept = 5;
    /// Runs whose work differs by less say nothing about the slope: seconds between the shortest and the longest...
    static constexpr double minSpread = 60.0;
    /// ...and the standard deviation as a share of the mean...
    static constexpr double minRelativeDeviation = 0.2;
    /// ...and a sum of squares too small to divide by.
    static constexpr double varianceFloor = 1e-9;

    static inline const QString transcribeKey = QStringLiteral("aiEstimateTranscribe"); ///< [[work, seconds], ...]
    static inline const QString summaryKey = QStringLiteral("aiEstimateSummary");       ///< [seconds, ...]
    static inline const QString coachKey = QStringLiteral("aiEstimateCoach");           ///< [seconds, ...]

    using Load = std::function<std::optional<base::Json>(const QString& key)>;
    using Save = std::function<void(const QString& key, const base::Json& value)>;

    AIEstimator(Load load, Save save);
    /// `defaults` must outlive it.
    explicit AIEstimator(base::PreferenceStore& defaults);

    /// Oldest first.
    [[nodiscard]] std::vector<Sample> transcribeSamples() const;
    [[nodiscard]] std::vector<double> summarySamples(bool practice) const;
    [[nodiscard]] double transcribeEstimate(double work) const;
    [[nodiscard]] double summaryEstimate(bool practice) const;
    /// Ignored unless there was work and a time of 0 or more.
    void recordTranscribe(double work, double seconds);
    void recordSummary(bool practice, double seconds);

    /// The same by step, for the queue.
    [[nodiscard]] double estimate(ai::AIStep step, const store::MeetingRecord& record) const;
    void record(ai::AIStep step, const store::MeetingRecord& record, double seconds);

    /// The least-squares line through the last samples, as far as they differ enough to tell; else a line with the
    /// usual fixed part through their mean.
    [[nodiscard]] static Fit fit(std::span<const Sample> samples);
    [[nodiscard]] static double average(std::span<const double> samples);
    /// The audio that a transcription has to go through: the recorded length, else that of the first file, for each
    /// track. 0 without tracks.
    [[nodiscard]] static double work(const store::MeetingRecord& record);

private:
    Load m_load;
    Save m_save;
};

} // namespace jobs
