#!/usr/bin/python3
"""Pitch of an hour of speech beside aubiopitch and praat, and the analysis of an hour of m4a beside ffmpeg's decoding.

    bench/pitch.py BUILD_DIR [--minutes 60] [--keep FOLDER]

The speech is espeak-ng's, in several voices and pitches. Trackers run as whole processes on one core, their processor
time counts; the analysis of the m4a runs on all cores, its wall time counts. Ends with 1 if a goal is missed: a fifth of
aubiopitch's time, 1.2 times ffmpeg's decoding, and the same frames and pitches as the tracker told plainly.
"""
import argparse
import os
import pathlib
import resource
import subprocess
import sys
import tempfile
import time
import wave

RATE = 16000
TEXTS = {
    "en": "So, let me walk you through the plan for the next quarter. First, um, we look at the numbers, then at what "
          "customers told us. Is that clear? I think it is really important that we get this right!",
    "cmn": "大家好，今天我想跟各位報告我們的新計畫。首先看一下數字，然後再討論客戶的意見。這樣清楚嗎？我覺得非常重要。",
}


def speech(path, seconds):
    """Distinct sentences in turn, each spoken at its own pitch and pace, until the time is full."""
    with tempfile.TemporaryDirectory() as folder, wave.open(str(path), "wb") as out:
        out.setparams((1, 2, RATE, 0, "NONE", ""))
        pieces = []
        for voice, pitch, pace in ((v, p, s) for p in (20, 35, 50, 65, 80) for s in (140, 175) for v in TEXTS):
            raw, piece = f"{folder}/raw.wav", f"{folder}/{voice}{pitch}{pace}.s16"
            subprocess.run(["espeak-ng", "-v", voice, "-p", str(pitch), "-s", str(pace), "-w", raw, TEXTS[voice]], check=True)
            subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", raw, "-ar", str(RATE), "-ac", "1", "-f", "s16le", piece], check=True)
            pieces.append(pathlib.Path(piece).read_bytes() + b"\0" * RATE)
        left, i = seconds * RATE * 2, 0
        while left > 0:
            block = pieces[i % len(pieces)][:left]
            out.writeframesraw(block)
            left, i = left - len(block), i + 1


def cpu_seconds(command, core=0):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(["taskset", "-c", str(core), *command], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def wall_seconds(command):
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.perf_counter() - start


def peak_megabytes(command):
    script = "import resource,subprocess,sys;subprocess.run(sys.argv[1:],check=True,stdout=subprocess.DEVNULL);" \
             "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)"
    return int(subprocess.run([sys.executable, "-c", script, *command], check=True, capture_output=True).stdout) / 1024


def best(measure, command, rounds):
    return min(measure(command) for _ in range(rounds))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build_dir")
    parser.add_argument("--minutes", type=int, default=60)
    parser.add_argument("--keep")
    options = parser.parse_args()
    peer = str(pathlib.Path(options.build_dir, "bin", "pitch_peer"))
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(options.keep or temporary)
        wav, m4a, script = folder / "speech.wav", folder / "speech.m4a", folder / "pitch.praat"
        if not wav.exists():
            speech(wav, options.minutes * 60)
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", wav, "-ar", "48000", "-c:a", "aac", "-b:a", "96k", m4a], check=True)
        script.write_text(f'Read from file: "{wav}"\nTo Pitch (ac): 0.01, 75, 15, "no", 0.03, 0.45, 0.01, 0.35, 0.14, 400\n')

        ours = best(cpu_seconds, [peer, "quiet", str(wav)], 3)
        aubio = best(cpu_seconds, ["aubiopitch", "-p", "yinfft", str(wav)], 1)
        praat = best(cpu_seconds, ["praat", "--run", str(script)], 1)
        analyze = best(wall_seconds, [peer, "analyze", str(m4a)], 3)
        decode = best(wall_seconds, ["ffmpeg", "-v", "error", "-i", str(m4a), "-ar", str(RATE), "-ac", "1", "-f", "f32le", os.devnull, "-y"], 3)
        memory = peak_megabytes([peer, "analyze", str(m4a)])
        words = subprocess.run([peer, "compare", str(wav)], check=True, capture_output=True, text=True).stdout.split()
        frames, voiced, voicing, pitch = (int(words[i]) for i in (1, 3, 5, 7))

    good = True
    for name, fine, text in (
            ("tracking", ours * 5 <= aubio, f"{ours:.2f} s, aubiopitch {aubio:.2f} s (1/{aubio / ours:.1f}), praat {praat:.2f} s (1/{praat / ours:.1f})"),
            ("analysis", analyze <= 1.2 * decode, f"{analyze:.2f} s, ffmpeg's decoding {decode:.2f} s ({analyze / decode:.2f} times)"),
            ("agreement", voicing <= frames * 1e-4 and pitch == 0, f"{frames} frames, {voiced} voiced, {voicing} of other voicing, {pitch} of other pitch, worst {words[9]}"),
            ("memory", True, f"{memory:.0f} MB at most for the analysis")):
        print(f"{'OK  ' if fine else 'FAIL'} {name}: {text}")
        good = good and fine
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
