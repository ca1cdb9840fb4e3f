"""Measures a voice in a plain way of its own, and compares the numbers of a practice take with that.

The program under test has no part in what is expected: pauses are where the source is quiet, pitch is found by
autocorrelation, and the words are those that the voice was given.
"""

import dataclasses

import numpy
import transcript_check

RATE = 16000
FRAME = RATE // 100  # samples of a frame that is loud or quiet
LOUD_DB = -40.0  # relative to the loudest frame; the voice is synthetic, so between its sentences there is nothing at all
LONG_PAUSE = 2.0  # seconds
LEAST_PAUSE = 0.4  # seconds; what is shorter belongs to the words

PITCH_WINDOW = RATE // 20
PITCH_HOP = RATE // 100
HZ = (75, 400)
VOICED = 0.6  # autocorrelation at the pitch, relative to that of the same sound with itself

SPOKEN_TOLERANCE = 0.6  # seconds
PAUSE_TOLERANCE = 0.4  # seconds, of its length
PLACE_TOLERANCE = 0.5  # seconds, of where it begins
MEDIAN_TOLERANCE = 0.02  # of the median pitch
SPREAD_TOLERANCE = 0.4  # semitones
WORDS_TOLERANCE = 0.10  # of the words


@dataclasses.dataclass
class Pause:
    start: float
    seconds: float

    def __str__(self):
        return f"{self.seconds:.2f} s at {self.start:.2f} s"


@dataclasses.dataclass
class Source:
    """What was put in; times in seconds of the recording."""
    begin: float
    end: float
    pauses: list  # every one of at least LEAST_PAUSE
    median_hz: float
    spread: float  # standard deviation in semitones
    text: str
    fillers: dict  # how often each was said
    unheard: tuple  # the fillers that the speech engine is known to miss: told, not judged

    @property
    def spoken(self):
        return self.end - self.begin

    @property
    def long_pauses(self):
        return [pause for pause in self.pauses if pause.seconds >= LONG_PAUSE]


def stretches(samples):
    """Where it is loud, in seconds, across the short holes between words."""
    frames = samples[:len(samples) // FRAME * FRAME].reshape(-1, FRAME).astype(float)
    power = numpy.mean(frames ** 2, axis=1)
    loud = numpy.flatnonzero(power > power.max() * 10 ** (LOUD_DB / 10))
    breaks = numpy.flatnonzero(numpy.diff(loud) * FRAME >= LEAST_PAUSE * RATE)
    firsts = loud[numpy.concatenate(([0], breaks + 1))]
    lasts = loud[numpy.concatenate((breaks, [len(loud) - 1]))]
    return [(first * FRAME / RATE, (last + 1) * FRAME / RATE) for first, last in zip(firsts, lasts)]


def pitch_of(window):
    """Of one window of samples, in Hz; nan where it has none. The peak of the autocorrelation, divided by that of the
    window's own shape so that long periods are not at a disadvantage."""
    shape = numpy.hanning(len(window))
    size = 2 * len(window)

    def autocorrelation(samples):
        found = numpy.fft.irfft(numpy.abs(numpy.fft.rfft(samples, size)) ** 2)[:RATE // HZ[0] + 2]
        return found / max(found[0], 1e-12)

    fit = autocorrelation((window - window.mean()) * shape) / autocorrelation(shape)
    lags = numpy.arange(RATE // HZ[1], RATE // HZ[0] + 1)
    peaks = lags[(fit[lags] >= fit[lags - 1]) & (fit[lags] >= fit[lags + 1])]
    if not len(peaks) or fit[peaks].max() < VOICED:
        return numpy.nan
    lag = peaks[fit[peaks] >= fit[peaks].max() * 0.9][0]  # the first of the high ones: later ones are its multiples
    left, middle, right = fit[lag - 1:lag + 2]
    bend = left - 2 * middle + right
    return RATE / (lag + (0.5 * (left - right) / bend if bend else 0.0))


def pitches(samples):
    """Of every voiced frame, in Hz."""
    loudest = numpy.sqrt(numpy.mean(samples.astype(float) ** 2))
    found = []
    for first in range(0, len(samples) - PITCH_WINDOW, PITCH_HOP):
        window = samples[first:first + PITCH_WINDOW].astype(float)
        if numpy.sqrt(numpy.mean(window ** 2)) > loudest * 0.1:
            found.append(pitch_of(window))
    found = numpy.array(found)
    return found[~numpy.isnan(found)]


def measure(samples, began, text, fillers, unheard):
    """`samples` at RATE; `began`: the second of the recording at which the first of them sounded."""
    loud = [(first + began, last + began) for first, last in stretches(samples)]
    hz = pitches(samples)
    median = float(numpy.median(hz))
    return Source(loud[0][0], loud[-1][1], [Pause(before[1], after[0] - before[1]) for before, after in zip(loud, loud[1:])], median,
                  float(numpy.std(12 * numpy.log2(hz / median))), text, fillers, unheard)


def pauses_between(lines):
    """The long pauses of a transcript, in seconds of the recording."""
    found, end = [], None
    for line in sorted(lines, key=lambda one: one.start):
        if end is not None and line.start - end >= LONG_PAUSE - 0.0001:
            found.append(Pause(end, line.start - end))
        end = line.end if end is None else max(end, line.end)
    return found


def close(value, expected, tolerance):
    return value is not None and abs(value - expected) <= tolerance


def same_pause(one, other):
    return close(one.start, other.start, PLACE_TOLERANCE) and close(one.seconds, other.seconds, PAUSE_TOLERANCE)


def check_pauses(report, stats, lines, source):
    long = source.long_pauses
    report.say(stats["longPauses"] == len(long), f"long pauses: {stats['longPauses']}, put in {len(long)}")
    found = pauses_between(lines)
    for pause in long:
        near = min(found, key=lambda one, at=pause.start: abs(one.start - at), default=None)
        report.say(near and same_pause(near, pause), f"  pause {near}, put in {pause} (± {PAUSE_TOLERANCE} s, its place ± {PLACE_TOLERANCE} s)")
    longest = max(long, key=lambda one: one.seconds)
    told = Pause(stats["longestPauseAt"] or 0.0, stats["longestPauseSeconds"] or 0.0)
    report.say(same_pause(told, longest), f"longest pause: {told}, put in {longest}")


def check_pitch(report, stats, source):
    pitch = stats["pitch"] or {}
    median, spread = pitch.get("medianHz"), pitch.get("semitoneSD")
    report.say(close(median, source.median_hz, source.median_hz * MEDIAN_TOLERANCE),
               f"median pitch: {median} Hz, put in {source.median_hz:.1f} Hz (± {MEDIAN_TOLERANCE:.0%})")
    report.say(close(spread, source.spread, SPREAD_TOLERANCE),
               f"spread of the pitch: {spread} semitones, put in {source.spread:.1f} (± {SPREAD_TOLERANCE})")


def check_words(report, stats, lines, source):
    said = len(transcript_check.words(source.text))
    report.say(close(stats["words"], said, said * WORDS_TOLERANCE), f"words: {stats['words']}, put in {said} (± {WORDS_TOLERANCE:.0%})")
    rate = transcript_check.error_rate(source.text, " ".join(line.text for line in lines))
    report.say(rate <= transcript_check.WORST, f"word error rate {rate:.1%}, at most {transcript_check.WORST:.0%}")


def check_fillers(report, stats, source):
    """Those that the engine hears must be counted exactly; of the others there may be none or as many as were said."""
    heard = {each["word"]: each["count"] for each in stats["fillers"]}
    for word in sorted(source.fillers | heard):
        count, said = heard.get(word, 0), source.fillers.get(word, 0)
        if word in source.unheard:
            report.say(count <= said, f"filler \"{word}\": {count}, put in {said} (this engine is known to miss it: up to {said} will do)")
        else:
            report.say(count == said, f"filler \"{word}\": {count}, put in {said} (± 0)")


def check(report, stats, lines, source):
    """`stats`: the numbers of the program, in the form that stands in coach.json."""
    report.say(lines, f"there is a transcript with {len(lines)} lines")
    report.say(close(stats["spokenSeconds"], source.spoken, SPOKEN_TOLERANCE),
               f"spoken time: {stats['spokenSeconds']} s, put in {source.spoken:.1f} s (± {SPOKEN_TOLERANCE} s)")
    check_pauses(report, stats, lines, source)
    check_pitch(report, stats, source)
    check_words(report, stats, lines, source)
    check_fillers(report, stats, source)
