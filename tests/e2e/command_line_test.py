#!/usr/bin/python3
"""What the program does with its command line before anything is recorded."""

import subprocess
import unittest

import harness

REFUSAL = " needs TARVEX_HOME (a test folder), so it will not touch the real data. Nothing was started.\n"


class CommandLine(unittest.TestCase):
    def ended(self, *arguments, **environment):
        base = {name: value for name, value in harness.os.environ.items() if not name.startswith("TARVEX_")}
        return subprocess.run((harness.PROGRAM, *arguments), env=base | environment, capture_output=True, text=True,
                              timeout=harness.LIMIT, check=False)

    def assert_refused(self, flag, *arguments, **environment):
        ended = self.ended(*arguments, **environment)
        self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (2, "", flag + REFUSAL))

    def test_a_recording_test_without_a_test_folder_is_refused(self):
        self.assert_refused("--auto-test", "--auto-test", "6")

    def test_a_window_test_without_a_test_folder_is_refused(self):
        self.assert_refused("--window-test", "--window-test", "form")

    def test_an_empty_test_folder_is_none(self):
        self.assert_refused("--auto-test", "--auto-test", "6", TARVEX_HOME="")

    def test_of_both_the_recording_test_is_named(self):
        self.assert_refused("--auto-test", "--window-test", "--auto-test")

    def test_the_refusal_needs_no_display(self):
        self.assert_refused("--auto-test", "--auto-test", DISPLAY=":987", WAYLAND_DISPLAY="none")

    def test_a_refusal_leaves_nothing_in_the_real_data(self):
        self.ended("--auto-test", "6")
        home = harness.pathlib.Path(harness.os.environ["HOME"])
        self.assertEqual(list(home.rglob("*arvex*")), [])


if __name__ == "__main__":
    harness.main()
