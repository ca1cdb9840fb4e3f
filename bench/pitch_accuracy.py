#!/usr/bin/python3
"""How well the pitch of synthetic voices is found, beside aubiopitch (yinfft) and praat (autocorrelation).

    bench/pitch_accuracy.py BUILD_DIR

Harmonic tones whose pitch is known at every moment, with white noise 20 dB below the tone. For each kind of voice and
each tracker: gross errors (more than 20 percent off, of the frames that are voiced in both truth and answer), the mean
fine error of the others in cents, how much of the voice is found, and how much silence passes for voice. The goals are
those of the steady and slowly gliding tones: gross errors below 1 percent, fine error below 5 cents. Ends with 1 if our
tracker misses one.
"""
import pathlib
import subprocess
import sys
import tempfile
import wave

import numpy as np

RATE = 16000
SECONDS = 20
NOISE_DB = -20.0


def semitones(hz, moved):
    return hz * 2.0 ** (moved / 12.0)


def sawtooth(t, slope, reach):
    """Rises and falls at `slope` semitones a second between -reach and reach."""
    period = 4 * reach / slope
    phase = (t / period) % 1.0
    return reach * (4 * np.abs(phase - 0.5) - 1)


T = np.arange(SECONDS * RATE) / RATE
VOICES = {  # pitch in Hz at each sample, 0 where it is silent; whether the goals apply
    "steady 90 Hz": (np.full_like(T, 90.0), True),
    "steady 140 Hz": (np.full_like(T, 140.0), True),
    "steady 240 Hz": (np.full_like(T, 240.0), True),
    "steady 380 Hz": (np.full_like(T, 380.0), True),
    "glide 1 st/s": (semitones(150, sawtooth(T, 1, 5)), True),
    "glide 2 st/s": (semitones(200, sawtooth(T, 2, 6)), True),
    "glide 4 st/s": (semitones(160, sawtooth(T, 4, 8)), True),
    "glide 12 st/s": (semitones(160, sawtooth(T, 12, 8)), False),
    "glide 30 st/s": (semitones(160, sawtooth(T, 30, 8)), False),
    "vibrato 0.5 st 5 Hz": (semitones(180, 0.5 * np.sin(2 * np.pi * 5 * T)), False),
    "vibrato 2 st 6 Hz": (semitones(180, 2 * np.sin(2 * np.pi * 6 * T)), False),
    "syllables, silence": (np.where(T % 0.5 < 0.32, semitones(130, 3 * np.sin(T)), 0.0), False),
    "octave jumps": (np.where(T % 1.0 < 0.5, 110.0, 220.0), False),
}


def sound(hz, rng):
    phase = np.cumsum(hz) / RATE
    tone = sum(np.where(hz * h < RATE / 2, np.sin(2 * np.pi * h * phase) / h, 0) for h in range(1, 11))
    tone = np.where(hz > 0, tone, 0) * 0.25
    voiced = tone[hz > 0]
    noise = rng.normal(0, np.sqrt(np.mean(voiced ** 2)) * 10 ** (NOISE_DB / 20), len(tone))
    return tone + noise


def write_wav(path, samples):
    with wave.open(str(path), "wb") as out:
        out.setparams((1, 2, RATE, 0, "NONE", ""))
        out.writeframes((np.clip(samples, -1, 1) * 32767).astype("<i2").tobytes())


def pairs(command):
    lines = subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()
    values = [line.split() for line in lines]
    return np.array([(float(a), float(b)) for a, b in values if b not in ("--undefined--",)]).reshape(-1, 2)


def praat(path, folder):
    script = folder / "track.praat"
    script.write_text(f'Read from file: "{path}"\nTo Pitch (ac): 0.01, 75, 15, "no", 0.03, 0.45, 0.01, 0.35, 0.14, 400\n'
                      "n = Get number of frames\nfor i to n\nt = Get time from frame number: i\n"
                      'f = Get value in frame: i, "Hertz"\nappendInfoLine: fixed$ (t, 4), " ", f\nendfor\n')
    return pairs(["praat", "--run", str(script)])


def judge(found, hz, hop, step):
    """`found`: (time, Hz) of voiced frames. A frame belongs to the voice when its neighbourhood is voiced throughout."""
    found = found[found[:, 1] > 0]
    times = np.arange(0.05, SECONDS - 0.05, step)
    answer = np.zeros_like(times)
    if len(found):
        nearest = np.clip(np.searchsorted(found[:, 0], times), 1, max(len(found) - 1, 1))
        nearest -= (times - found[nearest - 1, 0]) < (found[np.minimum(nearest, len(found) - 1), 0] - times)
        close = np.abs(found[nearest, 0] - times) <= hop / 2
        answer[close] = found[nearest, 1][close]
    index = (times * RATE).astype(int)
    reach = int(0.03 * RATE)
    around = np.stack([hz[np.clip(index + o, 0, len(hz) - 1)] for o in (-reach, 0, reach)])
    truth, voiced, silent = around[1], (around > 0).all(axis=0), (around == 0).all(axis=0)
    both = voiced & (answer > 0)
    ratio = answer[both] / truth[both]
    gross = np.abs(ratio - 1) > 0.2
    cents = 1200 * np.abs(np.log2(ratio[~gross])) if (~gross).any() else np.array([np.nan])
    return (100 * gross.mean() if both.any() else 100.0, cents.mean(), 100 * (answer[voiced] > 0).mean(),
            100 * (answer[silent] > 0).mean() if silent.any() else 0.0)


def main():
    peer = str(pathlib.Path(sys.argv[1], "bin", "pitch_peer"))
    rng = np.random.default_rng(1)
    good = True
    print("| voice | tracker | gross errors % | fine error cents | voice found % | silence taken for voice % |")
    print("|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        path = folder / "voice.wav"
        for name, (hz, bound) in VOICES.items():
            write_wav(path, sound(hz, rng))
            answers = {
                "ours": judge(pairs([peer, "track", str(path)]), hz, 0.01, 0.01),
                # Its stamps are the beginnings of hops; the middle of the window lies half a window later.
                "aubio": judge(pairs(["aubiopitch", "-p", "yinfft", str(path)]) + [[256 / RATE - 1024 / RATE, 0]], hz, 256 / RATE, 0.01),
                "praat": judge(praat(path, folder), hz, 0.01, 0.01),
            }
            for tracker, (gross, cents, recall, false) in answers.items():
                print(f"| {name} | {tracker} | {gross:.2f} | {cents:.2f} | {recall:.1f} | {false:.1f} |")
            if bound and not (answers["ours"][0] < 1 and answers["ours"][1] < 5):
                good = False
    print("OK   goals" if good else "FAIL goals")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
