#!/usr/bin/python3
"""The demo's stage: the tool that it hands to the program for summaries, and which takes count as whole."""

import contextlib
import io
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest
from unittest import mock

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "../../tools"))
import demo_stage  # noqa: E402  (found by the line above)


class Stage(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = pathlib.Path(scratch.name)

    def program(self, name, body):
        path = self.scratch / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(f"#!/bin/sh\n{body}\n", "utf-8")
        path.chmod(0o755)
        return path


class SummaryTool(Stage):
    def run_tool(self, **environment):
        return subprocess.run((demo_stage.summary_tool(self.scratch), "-p", "a b"), env={"HOME": "/desk"} | environment, input="asked",
                              capture_output=True, text=True, check=False)

    def test_without_a_tool_it_says_so_and_fails(self):
        for environment in ({}, {demo_stage.CLAUDE: ""}):
            ended = self.run_tool(**environment)
            self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (127, "", "claude is not installed on this machine\n"))

    def test_the_users_tool_runs_in_the_users_home(self):
        tool = self.program("own/claude", 'echo "$HOME|$*|$(cat)"; exit 6')
        ended = self.run_tool(**{demo_stage.CLAUDE: str(tool), demo_stage.USER_HOME: "/users/own"})
        self.assertEqual((ended.returncode, ended.stdout), (6, "/users/own|-p a b|asked\n"))

    def test_the_users_tool_is_found_in_the_path_and_in_the_users_own_folder(self):
        for place in ("bin", ".local/bin"):
            with self.subTest(place=place), mock.patch.dict(os.environ, {"HOME": str(self.scratch), "PATH": str(self.scratch / "bin")}):
                demo_stage.remember_users_tools()
                self.assertEqual(os.environ[demo_stage.CLAUDE], "")
                tool = self.program(f"{place}/claude", "")
                demo_stage.remember_users_tools()
                self.assertEqual((os.environ[demo_stage.CLAUDE], os.environ[demo_stage.USER_HOME]), (str(tool), str(self.scratch)))
                tool.unlink()


class Takes(Stage):
    """A take of a program that a small script stands in for."""

    GOOD = 'mkdir -p "$TARVEX_HOME/Meetings/one"; : >"$TARVEX_HOME/Meetings/one/mic.caf"; echo "recording started 0.1 s after launch"'

    def take(self, body, clips=("mic", "system")):
        self.program("bin/play", 'echo 5.0')
        take = demo_stage.Take(self.program("program", body), self.scratch / "home")
        said = io.StringIO()
        with mock.patch.dict(os.environ, {"PATH": f"{self.scratch}/bin:/usr/bin:/bin"}), contextlib.redirect_stdout(said):
            take.record((), {name: f"{name}.wav" for name in clips}, self.scratch)
            take.watch.join(10 if "mic.caf" in body else 0)  # the script leaves the file, so a late look sees it too
            whole = take.is_whole(dict.fromkeys(clips))
        return take, whole, said.getvalue()

    def test_one_recording_is_whole(self):
        take, whole, said = self.take(self.GOOD)
        self.assertTrue(whole, said)
        self.assertEqual(take.heard, {"mic": 5.0, "system": 5.0})
        self.assertEqual(take.lines, ["recording started 0.1 s after launch"])

    def test_a_failed_program_is_not(self):
        _, whole, said = self.take(self.GOOD + "; exit 3")
        self.assertFalse(whole)
        self.assertIn("FAIL  the program ended with 3 and left 1 recordings", said)

    def test_a_program_that_never_records_is_not(self):
        self.assertFalse(self.take("exit 0")[1])

    def test_two_recordings_are_not(self):
        self.assertFalse(self.take(self.GOOD + '; mkdir "$TARVEX_HOME/Meetings/two"')[1])

    def test_what_the_tools_did_not_do_is_told_in_the_programs_words(self):
        take, _, said = self.take(self.GOOD + '; echo "ai: start one"; echo "ai: failed one: no such tool"')
        self.assertEqual(take.ai_failures(), ["ai: failed one: no such tool"])
        told = io.StringIO()
        with contextlib.redirect_stdout(told):
            demo_stage.tell_texts(take, "summary.json")
        self.assertIn("No summary.json. The program says: ai: failed one: no such tool", told.getvalue())

    def test_the_program_gets_tools_that_are_there(self):
        take, _, _ = self.take(self.GOOD + '; echo "$TARVEX_WHISPER_BIN $TARVEX_CLAUDE_BIN"')
        self.assertEqual(take.lines[-1], f"{self.scratch}/brieflet-whisper {self.scratch}/claude")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
