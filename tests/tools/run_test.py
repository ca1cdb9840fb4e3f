#!/usr/bin/python3
"""./run builds only when there is something to build, passes arguments and exit code through, and finds a desktop."""

import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(os.path.realpath(__file__)).parents[2]


class Run(unittest.TestCase):
    """`run` in a tree of its own, where small programs stand in for everything that it calls."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = pathlib.Path(scratch.name)
        self.calls = self.root / "calls"
        shutil.copy(ROOT / "run", self.root / "run")
        self.program("tools/install")
        self.program("tools/demo", "exit 4")
        self.program("tests/desk/desk", '"$@"')
        self.program("build/release/bin/brieflet", 'printf "%s|" "$@"; exit 3')
        self.program("bin/cmake", 'mkdir -p build/release; : >build/release/build.ninja; echo configured')
        self.program("bin/ninja", 'echo "ninja: Entering directory"; echo "[0/2] Re-checking globbed directories..."; echo "ninja: no work to do."')
        self.program("bin/xdpyinfo", "exit 1")

    def program(self, name, body=""):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(f'#!/bin/bash\necho "{name} $*" >>"{self.calls}"\n{body}\n', "utf-8")
        path.chmod(0o755)

    def run_it(self, *arguments, **environment):
        base = {"PATH": f"{self.root}/bin:/usr/bin:/bin", "HOME": str(self.root)}
        return subprocess.run((self.root / "run", *arguments), capture_output=True, text=True, check=False, timeout=60, cwd="/",
                              env=base | environment)

    def called(self, name):
        return [line.removeprefix(name).strip() for line in self.calls.read_text("utf-8").splitlines() if line.startswith(name + " ")]

    def with_display(self):
        self.program("bin/xdpyinfo")
        return {"DISPLAY": ":5"}

    def test_arguments_and_exit_code_pass_through(self):
        ended = self.run_it("--auto-test", "6", "a b", "", **self.with_display())
        self.assertEqual((ended.returncode, ended.stdout), (3, "--auto-test|6|a b||"))

    def test_what_is_built_is_told_on_standard_error_alone(self):
        self.program("bin/ninja", "echo building")
        ended = self.run_it(**self.with_display())
        self.assertIn("building", ended.stderr)
        self.assertIn("configured", ended.stderr)
        self.assertEqual(ended.stdout, "|")

    def test_a_second_start_configures_nothing_and_says_nothing(self):
        display = self.with_display()
        self.run_it(**display)
        self.calls.unlink()
        ended = self.run_it(**display)
        self.assertEqual(ended.stderr, "")
        self.assertEqual(self.called("bin/cmake"), [])

    def test_a_failed_build_starts_nothing(self):
        self.program("bin/ninja", "echo 'FAILED: main.cpp'; exit 5")
        ended = self.run_it(**self.with_display())
        self.assertEqual(ended.returncode, 1)
        self.assertIn("FAILED: main.cpp", ended.stderr)
        self.assertEqual(self.called("build/release/bin/brieflet"), [])

    def test_a_failed_installation_starts_nothing(self):
        self.program("tools/install", "exit 6")
        self.assertEqual(self.run_it().returncode, 6)
        self.assertEqual(self.called("bin/ninja"), [])

    def test_with_a_display_no_private_desktop_is_used(self):
        self.run_it("x", **self.with_display())
        self.assertEqual(self.called("tests/desk/desk"), [])
        self.assertEqual(self.called("tools/install"), ["build run"])

    def test_a_display_that_does_not_answer_is_none(self):
        ended = self.run_it("x", DISPLAY=":5")
        self.assertIn("runs on a private desktop", ended.stderr)
        self.assertEqual((ended.returncode, ended.stdout), (3, "x|"))
        self.assertEqual(len(self.called("tests/desk/desk")), 1)

    def test_a_wayland_socket_is_a_display_and_a_missing_one_is_none(self):
        missing = {"XDG_RUNTIME_DIR": str(self.root), "WAYLAND_DISPLAY": "wayland-9"}
        self.run_it("x", **missing)
        self.assertEqual(len(self.called("tests/desk/desk")), 1)
        listener = socket.socket(socket.AF_UNIX)
        self.addCleanup(listener.close)
        listener.bind(str(self.root / "wayland-9"))
        self.calls.unlink()
        self.run_it("x", **missing)
        self.assertEqual(self.called("tests/desk/desk"), [])

    def test_who_chose_a_qt_platform_gets_it(self):
        self.run_it("x", QT_QPA_PLATFORM="offscreen")
        self.assertEqual(self.called("tests/desk/desk"), [])

    def test_without_display_and_arguments_the_demo_runs(self):
        ended = self.run_it()
        self.assertEqual(ended.returncode, 4)
        self.assertIn("records the demo", ended.stderr)
        self.assertEqual(len(self.called("tools/demo")), 1)

    def test_the_demo_runs_with_a_display_too_when_asked_for(self):
        self.assertEqual(self.run_it("--demo", **self.with_display()).returncode, 4)
        self.assertEqual(self.called("tools/demo"), [str(self.root / "build/release/bin/brieflet")])

    def test_the_practice_demo_is_the_demo_with_its_word(self):
        self.assertEqual(self.run_it("--demo", "--practice").returncode, 4)
        self.assertEqual(self.called("tools/demo"), [str(self.root / "build/release/bin/brieflet") + " --practice"])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
