"""What the end-to-end tests share: the program as another process sees it, and its folders as another program reads them."""

import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

ROOT = pathlib.Path(os.path.realpath(__file__)).parents[2]
PROGRAM = os.environ.get("BRIEFLET_PROGRAM", str(ROOT / "build/dev/bin/brieflet"))
LIMIT = 60.0  # seconds for anything that is waited for, far above what a loaded machine needs
SKIPPED = 77  # what ctest takes for "could not be tried here"

sys.path.insert(0, str(ROOT / "tools"))
from recording_check import OFF, track_frames  # noqa: E402  (found by the line above)


def wait_until(holds, limit=LIMIT, step=0.002):
    """Looks again and again; the last answer of `holds`."""
    deadline = time.monotonic() + limit
    while not (answer := holds()) and time.monotonic() < deadline:
        time.sleep(step)
    return answer


class Brieflet:
    """One process of the program. Its lines are collected as they come."""

    def __init__(self, *arguments, home=None, **environment):
        base = {name: value for name, value in os.environ.items() if not name.startswith("TARVEX_")}
        if home is not None:
            base["TARVEX_HOME"] = str(home)
        self.started = time.monotonic()
        self.process = subprocess.Popen((PROGRAM, *arguments), env=base | environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True)
        self.lines, self.errors, self.dead = [], [], None
        self.readers = [threading.Thread(target=self.read, args=pair, daemon=True)
                        for pair in ((self.process.stdout, self.lines), (self.process.stderr, self.errors))]
        for reader in self.readers:
            reader.start()

    @staticmethod
    def read(stream, lines):
        for line in stream:
            lines.append(line.rstrip("\n"))
        stream.close()

    def line(self, beginning):
        """The first line that begins so, or None."""
        return next((line for line in list(self.lines) if line.startswith(beginning)), None)

    def wait_for_line(self, beginning, limit=LIMIT):
        wait_until(lambda: self.line(beginning) or not self.alive, limit)
        if found := self.line(beginning):
            return found
        raise AssertionError(f"no line \"{beginning}\"; {self.told()}")

    @property
    def alive(self):
        return self.process.poll() is None

    def send(self, number):
        self.process.send_signal(number)

    def wait(self, limit=LIMIT):
        """The exit code, negative for a signal."""
        try:
            code = self.process.wait(limit)
        except subprocess.TimeoutExpired as late:
            self.end()
            raise AssertionError(f"did not end in {limit} seconds; {self.told()}") from late
        for reader in self.readers:
            reader.join(5)
        return code

    def end(self):
        if self.alive:
            self.process.kill()
            self.process.wait()

    def told(self):
        return "it said:\n  " + "\n  ".join([*self.lines, *("! " + line for line in self.errors)])


class Home:
    """A data root for tests."""

    def __init__(self, path):
        self.path = pathlib.Path(path)

    @property
    def meetings(self):
        return self.path / "Meetings"

    @property
    def folders(self):
        return sorted(path for path in self.meetings.glob("*") if path.is_dir()) if self.meetings.is_dir() else []

    @property
    def folder(self):
        folders = self.folders
        if len(folders) != 1:
            raise AssertionError(f"{len(folders)} recordings in {self.path}: {folders}")
        return folders[0]

    def meta(self, folder=None):
        """meta.json as it is right now; empty while there is none."""
        try:
            return json.loads(((folder or self.folder) / "meta.json").read_text("utf-8"))
        except (OSError, AssertionError):
            return {}

    @property
    def ready(self):
        """The program has launched into this root: it has emptied its work folder, and it answers to signals."""
        return (self.path / "tmp").is_dir()

    @property
    def lock(self):
        return self.path / "recording.lock"


def length(path):
    """Seconds of a finished track."""
    frames, rate = track_frames(path)
    return frames / rate


def caf_seconds(path):
    """Seconds that an open track holds, by its size: a header of 68 bytes, then 16-bit samples at 48000 Hz."""
    return max(0, path.stat().st_size - 68) / 96000


def problems(home, folder, tracks=("mic", "system")):
    """What is wrong with a finished recording, as texts."""
    found = []
    meta = home.meta(folder)
    if not meta.get("end"):
        found.append(f"meta.json has no end: {meta}")
    found += [f"{path.name} is left" for path in folder.glob("*.caf")]
    found += [f"{path.name} is left" for path in folder.glob("*.m4a") if path.stem not in tracks]
    found += [f"{name}.m4a is missing" for name in tracks if not (folder / f"{name}.m4a").is_file()]
    for name in tracks:
        if (folder / f"{name}.m4a").is_file():
            over = length(folder / f"{name}.m4a") - meta.get("duration", float("nan"))
            if abs(over) > OFF:
                found.append(f"{name}.m4a differs from the recording by {over:.3f} s")
    if not (folder / "shots").is_dir():
        found.append("shots is missing")
    if home.lock.exists():
        found.append("recording.lock is left")
    stray = [path.name for path in folder.iterdir() if not re.fullmatch(r"meta\.json|shots|(mic|system)\.(m4a|caf)|notes\.md|\.tarvex-ai-\w+", path.name)]
    found += [f"{name} does not belong there" for name in stray]
    return found


class EndToEnd(unittest.TestCase):
    """Gives each test a data root and ends what it began."""

    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="e2e-"))
        self.addCleanup(shutil.rmtree, self.scratch, ignore_errors=True)
        self.home = self.new_home()

    def new_home(self, name="home"):
        path = self.scratch / name
        path.mkdir()
        return Home(path)

    def start(self, *arguments, home=None, **environment):
        program = Brieflet(*arguments, home=(home or self.home).path, **environment)
        self.addCleanup(program.end)
        return program

    def assert_finished(self, program, home=None, tracks=("mic", "system")):
        home = home or self.home
        self.assertEqual(problems(home, home.folder, tracks), [], program.told())


def main():
    """Runs the tests of the calling file; says SKIPPED where every test was skipped."""
    result = unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]], exit=False).result
    if result.testsRun and len(result.skipped) == result.testsRun and result.wasSuccessful():
        sys.exit(SKIPPED)
    sys.exit(not result.wasSuccessful())


__all__ = ["Brieflet", "EndToEnd", "Home", "LIMIT", "PROGRAM", "caf_seconds", "length", "main", "problems", "signal", "wait_until"]
