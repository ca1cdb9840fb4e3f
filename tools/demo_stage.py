"""The stage of the demo: synthetic voices, the program that records them, and the tools that it is given.

All of it runs on a private desktop (tests/desk/desk), whose sinks `room` and `speakers` reach the microphone's and the
system's track.
"""

import os
import shutil
import subprocess
import tempfile
import threading
import time
import wave

import numpy
import recording_check

CLIP_RATE = 48000
SPEAKER = {"mic": "room", "system": "speakers"}  # the sink whose sound reaches the track
CLAUDE = "BRIEFLET_DEMO_CLAUDE"  # carries the path of the user's own tool, if there is one, onto the desktop
USER_HOME = "BRIEFLET_DEMO_HOME"  # and the folder where it finds its settings


def say(text):
    print(text, flush=True)


def speech(voice, text):
    """The words as samples at CLIP_RATE."""
    with tempfile.NamedTemporaryFile(suffix=".wav") as file:
        subprocess.run(("flite", "-voice", voice, "-t", text, "-o", file.name), check=True)
        raw = recording_check.output("ffmpeg", "-v", "error", "-i", file.name, "-ac", "1", "-ar", str(CLIP_RATE), "-f", "s16le", "-")
    return numpy.frombuffer(raw, "<i2")


def write_clip(path, voice, lines):
    """One side of a talk as a WAV; answers the sentences with their places in it, for looking them up later."""
    spoken = [(place, text, speech(voice, text)) for place, text in lines]
    clip = numpy.zeros(int(max(place * CLIP_RATE + len(samples) for place, _, samples in spoken)) + CLIP_RATE // 2, "<i2")
    for place, _, samples in spoken:
        clip[int(place * CLIP_RATE):int(place * CLIP_RATE) + len(samples)] += samples
    with wave.open(str(path), "wb") as file:
        file.setparams((1, 2, CLIP_RATE, 0, "NONE", ""))
        file.writeframes(clip.tobytes())
    track = recording_check.read_track(path)
    rate = recording_check.RATE
    return [recording_check.Sentence(text, place, track[int(place * rate):int(place * rate) + len(samples) * rate // CLIP_RATE])
            for place, text, samples in spoken]


class Watch(threading.Thread):
    """Notes the instant at which the microphone's file appears: that is where the recording's time begins."""

    def __init__(self, meetings):
        super().__init__(daemon=True)
        self.meetings = meetings
        self.began = None

    def run(self):
        while not any(self.meetings.glob("*/mic.caf")):
            time.sleep(0.002)
        self.began = time.monotonic()


def summary_tool(scratch):
    """A program to be run as `claude`: the user's own, in the user's own home, since this desktop's is empty. Where there
    is none, one that says so and fails: without a tool of that name nothing would be transcribed either."""
    path = scratch / "claude"
    path.write_text(f'#!/bin/sh\n[ -n "${CLAUDE}" ] || {{ echo "claude is not installed on this machine" >&2; exit 127; }}\n'
                    f'HOME=${USER_HOME} exec "${CLAUDE}" "$@"\n', "utf-8")
    path.chmod(0o700)
    return path


def remember_users_tools():
    """To be called before the desktop takes the user's environment away."""
    home = os.path.expanduser("~")
    os.environ[USER_HOME] = home
    os.environ[CLAUDE] = shutil.which("claude", path=os.pathsep.join((os.environ.get("PATH", ""), home + "/.local/bin"))) or ""


class Take:
    """One run of the program, from its start to its end."""

    def __init__(self, program, home):
        self.program = program
        self.home = home
        self.code = None
        self.lines = []  # what it printed
        self.watch = Watch(home / "Meetings")
        self.heard = {}  # the instants at which the clips began to sound

    def record(self, arguments, clips, scratch):
        """Plays the clips, WAV files by the name of the track that they belong in, as soon as it records."""
        environment = os.environ | {"TARVEX_HOME": str(self.home), "TARVEX_WHISPER_BIN": str(self.program.parent / "brieflet-whisper"),
                                    "TARVEX_CLAUDE_BIN": str(summary_tool(scratch))}
        self.watch.start()
        players = {}
        with subprocess.Popen((self.program, *arguments), env=environment, stdout=subprocess.PIPE, text=True) as recorder:
            for line in recorder.stdout:
                say("  " + line.rstrip())
                self.lines.append(line.rstrip())
                if line.startswith("recording started"):
                    players = {name: subprocess.Popen(("play", SPEAKER[name], clip), stdout=subprocess.PIPE, text=True)
                               for name, clip in clips.items()}
        self.code = recorder.returncode
        self.heard = {name: float(player.communicate()[0] or "nan") for name, player in players.items()}

    def offset(self, track):
        """The second of the recording at which the track's clip began to sound."""
        return self.heard[track] - self.watch.began

    @property
    def folders(self):
        return sorted(path for path in (self.home / "Meetings").glob("*") if path.is_dir())

    def is_whole(self, clips):
        """Whether there is one recording of all the clips."""
        if self.code == 0 and self.watch.began is not None and self.heard.keys() == clips.keys() and len(self.folders) == 1:
            return True
        say(f"FAIL  the program ended with {self.code} and left {len(self.folders)} recordings in {self.home}")
        return False

    def ai_failures(self):
        """The program's own words on what its tools did not do."""
        return [line for line in self.lines if line.startswith(("ai: failed", "ai: skipped"))]


def tell_files(folder):
    say(f"\nThe recording is in {folder}")
    for path in sorted(folder.rglob("*")):
        if path.is_file():
            length = ""
            if path.suffix == ".m4a":
                frames, rate = recording_check.track_frames(path)
                length = f"   {frames / rate:.3f} s"
            say(f"  {path.relative_to(folder)}   {path.stat().st_size} bytes{length}")


def tell_transcript(lines):
    say("\nWhat the speech engine heard:")
    for line in lines:
        say(f"  {line.start:6.2f} s  {line.speaker:<5} {line.text}")


def tell_texts(take, file):
    """What the summary tool wrote into `file`, or why there is nothing."""
    path = take.folders[0] / file
    if path.is_file():
        say(f"\n{file}:\n{path.read_text('utf-8').rstrip()}")
    else:
        say(f"\nNo {file}. The program says: {'; '.join(take.ai_failures()) or 'nothing about it'}")


def verdict(report):
    say(f"\n{report}\n\n{'All is as it should be.' if report.ok else 'The recording is not as it should be.'}")
    return 0 if report.ok else 1
