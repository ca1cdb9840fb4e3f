#!/usr/bin/python3
"""The demo's look at a transcript is green on a good one and red on each fault that is planted in it."""

import json
import os
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "../../tools"))
import recording_check  # noqa: E402  (found by the line above)
import transcript_check as check  # noqa: E402

SAID = {"mic": "The first part of the work is done. See you!", "system": "Thank you. I have two questions, about the budget."}  # ten words, nine words
GOOD = [("me", "the first part of the work is done"), ("them", "thank you i have two questions about the budget"), ("me", "see you")]


def lines(*spoken):
    return [check.Line(2.0 * place, 2.0 * place + 1.5, speaker, text) for place, (speaker, text) in enumerate(spoken)]


class TranscriptCheck(unittest.TestCase):
    def looked_at(self, found):
        report = recording_check.Report()
        check.check(report, found, SAID)
        return report

    def assert_red(self, found, *parts):
        report = self.looked_at(found)
        failures = [text for holds, text in report.lines if not holds]
        self.assertFalse(report.ok, str(report))
        for part in parts:
            self.assertTrue(any(part in text for text in failures), f"no failure says {part}:\n{report}")

    def test_a_good_transcript_is_green(self):
        report = self.looked_at(lines(*GOOD))
        self.assertTrue(report.ok, str(report))
        self.assertEqual(len(report.lines), 5)

    def test_four_wrong_words_of_ten_are_green_and_five_are_red(self):
        self.assertTrue(self.looked_at(lines(("me", "the x x x x work is done see you"), GOOD[1])).ok)
        self.assert_red(lines(("me", "x x x x x work is done see you"), GOOD[1]), "me: word error rate 50.0% (5 of 10 words)")

    def test_swapped_speakers_are_red(self):
        other = {"me": "them", "them": "me"}
        self.assert_red(lines(*((other[speaker], text) for speaker, text in GOOD)), "me: word error rate", "me is not them", "them is not me")

    def test_a_speaker_who_is_closer_to_the_other_is_red_however_few_words_are_right(self):
        self.assert_red(lines(("me", "have two questions about the budget"), GOOD[1]), "me is not them")

    def test_an_invented_text_beside_the_right_one_is_red(self):
        self.assert_red(lines(*GOOD, ("me", "and so on and on")), "me: word error rate 50.0%")

    def test_a_silent_speaker_is_red(self):
        self.assert_red(lines(GOOD[1]), "me: word error rate 100.0%")

    def test_no_transcript_is_red(self):
        self.assert_red([], "there is a transcript with 0 lines", "them: word error rate 100.0%")

    def test_edits_are_the_fewest_of_all_three_kinds(self):
        for said, heard, fewest in (("a b c", "a b c", 0), ("a b c", "a c", 1), ("a c", "a b c", 1), ("a b c", "a x c", 1), ("", "a b", 2),
                                    ("a b", "", 2), ("a b c d", "b c d e", 2)):
            with self.subTest(said=said, heard=heard):
                self.assertEqual(check.edits(said.split(), heard.split()), fewest)

    def test_case_and_punctuation_do_not_count_and_apostrophes_do(self):
        self.assertEqual(check.words("Don’t -- say \"OK\", Anna's here."), ["don't", "say", "ok", "anna's", "here"])

    def test_a_transcript_is_read_from_its_file_and_what_is_none_has_no_lines(self):
        with tempfile.TemporaryDirectory() as scratch:
            folder = pathlib.Path(scratch)
            self.assertEqual(check.read(folder), [])
            file = folder / "transcript.json"
            file.write_text(json.dumps({"segments": [{"start": 1, "end": 2.5, "speaker": "me", "text": "Good."}]}), "utf-8")
            self.assertEqual(check.read(folder), [check.Line(1.0, 2.5, "me", "Good.")])
            for broken in ("{", "[]", '{"segments": [{}]}', '{"segments": 3}'):
                file.write_text(broken, "utf-8")
                self.assertEqual(check.read(folder), [], broken)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
