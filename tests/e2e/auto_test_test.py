#!/usr/bin/python3
"""A whole recording from its command line, the lines that it prints, and the folder that it leaves."""

import json
import re
import stat

import harness
from harness import length

START = r"recording started \d+\.\d s after launch"
NUMBERS = r"duration: (\d+\.\d\d) mic: (\d+\.\d\d) system: (\d+\.\d\d|none) shots: (\d+)"


class AutoTest(harness.EndToEnd):
    def run_test(self, *arguments, **environment):
        program = self.start(*arguments, **environment)
        self.assertEqual(program.wait(), 0, program.told())
        return program

    def only_line(self, program, pattern):
        found = [line for line in program.lines if re.fullmatch(pattern, line)]
        self.assertEqual(len(found), 1, f"{pattern}: {program.told()}")
        return re.fullmatch(pattern, found[0])

    def test_a_meeting_of_six_seconds(self):
        program = self.run_test("--auto-test", "6")
        self.assert_finished(program)
        folder = self.home.folder
        self.assertRegex(folder.name, r"^\d{4}_\d\d_\d\d_\d{4}_auto_test_自動測試$")

        self.only_line(program, START)
        self.assertIn(str(folder), self.only_line(program, r"folder: (.*)")[1])
        duration, mic, system, shots = self.only_line(program, NUMBERS).groups()
        self.assertGreaterEqual(float(duration), 6)
        self.assertLess(float(duration), 12)
        for track in (mic, system):
            self.assertGreaterEqual(float(track), float(duration) - 0.01)
        self.only_line(program, r"mic restarts: [1-9]\d*.*")
        self.only_line(program, r"mode: meeting forms shown: 1")
        self.assertNotIn("auto-test failed", program.told())

        self.assertAlmostEqual(length(folder / "mic.m4a"), float(mic), delta=0.01)
        names = sorted(path.name for path in (folder / "shots").iterdir())
        self.assertEqual(len(names), int(shots), names)
        self.assertIn("shot_0000s.jpg", names)
        self.assertTrue({"shot_0003s.jpg", "shot_0004s.jpg"} & set(names), names)

    def test_meta_json_is_as_told(self):
        self.run_test("--auto-test", "2")
        raw = (self.home.folder / "meta.json").read_text("utf-8")
        meta = json.loads(raw)
        self.assertEqual(list(meta), sorted(["start", "end", "duration", "type", "people", "note", "screenshotsEnabled"]))
        self.assertEqual((meta["note"], meta["people"], meta["screenshotsEnabled"]), ("auto test 自動測試", [], True))
        self.assertAlmostEqual(meta["duration"], length(self.home.folder / "mic.m4a"), delta=0.2)
        self.assertEqual(round(meta["duration"], 1), meta["duration"])
        for key in ("start", "end"):
            self.assertRegex(meta[key], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(Z|[+-]\d\d:\d\d)$")

    def test_files_are_the_users_alone(self):
        self.run_test("--auto-test", "1")
        for path in self.home.path.rglob("*"):
            self.assertEqual(path.stat().st_mode & 0o077, 0, f"{path}: {stat.filemode(path.stat().st_mode)}")

    def test_a_practice_that_is_kept(self):
        program = self.run_test("--auto-test", "2", "--practice")
        self.assert_finished(program, tracks=("mic",))
        self.assertRegex(self.home.folder.name, r"^\d{4}_\d\d_\d\d_\d{4}_練習$")
        self.assertEqual(self.only_line(program, NUMBERS)[3], "none")
        self.only_line(program, r"mode: practice forms shown: 0")
        self.only_line(program, r"practice choice: \w+ keep card: hidden")
        self.assertEqual(self.home.meta()["mode"], "practice")

    def test_a_practice_that_is_discarded(self):
        program = self.run_test("--auto-test", "2", "--practice", "--discard")
        self.only_line(program, r"practice choice: discard keep card: hidden")
        self.assertEqual(self.home.folders, [])
        self.assertEqual(len(list((self.home.path / "Trash").iterdir())), 1)

    def test_a_second_recording_in_the_same_root(self):
        self.run_test("--auto-test", "1")
        program = self.run_test("--auto-test", "1")
        self.assertEqual(len(self.home.folders), 2)
        for folder in self.home.folders:
            self.assertEqual(harness.problems(self.home, folder), [], program.told())

    def test_nothing_is_written_outside_the_test_folder(self):
        self.run_test("--auto-test", "1")
        home = harness.pathlib.Path(harness.os.environ["HOME"])
        self.assertFalse((home / ".local/share/Tarvex").exists())


if __name__ == "__main__":
    harness.main()
