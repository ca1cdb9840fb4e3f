#!/usr/bin/python3
"""The demo's look at its recording is green on a good folder and red on each fault that is planted in it."""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import numpy

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "../../tools"))
import recording_check as check  # noqa: E402  (found by the line above)

SECONDS = 20
SLIDES = [check.Slide(-1.0, (32, 64, 127)), check.Slide(7.0, (127, 48, 32)), check.Slide(14.0, (32, 111, 48))]


def sentence(seed, place):
    """Two seconds of noise with the slow rise and fall of speech: like nothing else."""
    random = numpy.random.default_rng(seed)
    samples = random.standard_normal(2 * check.RATE) * (1.2 + numpy.sin(numpy.arange(2 * check.RATE) / 1500.0)) * 0.1
    smooth = numpy.convolve(samples, numpy.ones(4) / 4, "same")
    return check.Sentence(f"sentence {seed}", place, smooth.astype(numpy.float32))


VOICES = {"mic": [sentence(1, 2.0), sentence(2, 9.0), sentence(3, 16.0)], "system": [sentence(4, 5.0), sentence(5, 10.0), sentence(6, 17.0)]}


class RecordingCheck(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.good = pathlib.Path(cls.scratch.name, "good")
        folder = cls.good / "Meetings/2025_03_07_0930_demo"
        (folder / "shots").mkdir(parents=True)
        (folder / "meta.json").write_text(json.dumps({"start": "2025-03-07T09:30:00Z", "end": "2025-03-07T09:30:20Z", "duration": SECONDS}))
        for name, sentences in VOICES.items():
            cls.write_track(folder / f"{name}.m4a", sentences)
        for second, slide in ((0, 0), (10, 1), (18, 2)):
            cls.write_shot(folder / f"shots/shot_{second:04d}s.jpg", SLIDES[slide].colour)

    @staticmethod
    def write_track(path, sentences, shift=0.0, seconds=SECONDS):
        track = numpy.zeros(int(seconds * check.RATE), numpy.float32)
        for one in sentences:
            first = int((one.place + shift) * check.RATE)
            part = track[first:first + len(one.samples)]
            part += one.samples[:len(part)]
        subprocess.run(("ffmpeg", "-v", "error", "-y", "-f", "f32le", "-ar", str(check.RATE), "-i", "-", "-ar", "48000", "-b:a", "96k",
                        "-movie_timescale", "48000", path), input=track.tobytes(), check=True)

    @staticmethod
    def write_shot(path, colour):
        subprocess.run(("ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "color=0x%02x%02x%02x:s=320x180" % colour, "-frames:v", "1", path),
                       check=True)

    def setUp(self):
        self.root = pathlib.Path(self.scratch.name, self.id())
        shutil.copytree(self.good, self.root)
        self.folder = self.root / "Meetings/2025_03_07_0930_demo"

    def looked_at(self, least_shots=3):
        return check.check_recording(self.folder, VOICES, SLIDES, least_shots)

    def assert_red(self, *parts):
        report = self.looked_at()
        failures = [text for holds, text in report.lines if not holds]
        self.assertFalse(report.ok, str(report))
        for part in parts:
            self.assertTrue(any(part in text for text in failures), f"no failure says {part}:\n{report}")

    def test_a_good_recording_is_green(self):
        report = self.looked_at()
        self.assertTrue(report.ok, str(report))
        self.assertGreater(len(report.lines), 15)

    def test_a_shift_within_the_tolerance_is_green(self):
        self.write_track(self.folder / "mic.m4a", VOICES["mic"], shift=0.1)
        self.assertTrue(self.looked_at().ok)

    def test_swapped_tracks_are_red(self):
        mic, system = self.folder / "mic.m4a", self.folder / "system.m4a"
        mic.rename(self.folder / "other")
        system.rename(mic)
        (self.folder / "other").rename(system)
        self.assert_red('mic holds "sentence 1"', 'system does not hold "sentence 1"', 'system holds "sentence 4"')

    def test_one_voice_in_both_tracks_is_red(self):
        self.write_track(self.folder / "mic.m4a", VOICES["mic"] + VOICES["system"])
        self.assert_red('mic does not hold "sentence 4"')

    def test_a_track_shifted_by_three_tenths_is_red_in_either_direction(self):
        for shift in (0.3, -0.3):
            with self.subTest(shift=shift):
                self.write_track(self.folder / "mic.m4a", VOICES["mic"], shift=shift)
                self.assert_red('mic holds "sentence 1"', f"off by {shift * 1000:+.0f} ms")

    def test_both_tracks_shifted_alike_are_red(self):
        for name, sentences in VOICES.items():
            self.write_track(self.folder / f"{name}.m4a", sentences, shift=0.3)
        self.assert_red('mic holds "sentence 1"', 'system holds "sentence 4"')

    def test_a_track_that_loses_time_in_the_middle_is_red_from_there_on(self):
        later = [check.Sentence(one.text, one.place - 0.3 * (one.place > 8), one.samples) for one in VOICES["system"]]
        self.write_track(self.folder / "system.m4a", later)
        self.assert_red('system holds "sentence 5"', 'system holds "sentence 6"')
        self.assertIn(True, [holds for holds, text in self.looked_at().lines if 'system holds "sentence 4"' in text])

    def test_a_silent_track_is_red(self):
        self.write_track(self.folder / "mic.m4a", [])
        self.assert_red('mic holds "sentence 1"', "fit 0.00")

    def test_a_truncated_track_is_red(self):
        self.write_track(self.folder / "mic.m4a", VOICES["mic"], seconds=15)
        self.assert_red("mic.m4a is as long as", 'mic holds "sentence 3"')

    def write_tracks_of(self, seconds):
        for name, sentences in VOICES.items():
            self.write_track(self.folder / f"{name}.m4a", sentences, seconds=seconds)

    def test_tracks_may_differ_from_the_told_length_by_its_rounding_and_no_more(self):
        for off in (-0.05, 0.05):
            self.write_tracks_of(SECONDS + off)
            self.assertTrue(self.looked_at().ok)
        for off in (-0.053, 0.053):
            self.write_tracks_of(SECONDS + off)
            self.assert_red("mic.m4a is as long as", "system.m4a is as long as")

    def test_tracks_of_unequal_length_are_red(self):
        self.write_track(self.folder / "mic.m4a", VOICES["mic"], seconds=SECONDS + 0.002)
        self.assert_red("they are equally long")

    def test_both_tracks_truncated_alike_are_red(self):
        for name, sentences in VOICES.items():
            self.write_track(self.folder / f"{name}.m4a", sentences, seconds=SECONDS - 0.6)
        self.assert_red("mic.m4a is as long as", "system.m4a is as long as")

    def test_a_missing_track_is_red(self):
        (self.folder / "system.m4a").unlink()
        self.assert_red("system.m4a is there", "there are two tracks: mic")

    def test_missing_pictures_are_red(self):
        (self.folder / "shots/shot_0010s.jpg").unlink()
        self.assert_red("at least 3 pictures")
        shutil.rmtree(self.folder / "shots")
        self.assert_red("at least 3 pictures: none")

    def test_a_picture_of_another_moment_is_red(self):
        (self.folder / "shots/shot_0010s.jpg").rename(self.folder / "shots/shot_0004s.jpg")
        self.assert_red("shot_0004s.jpg shows the slide of its second")

    def test_near_a_change_either_slide_will_do(self):
        (self.folder / "shots/shot_0010s.jpg").rename(self.folder / "shots/shot_0006s.jpg")
        self.assertTrue(self.looked_at().ok)

    def test_a_recording_without_an_end_is_red(self):
        meta = self.folder / "meta.json"
        meta.write_text(meta.read_text().replace('"2025-03-07T09:30:20Z"', "null"))
        self.assert_red("meta.json has an end")
        meta.write_text("{")
        self.assert_red("meta.json: ")

    def test_what_an_unfinished_recording_leaves_is_red(self):
        (self.folder / "mic.caf").touch()
        self.assert_red("no CAF is left: mic.caf")
        (self.folder / "mic.caf").unlink()
        (self.root / "recording.lock").touch()
        self.assert_red("no lock is left")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
