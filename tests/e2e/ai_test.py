#!/usr/bin/python3
"""The road from a recording to transcript and summary, with stand-ins for the two tools, and its resumption."""

import json
import pathlib
import signal

import harness

FAKES = pathlib.Path(__file__).resolve().parent.parent / "fakes"
TOOLS = {"TARVEX_WHISPER_BIN": str(FAKES / "fake_mlx_whisper"), "TARVEX_CLAUDE_BIN": str(FAKES / "fake_claude")}


class AI(harness.EndToEnd):
    def plan(self, name, plan):
        """Tells a stand-in how to behave; the variable that names its plan."""
        path = self.home.path.parent / f"{self.home.path.name}-{name}.json"
        path.write_text(json.dumps(plan), "utf-8")
        self.addCleanup(path.unlink)
        return {f"FAKE_{name}_PLAN": str(path)}

    def test_a_meeting_gets_its_transcript_and_its_summary_by_itself(self):
        program = self.start("--auto-test", "2", **TOOLS)
        self.assertEqual(program.wait(), 0, program.told())
        folder = self.home.folder
        transcript = json.loads((folder / "transcript.json").read_text("utf-8"))
        self.assertTrue(transcript["segments"])
        self.assertTrue(json.loads((folder / "summary.json").read_text("utf-8"))["conclusion"])
        self.assertEqual([line for line in program.lines if line.startswith("ai: ")],
                         [f"ai: {word} {folder.name}" for word in ("start", "transcribing", "summarizing", "done")])

    def test_a_practice_that_is_kept_gets_its_advice(self):
        program = self.start("--auto-test", "2", "--practice", **TOOLS)
        self.assertEqual(program.wait(), 0, program.told())
        coach = json.loads((self.home.folder / "coach.json").read_text("utf-8"))
        self.assertTrue(coach["verdict"])
        self.assertIn("wordsPerMinute", coach["stats"])
        self.assertFalse((self.home.folder / "summary.json").exists())

    def test_a_practice_that_is_discarded_gets_none(self):
        program = self.start("--auto-test", "2", "--practice", "--discard", **TOOLS)
        self.assertEqual(program.wait(), 0, program.told())
        self.assertIsNone(program.line("ai: "))

    def test_a_tool_that_fails_costs_the_texts_and_nothing_else(self):
        program = self.start("--auto-test", "2", **TOOLS, **self.plan("WHISPER", {"*": {"exit": 1, "noFile": True, "stderr": "no model\n"}}))
        self.assertEqual(program.wait(), 0, program.told())
        self.assert_finished_but(program, ".tarvex-ai-failures")
        self.assertIn("no model", program.line("ai: failed"))

    def test_what_a_kill_cut_off_is_done_at_the_next_start(self):
        program = self.start("--auto-test", "2", **TOOLS, **self.plan("WHISPER", {"*": {"hang": True}}))
        program.wait_for_line("ai: transcribing")
        program.send(signal.SIGKILL)
        program.wait()
        folder = self.home.folder
        self.assertFalse((folder / "transcript.json").exists())
        again = self.start(TARVEX_AI_RESUME="1", **TOOLS)
        again.wait_for_line("ai: done")
        self.assertEqual(again.line("ai: resume"), f"ai: resume {folder.name}")
        again.send(signal.SIGTERM)
        self.assertEqual(again.wait(), 0, again.told())
        self.assertTrue((folder / "summary.json").exists())

    def test_a_transcription_is_ended_by_a_quit_and_leaves_no_tool_behind(self):
        program = self.start("--auto-test", "2", **TOOLS, **self.plan("WHISPER", {"*": {"hang": True}}))
        program.wait_for_line("ai: transcribing")
        program.send(signal.SIGTERM)
        self.assertEqual(program.wait(15), 0, program.told())

    def assert_finished_but(self, program, *extra):
        self.assertTrue((self.home.folder / "mic.m4a").exists(), program.told())
        for name in extra:
            self.assertTrue((self.home.folder / name).exists(), name)
        self.assertFalse((self.home.folder / "transcript.json").exists())


if __name__ == "__main__":
    harness.main()
