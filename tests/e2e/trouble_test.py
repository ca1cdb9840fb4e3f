#!/usr/bin/python3
"""A data root that cannot be written, a disk that fills up in the middle, and nobody at the other end of the output."""

import os
import shutil
import subprocess
import unittest

import harness
from harness import Home, caf_seconds, length

SMALL_DISK = "3m"  # some fifteen seconds of two open tracks at 96000 bytes a second each
UNSHARE = ("unshare", "--mount") if os.getuid() == 0 else ("unshare", "--user", "--map-root-user", "--mount")


def mounts_of_our_own():
    return subprocess.run((*UNSHARE, "true"), capture_output=True, check=False).returncode == 0


class Trouble(harness.EndToEnd):
    def test_a_root_that_cannot_be_made_is_told_and_leaves_nothing(self):
        (self.scratch / "file").write_text("not a folder")
        program = self.start("--auto-test", "2", home=Home(self.scratch / "file/root"))
        self.assertEqual(program.wait(), 1, program.told())
        self.assertRegex(program.wait_for_line("auto-test failed: "), "auto-test failed: .+")
        self.assertEqual((self.scratch / "file").read_text(), "not a folder")

    def test_a_meetings_folder_that_is_a_file_is_told_and_stays(self):
        self.home.meetings.write_text("mine")
        program = self.start("--auto-test", "2")
        self.assertEqual(program.wait(), 1, program.told())
        self.assertIsNotNone(program.line("auto-test failed: "), program.told())
        self.assertEqual(self.home.meetings.read_text(), "mine")
        self.assertFalse(self.home.lock.exists())

    def recorded_by(self, shell_line):
        environment = os.environ | {"TARVEX_HOME": str(self.home.path)}
        ended = subprocess.run(("bash", "-c", shell_line, harness.PROGRAM), env=environment, timeout=harness.LIMIT, check=False)
        self.assertEqual(ended.returncode, 0)
        self.assertEqual(harness.problems(self.home, self.home.folder), [])

    def test_a_reader_that_has_gone_away_does_not_end_a_recording(self):
        self.recorded_by('set -o pipefail; "$0" --auto-test 2 | true')

    def test_without_standard_streams_nothing_printed_ends_up_in_a_track(self):
        self.recorded_by('exec "$0" --auto-test 2 <&- >&- 2>&-')

    @unittest.skipUnless(mounts_of_our_own(), "no mounts of one's own here")
    def test_a_full_disk_loses_nothing_that_was_written(self):
        """What fits is kept, the failure is told, and on a larger disk the next start heals the folder."""
        # The mount is gone with its only process, so the process copies what is on it away before it ends.
        kept = self.scratch / "kept"
        script = f'mount -t tmpfs -o size={SMALL_DISK} none "{self.home.path}" && "$@"; code=$?; cp -a "{self.home.path}" "{kept}"; exit $code'
        ended = subprocess.run((*UNSHARE, "sh", "-c", script, "sh", harness.PROGRAM, "--auto-test", "20"),
                               env=os.environ | {"TARVEX_HOME": str(self.home.path)}, capture_output=True, text=True,
                               timeout=120, check=False)
        told = ended.stdout + ended.stderr
        self.assertEqual(ended.returncode, 1, told)
        self.assertIn("auto-test failed: ", told)
        self.assertIn("warning: ", told)
        home = Home(kept)
        tracks = {path.stem: caf_seconds(path) for path in home.folder.glob("*.caf")}
        self.assertGreater(tracks.get("mic", 0) + tracks.get("system", 0), 10, told)
        name = home.folder.name

        healing = self.start("--auto-test", "0.5", home=home)
        self.assertEqual(healing.wait(), 0, healing.told())
        folder = next(path for path in home.folders if path.name.startswith(name))
        for track, seconds in tracks.items():
            self.assertAlmostEqual(length(folder / f"{track}.m4a"), seconds, delta=0.1)
        shutil.rmtree(kept)


if __name__ == "__main__":
    harness.main()
