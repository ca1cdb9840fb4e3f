#!/usr/bin/python3
"""A process that is killed at any moment loses nothing that it had recorded, and the next start heals its folder."""

import concurrent.futures
import os
import random
import threading
import time

import harness
from harness import Brieflet, caf_seconds, length, signal, wait_until

ROUNDS = 12
AT_ONCE = 3
RECORDING = 4.0  # seconds of a recording that is not killed
LOST = 1.0  # seconds of sound on their way from the microphone to the disk, on a loaded machine
SEED = int(os.environ.get("BRIEFLET_SEED", "20250307"))


class Kill(harness.EndToEnd):
    def one_round(self, number):
        """Kills a recording at its moment, starts the program again, and answers what is wrong."""
        moments = random.Random(SEED + number)
        home = harness.Home(self.scratch / f"round {number}")
        home.path.mkdir()
        program = Brieflet("--auto-test", str(RECORDING), home=home.path)
        began = self.watch_for_the_start(home)
        time.sleep(moments.uniform(0.05, RECORDING + 1.5))
        recorded = {path.stem: caf_seconds(path) for folder in home.folders for path in folder.glob("*.caf")}
        program.send(signal.SIGKILL)
        killed = time.monotonic()
        program.wait()
        healing = Brieflet("--auto-test", "0.5", home=home.path)
        if (code := healing.wait()) != 0:
            return [f"the next start ended with {code}: {healing.told()}"]
        return [f"killed after {killed - program.started:.2f} s: {wrong}; {program.told()}; {healing.told()}"
                for wrong in self.unhealed(home, recorded, killed - (began[0] if began else killed))]

    @staticmethod
    def watch_for_the_start(home):
        """A list that gets the instant at which the recording's files appeared."""
        began = []

        def watch():
            if wait_until(lambda: any(home.meetings.glob("*/mic.caf")), limit=10):
                began.append(time.monotonic())
        threading.Thread(target=watch, daemon=True).start()
        return began

    @staticmethod
    def unhealed(home, recorded, lasted):
        for folder in home.folders:
            if not (folder / "meta.json").exists() and not list(folder.glob("*.caf")):
                continue  # killed before its first file: nothing was lost, and nothing is known
            for path in folder.glob("*.caf"):
                if caf_seconds(path) > 0:
                    yield f"{path} was not converted"
            if not home.meta(folder).get("end"):
                yield f"{folder.name} has no end"
            if folder.name.count("_") < 4:
                yield f"{folder.name} has no final name"
        first = min(home.folders, key=lambda folder: home.meta(folder).get("start", ""), default=None)
        for name, seconds in recorded.items():
            track = first / f"{name}.m4a"
            healed = length(track) if track.exists() else 0.0
            if healed + 0.01 < seconds:
                yield f"{name} had {seconds:.2f} s on the disk and has {healed:.2f} s after healing"
        if recorded.get("mic", 0) and recorded["mic"] < lasted - LOST - 1.0:
            yield f"only {recorded['mic']:.2f} s of {lasted:.2f} s had reached the disk"
        if home.lock.exists():
            yield "recording.lock is left"

    def test_at_random_moments(self):
        with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
            for number, wrong in enumerate(pool.map(self.one_round, range(ROUNDS))):
                with self.subTest(round=number, seed=SEED):
                    self.assertEqual(wrong, [])

    def test_in_the_middle_everything_up_to_then_is_there(self):
        program = self.start("--auto-test", "60")
        program.wait_for_line("recording started")
        began = time.monotonic()
        time.sleep(4.0)
        program.send(signal.SIGKILL)
        lasted = time.monotonic() - began
        program.wait()
        self.assertTrue(self.home.lock.exists())
        self.assertEqual(self.home.meta()["end"], None)
        folder = self.home.folder
        healing = self.start("--auto-test", "0.5")
        self.assertEqual(healing.wait(), 0, healing.told())
        healed = folder.with_name(folder.name + "_未命名")
        self.assertRegex(healing.wait_for_line("recovered: "), rf"^recovered: {healed.name} mic \d+\.\ds system \d+\.\ds$")
        for name in ("mic", "system"):
            self.assertGreater(length(healed / f"{name}.m4a"), lasted - LOST)
        self.assertAlmostEqual(self.home.meta(healed)["duration"], max(length(healed / f"{name}.m4a") for name in ("mic", "system")), delta=0.06)


if __name__ == "__main__":
    harness.main()
