#!/usr/bin/python3
"""A signal asks the program to quit, and at any moment of a recording that means: stop, save, end."""

import subprocess

import harness
from harness import signal, wait_until

ENDING = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)


class Signals(harness.EndToEnd):
    def each(self, check):
        for number in ENDING:
            with self.subTest(signal=number.name):
                check(number, self.new_home(number.name))

    def assert_saved_without_a_form(self, program, home):
        self.assertEqual(program.wait(), 0, program.told())
        self.assert_finished(program, home)
        self.assertTrue(home.folder.name.endswith("_未命名"), home.folder.name)
        self.assertIsNone(home.meta()["note"])
        self.assertFalse((home.path / "instance.lock").exists())

    def test_while_it_records(self):
        def check(number, home):
            program = self.start("--auto-test", "60", home=home)
            program.wait_for_line("recording started")
            harness.time.sleep(1.5)
            program.send(number)
            self.assert_saved_without_a_form(program, home)
            self.assertGreater(harness.length(home.folder / "mic.m4a"), 1.4)
        self.each(check)

    def test_while_it_starts(self):
        """The microphone opens only after the signal: the sound server is held up meanwhile."""
        def check(number, home):
            pids = [int(pid) for pid in harness.pathlib.Path(harness.os.environ["BRIEFLET_DESK"], "sound.pids").read_text("ascii").split()]
            try:
                for pid in pids:
                    harness.os.kill(pid, signal.SIGSTOP)
                program = self.start("--auto-test", "60", home=home)
                wait_until(lambda: home.folders or not program.alive, limit=5)
                program.send(number)
                harness.time.sleep(0.3)
                self.assertTrue(program.alive, "the answer of the microphone is waited for")
            finally:
                for pid in pids:
                    harness.os.kill(pid, signal.SIGCONT)
            code = program.wait()
            if home.folders:
                self.assertEqual(code, 0, program.told())
                self.assert_finished(program, home)
            else:  # the start failed, which a self-test tells by its exit code
                self.assertEqual(code, 1, program.told())
            self.assertFalse(home.lock.exists())
        self.each(check)

    def test_while_it_stops(self):
        def check(number, home):
            program = self.start("--auto-test", "2", home=home)
            self.assertTrue(wait_until(lambda: home.meta().get("end"), step=0.001), program.told())
            program.send(number)
            self.assertEqual(program.wait(), 0, program.told())
            self.assert_finished(program, home)
        self.each(check)

    def test_twice_is_as_good_as_once(self):
        program = self.start("--auto-test", "60")
        program.wait_for_line("recording started")
        harness.time.sleep(1.0)
        for _ in range(5):
            if program.alive:
                program.send(signal.SIGTERM)
        self.assert_saved_without_a_form(program, self.home)

    def test_while_nothing_is_recorded(self):
        for number in ENDING:
            with self.subTest(signal=number.name):
                home = self.new_home(number.name)
                program = self.start(home=home, TARVEX_SINGLE_INSTANCE="1")
                self.assertTrue(wait_until(lambda: home.ready), program.told())
                program.send(number)
                self.assertEqual(program.wait(), 0, program.told())
                self.assertFalse((home.path / "instance.lock").exists())
                self.assertEqual(home.folders, [])

    def test_no_child_outlives_it(self):
        program = self.start("--auto-test", "60")
        program.wait_for_line("recording started")
        program.send(signal.SIGTERM)
        program.wait()
        left = subprocess.run(("pgrep", "-P", str(program.process.pid)), capture_output=True, check=False).stdout
        self.assertEqual(left, b"")


if __name__ == "__main__":
    harness.main()
