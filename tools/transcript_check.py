"""Compares a transcript.json with what was really said, speaker by speaker, by its word error rate: the words that are
wrong, missing or too many, as a share of the words that were said.

The program under test has no part in it.
"""

import dataclasses
import json
import re

WORST = 0.40  # word error rate up to which a transcript counts as understood
NAMES = {"mic": "me", "system": "them"}  # who speaks in the track, in the words of transcript.json


@dataclasses.dataclass
class Line:
    """A stretch of the transcript, in seconds of the recording."""
    start: float
    end: float
    speaker: str
    text: str


def read(folder):
    """The lines of the folder's transcript; none where there is no transcript."""
    try:
        told = json.loads((folder / "transcript.json").read_text("utf-8"))
        return [Line(float(each["start"]), float(each["end"]), each["speaker"], each["text"]) for each in told["segments"]]
    except (OSError, ValueError, KeyError, TypeError):
        return []


def words(text):
    """Without upper case and punctuation, an apostrophe being part of its word."""
    return re.findall(r"[^\W_]+(?:'[^\W_]+)*", text.lower().replace("’", "'"))


def edits(said, heard):
    """The fewest words to change, leave out or put in that make one of the other."""
    row = list(range(len(heard) + 1))
    for i, word in enumerate(said, 1):
        above, row[0] = row[0], i
        for j, other in enumerate(heard, 1):
            above, row[j] = row[j], min(row[j] + 1, row[j - 1] + 1, above + (word != other))
    return row[-1]


def error_rate(said, heard):
    said = words(said)
    return edits(said, words(heard)) / max(1, len(said))


def check(report, lines, said):
    """`said` maps the name of a track to its whole text. Swapped: what a speaker is told to have said is closer to the
    other's text than to the speaker's own."""
    report.say(lines, f"there is a transcript with {len(lines)} lines")
    for track, text in said.items():
        speaker = NAMES[track]
        heard = " ".join(line.text for line in lines if line.speaker == speaker)
        rate = error_rate(text, heard)
        report.say(rate <= WORST, f"{speaker}: word error rate {rate:.1%} ({edits(words(text), words(heard))} of {len(words(text))} words), "
                                  f"at most {WORST:.0%}")
        for other, foreign in said.items():
            if other != track:
                rate_of_other = error_rate(foreign, heard)
                report.say(rate < rate_of_other, f"{speaker} is not {NAMES[other]}: against the other's words {rate_of_other:.1%}")
