"""Looks at a finished meeting folder from outside: is everything that was put in front of the recorder in it, in the
track and at the place where it belongs, and nothing else?

The program under test has no part in it: tracks and pictures are read with FFmpeg's programs, and sounds are found by
correlation with what was played.
"""

import dataclasses
import json
import pathlib
import re
import subprocess

import numpy

RATE = 16000  # for looking at speech; found are compared at the tracks' own rate
TRACKS = ("mic", "system")
PRESENT = 0.6  # correlation of a sentence with the track that holds it, however the other voice is treated; 1 is the same
ABSENT = 0.35  # the most that a sentence has in common with a track that does not hold it; other speech reaches 0.2
PLACE_TOLERANCE = 0.15  # seconds; the stamps of a busy sound server are off by some hundredths
SEARCH = 1.5  # seconds to either side of its place in which a sentence is looked for
OFF = 0.051  # seconds by which a track may differ from meta.json's duration, which is rounded to a tenth
APART = 0.001  # seconds by which the two tracks may differ in length
COLOUR_TOLERANCE = 24  # of 255, per channel, after JPEG
SLIDE_MARGIN = 1.5  # a picture's name has whole seconds, so near a change it may show either slide


@dataclasses.dataclass
class Sentence:
    """What was said, where in the recording its first sample belongs (seconds), and its samples at RATE."""
    text: str
    place: float
    samples: numpy.ndarray


@dataclasses.dataclass
class Slide:
    """What filled the screen from `since` on (seconds of the recording) until the next one came."""
    since: float
    colour: tuple


def output(*command):
    return subprocess.run(command, capture_output=True, check=True).stdout


def read_track(path):
    """A track as mono floats at RATE."""
    raw = output("ffmpeg", "-v", "error", "-i", path, "-ac", "1", "-ar", str(RATE), "-f", "f32le", "-")
    return numpy.frombuffer(raw, "<f4")


def track_frames(path):
    """Length in frames and the rate of a track, as its container tells them."""
    told = json.loads(output("ffprobe", "-v", "error", "-select_streams", "a:0", "-show_entries",
                             "stream=duration_ts,time_base,sample_rate", "-of", "json", path))["streams"][0]
    top, bottom = map(int, told["time_base"].split("/"))
    rate = int(told["sample_rate"])
    return round(told["duration_ts"] * top * rate / bottom), rate


def middle_colour(path):
    raw = output("ffmpeg", "-v", "error", "-i", path, "-frames:v", "1", "-pix_fmt", "rgb24", "-f", "rawvideo", "-")
    return tuple(int(value) for value in numpy.median(numpy.frombuffer(raw, numpy.uint8).reshape(-1, 3), axis=0))


def find(track, samples, first, last):
    """Where between two sample numbers `samples` fits best, and how well: 1 for the same sound at any loudness."""
    first, last = max(0, first), min(len(track) - len(samples), last)
    if last < first:
        return 0, 0.0
    part = track[first:last + len(samples)].astype(float)
    size = 1 << (len(part) + len(samples)).bit_length()
    product = numpy.fft.irfft(numpy.fft.rfft(part, size) * numpy.conj(numpy.fft.rfft(samples, size)), size)[:last - first + 1]
    power = numpy.cumsum(numpy.concatenate(([0.0], part * part)))
    energy = numpy.maximum(power[len(samples):] - power[:-len(samples)], 1e-9)
    fit = product / numpy.sqrt(energy * numpy.sum(samples.astype(float) ** 2))
    best = int(numpy.argmax(fit))
    return first + best, float(fit[best])


class Report:
    """Lines of what was looked at, each with its verdict."""

    def __init__(self):
        self.lines = []

    def say(self, holds, text):
        self.lines.append((bool(holds), text))

    @property
    def ok(self):
        return bool(self.lines) and all(holds for holds, _ in self.lines)

    def __str__(self):
        return "\n".join(("OK    " if holds else "FAIL  ") + text for holds, text in self.lines)


def check_files(report, folder):
    """The state of the folder; answers meta.json's content."""
    try:
        meta = json.loads((folder / "meta.json").read_text("utf-8"))
    except (OSError, ValueError) as error:
        meta = {}
        report.say(False, f"meta.json: {error}")
    report.say(meta.get("end"), f"meta.json has an end: {meta.get('end')}")
    caf = sorted(path.name for path in folder.glob("*.caf"))
    report.say(not caf, f"no CAF is left{': ' + ', '.join(caf) if caf else ''}")
    lock = folder.parent.parent / "recording.lock"
    report.say(not lock.exists(), "no lock is left")
    return meta


def check_tracks(report, folder, meta):
    found, lengths = [], []
    for name in TRACKS:
        path = folder / f"{name}.m4a"
        if not path.is_file():
            report.say(False, f"{name}.m4a is there")
            continue
        frames, rate = track_frames(path)
        found.append(name)
        seconds = frames / rate
        over = seconds - meta.get("duration", float("nan"))
        lengths.append(seconds)
        report.say(abs(over) <= OFF, f"{name}.m4a is as long as meta.json says: {seconds:.3f} s, {meta.get('duration')} s")
    report.say(len(found) == 2, f"there are two tracks: {', '.join(found) or 'none'}")
    if len(lengths) == 2:
        apart = abs(lengths[0] - lengths[1])
        report.say(apart <= APART, f"they are equally long: {apart * 1000:.2f} ms apart")


def check_voice(report, tracks, owner, sentences):
    """Every sentence is in its owner's track, at its place, and not in the other."""
    for sentence in sentences:
        middle = int(sentence.place * RATE)
        reach = int(SEARCH * RATE)
        for name, track in tracks.items():
            found, fit = find(track, sentence.samples, middle - reach, middle + reach)
            if name == owner:
                off = found / RATE - sentence.place
                report.say(fit >= PRESENT and abs(off) <= PLACE_TOLERANCE,
                           f"{name} holds \"{sentence.text}\" at {sentence.place:.2f} s: off by {off * 1000:+.0f} ms, fit {fit:.2f}")
            else:
                report.say(fit <= ABSENT, f"{name} does not hold \"{sentence.text}\": fit {fit:.2f}")


def check_shots(report, folder, slides, least):
    """At least `least` pictures, each showing what was on the screen at the second of its name."""
    shots = sorted((folder / "shots").glob("shot_*.jpg"))
    report.say(len(shots) >= least, f"at least {least} pictures: {', '.join(shot.name for shot in shots) or 'none'}")
    for shot in shots:
        second = int(re.match(r"shot_(\d+)s", shot.name)[1])
        colour = middle_colour(shot)
        shown = [slide.colour for slide, after in zip(slides, [*slides[1:], Slide(float("inf"), ())])
                 if slide.since - SLIDE_MARGIN <= second <= after.since + SLIDE_MARGIN]
        fits = any(max(abs(a - b) for a, b in zip(colour, expected)) <= COLOUR_TOLERANCE for expected in shown)
        report.say(fits, f"{shot.name} shows the slide of its second: {colour}, expected {' or '.join(map(str, shown))}")


def check_recording(folder, voices, slides, least_shots):
    """`voices` maps the name of a track to the sentences that it must hold."""
    folder, report = pathlib.Path(folder), Report()
    meta = check_files(report, folder)
    check_tracks(report, folder, meta)
    tracks = {name: read_track(folder / f"{name}.m4a") for name in TRACKS if (folder / f"{name}.m4a").is_file()}
    for owner, sentences in voices.items():
        check_voice(report, tracks, owner, sentences)
    check_shots(report, folder, slides, least_shots)
    return report
