#!/usr/bin/python3
"""Sound servers that are not there, go away, or come back."""

import subprocess

import harness


def sound(command):
    subprocess.run(("sound", command), check=True)


class Sound(harness.EndToEnd):
    def tearDown(self):
        sound("stop")
        sound("start")

    def test_without_a_sound_server_the_start_fails_and_leaves_nothing(self):
        sound("stop")
        program = self.start("--auto-test", "2")
        self.assertEqual(program.wait(), 1, program.told())
        self.assertRegex(program.wait_for_line("auto-test failed: "), "麥克風")
        self.assertEqual(self.home.folders, [])
        self.assertFalse(self.home.lock.exists())

    def test_a_server_that_is_killed_and_comes_back_leaves_a_whole_recording(self):
        program = self.start("--auto-test", "12")
        program.wait_for_line("recording started")
        harness.time.sleep(2.0)
        sound("kill")
        sound("start")
        self.assertEqual(program.wait(), 0, program.told())
        self.assert_finished(program)
        self.assertGreater(harness.length(self.home.folder / "mic.m4a"), 12)

    def test_a_server_that_stays_away_ends_in_a_warning_and_a_whole_recording(self):
        program = self.start("--auto-test", "14")
        program.wait_for_line("recording started")
        harness.time.sleep(2.0)
        sound("kill")
        self.assertEqual(program.wait(), 0, program.told())
        self.assert_finished(program)
        self.assertIsNotNone(program.line("warning: "), program.told())

    def test_a_second_sink_and_source_in_the_middle_are_followed(self):
        program = self.start("--auto-test", "8")
        program.wait_for_line("recording started")
        harness.time.sleep(1.5)
        subprocess.run(("pactl", "load-module", "module-remap-source", "master=room2.monitor", "source_name=mic2"), check=True)
        subprocess.run(("pactl", "set-default-source", "mic2"), check=True)
        subprocess.run(("pactl", "set-default-sink", "room"), check=True)
        self.assertEqual(program.wait(), 0, program.told())
        self.assert_finished(program)


if __name__ == "__main__":
    harness.main()
