#!/usr/bin/python3
"""What a private desktop offers, and that nothing of it is left, whatever happens to it."""

import glob
import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

HERE = os.path.dirname(os.path.realpath(__file__))
DESK = os.path.join(HERE, "desk")
BARE = (DESK, "--no-x", "--no-sound", "--no-bus")
LIMIT = 60


def run(*command, limit=LIMIT, **options):
    return subprocess.run(command, capture_output=True, text=True, timeout=limit, check=False, **options)


def alive(pid):
    try:
        with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as file:
            return file.read().rpartition(")")[2].split()[0] != "Z"
    except OSError:
        return False


def wait_until(holds, limit=LIMIT):
    deadline = time.monotonic() + limit
    while not holds():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.02)
    return True


def leftovers(folder, pids=()):
    """What is left of the desktop in `folder`, as texts: itself, processes that carry its mark, and `pids`."""
    found = [f"folder {folder}"] if os.path.exists(folder) else []
    mark = f"BRIEFLET_DESK={folder}".encode()
    for environ in glob.glob("/proc/[0-9]*/environ"):
        try:
            with open(environ, "rb") as file:
                if mark in file.read().split(b"\0"):
                    found.append("process " + environ.split("/")[2])
        except OSError:
            pass
    return found + [f"process {pid}" for pid in pids if alive(pid)]


# Writes its desktop and its own id, then a daemon in a session of its own that forgot the mark, then a plain child.
NUISANCE = """
echo "$BRIEFLET_DESK" >{out}; echo $$ >>{out}
(setsid env -i /bin/sleep 300 & echo $! >>{out})
sleep 300 &
echo $! >>{out}
mkdir -p "$HOME/deep/er"; touch "$HOME/deep/er/file"; chmod 500 "$HOME/deep"
echo ready >>{out}
"""


class Offers(unittest.TestCase):
    def test_the_exit_code_is_the_commands_own(self):
        self.assertEqual(run(*BARE, "sh", "-c", "exit 7").returncode, 7)
        self.assertEqual(run(*BARE, "true").returncode, 0)

    def test_a_command_ended_by_a_signal_gives_128_and_its_number(self):
        self.assertEqual(run(*BARE, "sh", "-c", "kill -9 $$").returncode, 137)

    def test_a_command_that_is_not_there_gives_127_and_says_so(self):
        ended = run(*BARE, "no-such-command")
        self.assertEqual(ended.returncode, 127)
        self.assertIn("no-such-command", ended.stderr)

    def test_the_arguments_arrive_as_they_are(self):
        self.assertEqual(run(*BARE, "printf", "%s|", "a b", "", "--timeout", "你好").stdout, "a b||--timeout|你好|")

    def test_a_service_that_does_not_come_up_is_named(self):
        ended = run(DESK, "--no-sound", "true", env=os.environ | {"PATH": "/nowhere"})
        self.assertEqual(ended.returncode, 125)
        self.assertIn("Xvfb", ended.stderr)

    def test_the_whole_desktop_stands(self):
        script = """
            xrandr --listmonitors; xprop -root _NET_SUPPORTING_WM_CHECK; pactl get-default-sink; pactl get-default-source
            gdbus call --session -d org.freedesktop.Notifications -o /org/freedesktop/Notifications \
                -m org.freedesktop.Notifications.Notify Me 0 '' 標題 body '[]' '{"urgency": <byte 1>}' 5000
            gdbus call --session -d org.kde.StatusNotifierWatcher -o /StatusNotifierWatcher \
                -m org.freedesktop.DBus.Properties.Get org.kde.StatusNotifierWatcher IsStatusNotifierHostRegistered
            gdbus call --session -d org.a11y.Bus -o /org/a11y/bus -m org.a11y.Bus.GetAddress
            cat "$BRIEFLET_DESK/notifications"
        """
        ended = run(DESK, "sh", "-ec", script)
        self.assertEqual(ended.returncode, 0, ended.stderr)
        for expected in ("LEFT 1920/508x1080/286+0+0", "RIGHT 1920/508x1080/286+1920+0", "window id", "speakers\nmic1\n",
                         "(<true>,)", "('unix:"):
            self.assertIn(expected, ended.stdout)
        sent = json.loads(ended.stdout.splitlines()[-1])
        self.assertEqual((sent["app"], sent["summary"], sent["body"], sent["hints"], sent["timeout"]),
                         ("Me", "標題", "body", {"urgency": 1}, 5000))

    def test_pieces_can_be_left_out(self):
        self.assertIn("Monitors: 1", run(DESK, "--one-monitor", "--no-sound", "--no-bus", "xrandr", "--listmonitors").stdout)
        script = "echo x=$DISPLAY; pactl info; gdbus call --session -d org.freedesktop.DBus -o / -m org.freedesktop.DBus.ListNames"
        ended = run(DESK, "--no-x", "--no-sound", "--no-tray", "--no-notifications", "sh", "-c", script)
        self.assertIn("x=\n", ended.stdout)
        self.assertIn("Connection", ended.stderr)
        self.assertIn("org.freedesktop.DBus", ended.stdout)
        for name in ("StatusNotifierWatcher", "Notifications"):
            self.assertNotIn(name, ended.stdout)

    def test_logind_stands_on_a_private_system_bus_when_asked_for(self):
        script = "gdbus call --system -d org.freedesktop.login1 -o /org/freedesktop/login1 -m org.freedesktop.login1.Manager.ListInhibitors"
        self.assertEqual(run(*BARE, "--logind", "sh", "-c", script).returncode, 0)
        self.assertNotEqual(run(*BARE, "sh", "-c", script).returncode, 0)

    def heard(self, *switches):
        """The loudest sample that mic1 delivers while a tone is played into `room`, and while none is."""
        script = """
            ffmpeg -v error -f lavfi -i sine=frequency=500:duration=4 -ar 48000 $TMPDIR/tone.wav
            listen() { parec -d mic1 --raw --format=s16le --channels=1 --rate=48000 --latency-msec=20 | head -c 48000; }
            listen >$TMPDIR/silence; paplay -d room $TMPDIR/tone.wav & sleep 1; listen >$TMPDIR/tone; wait
            /usr/bin/python3 -c 'import numpy,sys
for path in sys.argv[1:]: print(abs(numpy.fromfile(path, "<i2").astype(int)).max())' $TMPDIR/silence $TMPDIR/tone
        """
        ended = run(DESK, "--no-x", *switches, "--timeout", "30", "bash", "-ec", script)
        self.assertEqual(ended.returncode, 0, ended.stderr)
        return [int(line) for line in ended.stdout.split()]

    def test_the_microphone_hears_the_room(self):
        silence, tone = self.heard()
        self.assertEqual(silence, 0)
        self.assertGreater(tone, 1000)

    def test_the_microphone_hears_the_room_with_pipewire_too(self):
        silence, tone = self.heard("--pipewire")
        self.assertEqual(silence, 0)
        self.assertGreater(tone, 1000)

    def test_the_sound_server_can_be_taken_away_and_brought_back(self):
        for switches in ((), ("--pipewire",)):
            script = "sound kill; ! pactl info >/dev/null 2>&1; sound start; pactl get-default-source; sound stop; ! pactl info"
            ended = run(DESK, "--no-x", *switches, "bash", "-c", script)
            self.assertEqual((ended.returncode, ended.stdout), (0, "mic1\n"), ended.stderr)

    def test_two_stand_side_by_side(self):
        script = 'echo $DISPLAY; pactl set-default-source room.monitor; echo . >>"$0"; while [ $(wc -l <"$0") -lt 2 ]; do sleep .05; done'
        with tempfile.NamedTemporaryFile() as meeting:
            both = [subprocess.Popen((DESK, "sh", "-ec", script, meeting.name), stdout=subprocess.PIPE, text=True) for _ in range(2)]
            displays = [one.communicate(timeout=LIMIT)[0].strip() for one in both]
        self.assertEqual([one.returncode for one in both], [0, 0])
        self.assertEqual(len({*displays, ""}), 3)


class LeavesNothing(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.out = os.path.join(scratch.name, "out")

    def nuisance(self, then):
        return NUISANCE.format(out=self.out) + then

    def begin(self, then="sleep 300", switches=BARE):
        """A desk whose command is up, with its folder and the ids of everything that the command began."""
        desk = subprocess.Popen((*switches, "sh", "-c", self.nuisance(then)), stderr=subprocess.DEVNULL)
        self.assertTrue(wait_until(lambda: os.path.exists(self.out) and "ready" in pathlib.Path(self.out).read_text("utf-8")))
        return desk, *self.said()

    def said(self):
        with open(self.out, encoding="utf-8") as file:
            lines = file.read().split()
        return lines[0], [int(line) for line in lines[1:-1]]

    def assert_nothing_left(self, folder, pids):
        wait_until(lambda: not leftovers(folder, pids), limit=15)
        self.assertEqual(leftovers(folder, pids), [])

    def test_after_a_command_that_ends_and_leaves_daemons(self):
        run(*BARE, "sh", "-c", self.nuisance("exit 0"))
        self.assertEqual(leftovers(*self.said()), [])

    def test_after_a_command_that_is_killed(self):
        desk, folder, pids = self.begin()
        os.kill(pids[0], signal.SIGKILL)
        self.assertEqual(desk.wait(LIMIT), 137)
        self.assertEqual(leftovers(folder, pids), [])

    def test_after_a_command_that_takes_too_long(self):
        ended = run(*BARE, "--timeout", "0.5", "sh", "-c", self.nuisance("sleep 300"))
        self.assertEqual(ended.returncode, 124)
        self.assertIn("ended after 0.5 seconds", ended.stderr)
        self.assertEqual(leftovers(*self.said()), [])

    def test_after_the_desk_is_asked_to_end(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(signal=number.name):
                desk, folder, pids = self.begin()
                desk.send_signal(number)
                self.assertEqual(desk.wait(LIMIT), 128 + number)
                self.assertEqual(leftovers(folder, pids), [])
                os.remove(self.out)

    def test_the_command_hears_the_signal_and_its_answer_counts(self):
        desk, folder, pids = self.begin(then="trap 'exit 3' TERM; while :; do sleep 0.05; done")
        desk.send_signal(signal.SIGTERM)
        self.assertEqual(desk.wait(LIMIT), 3)
        self.assertEqual(leftovers(folder, pids), [])

    def test_after_the_desk_is_killed(self):
        desk, folder, pids = self.begin(switches=(DESK,))
        desk.kill()
        desk.wait()
        self.assert_nothing_left(folder, pids)

    def keeper_of(self, desk):
        with open(f"/proc/{desk.pid}/task/{desk.pid}/children", encoding="ascii") as file:
            return int(file.read().split()[0])

    def test_after_its_keeper_is_killed(self):
        desk, folder, pids = self.begin(switches=(DESK,))
        os.kill(self.keeper_of(desk), signal.SIGKILL)
        self.assertEqual(desk.wait(LIMIT), 137)
        self.assertEqual(leftovers(folder, pids), [])

    def test_after_both_are_killed_the_next_desk_clears_up(self):
        desk, folder, pids = self.begin(switches=(DESK, "--no-sound"))
        keeper = self.keeper_of(desk)
        desk.send_signal(signal.SIGSTOP)
        os.kill(keeper, signal.SIGSTOP)
        os.kill(keeper, signal.SIGKILL)
        desk.kill()
        desk.wait()
        self.assertTrue(os.path.exists(folder))
        os.kill(pids[1], signal.SIGKILL)  # it forgot the mark and has no ancestor any more
        run(*BARE, "true")
        self.assertTrue(os.path.exists(folder), "a young folder may be on its way to being locked")
        os.utime(folder, (0, 0))
        run(*BARE, "true")
        self.assertEqual(leftovers(folder, pids), [])

    def test_a_living_desk_is_not_cleared_away_by_another(self):
        desk, folder, pids = self.begin()
        os.utime(folder, (0, 0))
        run(*BARE, "true")
        self.assertTrue(os.path.exists(folder))
        self.assertIsNone(desk.poll())
        desk.terminate()
        desk.wait(LIMIT)
        self.assertEqual(leftovers(folder, pids), [])

    def test_no_socket_of_the_x_server_stays(self):
        display = run(DESK, "--no-sound", "--no-bus", "sh", "-c", "echo $DISPLAY").stdout.strip().lstrip(":")
        self.assertRegex(display, r"^\d+$")
        lock = pathlib.Path(f"/tmp/.X{display}-lock")
        try:
            self.assertTrue(alive(int(lock.read_text("ascii"))), "another desk may have taken the number since")
        except FileNotFoundError:
            pass


class TheLookForLeftovers(unittest.TestCase):
    def test_goes_red_on_a_folder(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(leftovers(folder), [f"folder {folder}"])

    def test_goes_red_on_a_process_with_the_mark(self):
        with subprocess.Popen(("sleep", "60"), env={"BRIEFLET_DESK": "/nowhere/desk"}) as process:
            self.addCleanup(process.kill)
            self.assertTrue(wait_until(lambda: leftovers("/nowhere/desk") == [f"process {process.pid}"], limit=5))
            self.assertEqual(leftovers("/nowhere/des"), [])
            process.kill()

    def test_goes_red_on_a_process_without_the_mark(self):
        with subprocess.Popen(("sleep", "60")) as process:
            self.assertEqual(leftovers("/nowhere/desk", [process.pid]), [f"process {process.pid}"])
            process.kill()


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
