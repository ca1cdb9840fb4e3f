#!/usr/bin/python3
"""One process at a time works on a data root, however many are started."""

import harness
from harness import signal, wait_until

MANY = 64


class Instances(harness.EndToEnd):
    def begin(self):
        return self.start(TARVEX_SINGLE_INSTANCE="1")

    @property
    def lock(self):
        return self.home.path / "instance.lock"

    def test_of_many_at_once_exactly_one_stays(self):
        programs = [self.begin() for _ in range(MANY)]
        living = lambda: [program for program in programs if program.alive]
        self.assertTrue(wait_until(lambda: len(living()) <= 1, step=0.1), f"{len(living())} live")
        self.assertEqual(len(living()), 1)
        one = living()[0]
        harness.time.sleep(1.0)
        self.assertTrue(one.alive, one.told())
        self.assertEqual([program.wait() for program in programs if program is not one], [0] * (MANY - 1))
        self.assertEqual(self.lock.read_text("utf-8").splitlines(), [str(one.process.pid), harness.os.path.realpath(harness.PROGRAM)])
        self.assertEqual([path.name for path in self.home.path.glob("instance.lock.*")], [])
        one.send(signal.SIGTERM)
        self.assertEqual(one.wait(), 0, one.told())
        self.assertFalse(self.lock.exists())

    def test_a_second_one_ends_with_0_and_disturbs_no_recording(self):
        first = self.start("--auto-test", "3", TARVEX_SINGLE_INSTANCE="1")
        first.wait_for_line("recording started")
        self.assertEqual(self.begin().wait(), 0)
        self.assertEqual(first.wait(), 0, first.told())
        self.assert_finished(first)

    def test_after_a_kill_the_next_one_starts(self):
        first = self.begin()
        self.assertTrue(wait_until(self.lock.exists), first.told())
        first.send(signal.SIGKILL)
        first.wait()
        self.assertTrue(self.lock.exists())
        second = self.start("--auto-test", "0.5", TARVEX_SINGLE_INSTANCE="1")
        second.wait_for_line("recording started")
        self.assertTrue(self.lock.read_text("utf-8").startswith(f"{second.process.pid}\n"))
        self.assertEqual(second.wait(), 0, second.told())

    def test_a_lock_of_rubbish_keeps_nobody_out(self):
        self.lock.write_bytes(b"\xff\x00rubbish\n\n")
        self.assertEqual((program := self.start("--auto-test", "0.5", TARVEX_SINGLE_INSTANCE="1")).wait(), 0, program.told())
        self.assertFalse(self.lock.exists())

    def test_in_test_mode_two_may_run_unless_asked_otherwise(self):
        first = self.start()
        self.assertTrue(wait_until(lambda: self.home.ready), first.told())
        second = self.start("--auto-test", "0.5")
        self.assertEqual(second.wait(), 0, second.told())
        self.assertTrue(first.alive)
        first.send(signal.SIGTERM)
        self.assertEqual(first.wait(), 0, first.told())


if __name__ == "__main__":
    harness.main()
