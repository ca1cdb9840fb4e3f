#!/usr/bin/python3
"""The demo's own measures find what a made-up voice does, and its look at the numbers of a practice take is green on
right ones and red on each fault that is planted in them."""

import copy
import os
import sys
import unittest

import numpy

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "../../tools"))
import practice_check as check  # noqa: E402  (found by the line above)
import recording_check  # noqa: E402
from transcript_check import Line  # noqa: E402

TEXT = "Um, you know, this is the plan. Actually, we go there now. You know the rest of it already, friends."  # 20 words
FILLERS = {"um": 1, "you know": 2, "actually": 1}
TALK = [(1.0, 3.0), (4.4, 6.0), (9.0, 12.0), (16.0, 18.0)]  # pauses of 1.4, 3 and 4 seconds
BEGAN = 0.5  # second of the recording at which the source began


def voice(*stretches, low=150.0, high=150.0, every=0.2):
    """Buzzing that goes between two pitches, a moment of each in turn."""
    time = numpy.arange(int((stretches[-1][1] + 1.0) * check.RATE)) / check.RATE
    hz = numpy.where(time % (2 * every) < every, low, high)
    phase = 2 * numpy.pi * numpy.cumsum(hz) / check.RATE
    buzz = sum(numpy.sin(number * phase) / number for number in range(1, 11)) * 0.2
    speaks = numpy.zeros(len(time), bool)
    for first, last in stretches:
        speaks |= (time >= first) & (time < last)
    return numpy.where(speaks, buzz, 0.0).astype(numpy.float32)


class Measures(unittest.TestCase):
    def test_stretches_are_found_to_a_frame_or_two(self):
        found = check.stretches(voice(*TALK))
        self.assertEqual(len(found), len(TALK))
        for one, other in zip(found, TALK):
            numpy.testing.assert_allclose(one, other, atol=0.021)

    def test_a_hole_shorter_than_the_least_pause_is_none(self):
        self.assertEqual(len(check.stretches(voice((1.0, 2.0), (2.0 + check.LEAST_PAUSE - 0.05, 4.0)))), 1)
        self.assertEqual(len(check.stretches(voice((1.0, 2.0), (2.0 + check.LEAST_PAUSE + 0.05, 4.0)))), 2)

    def test_a_steady_pitch_is_found_wherever_it_is(self):
        for hz in (85.0, 110.0, 167.0, 230.0, 370.0):
            with self.subTest(hz=hz):
                found = check.pitches(voice((0.5, 2.5), low=hz, high=hz))
                self.assertGreater(len(found), 180)
                self.assertAlmostEqual(float(numpy.median(found)), hz, delta=hz * 0.01)
                self.assertLess(float(numpy.percentile(numpy.abs(found / hz - 1), 98)), 0.02)

    def test_noise_and_silence_have_no_pitch(self):
        noise = numpy.random.default_rng(5).standard_normal(2 * check.RATE).astype(numpy.float32)
        self.assertLess(len(check.pitches(noise)), 20)
        self.assertEqual(len(check.pitches(numpy.zeros(check.RATE, numpy.float32))), 0)

    def test_the_whole_source_is_measured_in_the_recordings_time(self):
        source = check.measure(voice(*TALK, low=150.0, high=150.0 * 2 ** (2 / 12)), BEGAN, TEXT, FILLERS, ())
        self.assertAlmostEqual(source.begin, 1.5, delta=0.03)
        self.assertAlmostEqual(source.spoken, 17.0, delta=0.03)
        self.assertEqual([round(pause.seconds, 1) for pause in source.pauses], [1.4, 3.0, 4.0])
        self.assertEqual([round(pause.start, 1) for pause in source.long_pauses], [6.5, 12.5])
        self.assertAlmostEqual(source.spread, 1.0, delta=0.15)  # two semitones apart: one to either side


class Comparison(unittest.TestCase):
    def setUp(self):
        self.source = check.Source(1.5, 18.5, [check.Pause(3.5, 1.4), check.Pause(6.5, 3.0), check.Pause(12.5, 4.0)], 160.0, 2.0, TEXT,
                                   FILLERS, ("um",))
        self.lines = [Line(1.5, 3.5, "me", "Um, you know, this is the plan."), Line(4.9, 6.5, "me", "Actually, we go there now."),
                      Line(9.5, 12.5, "me", "You know the rest"), Line(16.5, 18.5, "me", "of it already, friends.")]
        self.stats = {"spokenSeconds": 17.0, "longPauses": 2, "longestPauseSeconds": 4.0, "longestPauseAt": 12.5, "words": 20,
                      "fillers": [{"word": "um", "count": 1}, {"word": "you know", "count": 2}, {"word": "actually", "count": 1}],
                      "pitch": {"medianHz": 160.0, "semitoneSD": 2.0}}

    def looked_at(self):
        report = recording_check.Report()
        check.check(report, self.stats, self.lines, self.source)
        return report

    def assert_green(self):
        report = self.looked_at()
        self.assertTrue(report.ok, str(report))

    def assert_red(self, *parts):
        report = self.looked_at()
        failures = [text for holds, text in report.lines if not holds]
        self.assertEqual(len(failures), len(parts), str(report))
        for part, text in zip(parts, failures):
            self.assertIn(part, text)

    def assert_limit(self, value, tolerance, part, change):
        """Green just within the tolerance, red just beyond it, to both sides."""
        before = copy.deepcopy(self.stats)
        for sign in (1, -1):
            for factor, green in ((0.98, True), (1.02, False)):
                with self.subTest(sign=sign, factor=factor):
                    self.stats = copy.deepcopy(before)
                    change(value + sign * factor * tolerance)
                    if green:
                        self.assert_green()
                    else:
                        self.assert_red(part)
        self.stats = before

    def test_right_numbers_are_green(self):
        self.assert_green()
        self.assertEqual(len(self.looked_at().lines), 13)

    def test_spoken_time_has_a_tolerance_to_both_sides(self):
        self.assert_limit(17.0, check.SPOKEN_TOLERANCE, "spoken time", lambda value: self.stats.update(spokenSeconds=value))

    def test_one_long_pause_too_many_or_too_few_is_red(self):
        for count in (1, 3):
            self.stats["longPauses"] = count
            self.assert_red(f"long pauses: {count}, put in 2")

    def test_the_longest_pause_has_tolerances(self):
        self.assert_limit(4.0, check.PAUSE_TOLERANCE, "longest pause", lambda value: self.stats.update(longestPauseSeconds=value))
        self.assert_limit(12.5, check.PLACE_TOLERANCE, "longest pause", lambda value: self.stats.update(longestPauseAt=value))

    def test_no_longest_pause_is_red(self):
        self.stats |= {"longestPauseSeconds": None, "longestPauseAt": None}
        self.assert_red("longest pause")

    def test_a_pause_of_the_transcript_at_another_place_is_red(self):
        self.lines[1].end -= 0.6
        self.lines[2].start -= 0.6
        self.assert_red("put in 3.00 s at 6.50 s")

    def test_a_pause_of_another_length_is_red(self):
        self.lines[2].start += 0.5
        self.assert_red("put in 3.00 s at 6.50 s")

    def test_pauses_of_the_transcript_begin_behind_all_that_was_said_before(self):
        lines = [Line(0, 5, "me", "a"), Line(1, 2, "me", "b"), Line(6.9, 8, "me", "c"), Line(10, 11, "me", "d")]
        self.assertEqual(check.pauses_between(lines), [check.Pause(8, 2)])
        self.assertEqual(check.pauses_between([]), [])

    def test_the_median_pitch_has_a_tolerance(self):
        self.assert_limit(160.0, 160.0 * check.MEDIAN_TOLERANCE, "median pitch", lambda value: self.stats["pitch"].update(medianHz=value))

    def test_the_spread_has_a_tolerance(self):
        self.assert_limit(2.0, check.SPREAD_TOLERANCE, "spread of the pitch", lambda value: self.stats["pitch"].update(semitoneSD=value))

    def test_without_a_pitch_both_lines_are_red(self):
        self.stats["pitch"] = None
        self.assert_red("median pitch: None", "spread of the pitch: None")

    def test_two_words_of_twenty_are_within_the_tolerance_and_three_are_not(self):
        for words, green in ((18, True), (22, True), (17, False), (23, False)):
            self.stats["words"] = words
            if green:
                self.assert_green()
            else:
                self.assert_red(f"words: {words}, put in 20")

    def test_words_that_were_not_said_are_red(self):
        for line in self.lines[:3]:
            line.text = " ".join("x" for _ in line.text.split())
        self.assert_red("word error rate")

    def test_a_filler_too_many_too_few_or_never_said_is_red(self):
        for count in (1, 3):
            self.stats["fillers"][1]["count"] = count
            self.assert_red(f'filler "you know": {count}, put in 2')
        self.stats["fillers"][1] = {"word": "basically", "count": 1}
        self.assert_red('filler "basically": 1, put in 0', 'filler "you know": 0, put in 2')

    def test_a_filler_that_the_engine_misses_may_be_missing_but_not_too_many(self):
        del self.stats["fillers"][0]
        self.assert_green()
        self.stats["fillers"].append({"word": "um", "count": 2})
        self.assert_red('filler "um": 2, put in 1')

    def test_no_transcript_is_red(self):
        self.lines = []
        self.assert_red("there is a transcript", "pause None, put in 3.00 s", "pause None, put in 4.00 s", "word error rate")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
