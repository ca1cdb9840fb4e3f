#!/usr/bin/python3
"""Cleaning two transcripts of a three-hour meeting, beside a plain Python form of the same rules with difflib.

    bench/cleaner.py BUILD_DIR [--segments 6000]

Both sides get the same seeded transcripts: English and Chinese mixed, a third of the microphone's segments leaks in all
their forms. Prints the times, their ratio, and the growth at ten times the segments; ends with 1 if what is kept or any
likeness differs, or if a goal is missed (a fortieth of the Python form's time; eleven times the time for ten times the
segments).
"""
import argparse
import difflib
import json
import pathlib
import random
import subprocess
import sys
import tempfile
import time
import unicodedata

ENGLISH = ("we should move the launch because budget review takes longer than anyone expected and the vendor asked "
           "about pricing again so let us check numbers before friday meeting with design team on new onboarding flow "
           "which customers find confusing I think it works better when people see progress first").split()
CHINESE = "我們下週要開會討論預算和新的流程客戶覺得現在太複雜所以先看數字再決定延後上線供應商也問了價格"
CJK = [(0x3040, 0x30FF), (0x3400, 0x4DBF), (0x4E00, 0x9FFF), (0xAC00, 0xD7AF), (0xF900, 0xFAFF), (0x20000, 0x2FA1F)]
SECONDS_PER_PAIR = 3.6  # three hours hold 3,000 segments of each track


def sentence(rng):
    if rng.random() < 0.4:
        return "".join(rng.choice(CHINESE) for _ in range(rng.randint(4, 28)))
    words = [rng.choice(ENGLISH) for _ in range(rng.randint(2, 18))]
    if rng.random() < 0.2:
        words.insert(rng.randrange(len(words)), "".join(rng.choice(CHINESE) for _ in range(rng.randint(1, 4))))
    return " ".join(words).capitalize() + rng.choice([".", "?", "!", ""])


def leak_of(rng, played):
    """A microphone's hearing of what was played: whole, misheard, a part of it, or across a boundary."""
    first = played[0]
    words = first["text"].split(" ")
    kind = rng.randrange(5)
    if kind == 0 or len(words) < 3:
        text = first["text"].lower()
    elif kind == 1:
        words[rng.randrange(len(words))] = "something"
        text = " ".join(words)
    elif kind == 2:
        text = " ".join(words[:max(3, len(words) * 3 // 4)])
    elif kind == 3 and len(played) > 1:
        text = " ".join(words[len(words) // 4:] + played[1]["text"].split(" ")[:3])
    else:
        text = first["text"] + "."
    shift = rng.uniform(-1.0, 1.0)
    return {"start": max(0.0, first["start"] + shift), "end": first["end"] + shift, "text": text}


def meeting(count, seed=4):
    rng = random.Random(seed)
    mic, system, at = [], [], 0.0
    for _ in range(count // 2):
        length = rng.uniform(0.8, SECONDS_PER_PAIR * 0.95)
        system.append({"start": round(at, 2), "end": round(at + length, 2), "text": sentence(rng), "no_speech_prob": 0.01})
        at += SECONDS_PER_PAIR
    for i, played in enumerate(system):
        if rng.random() < 1 / 3:
            segment = leak_of(rng, system[i:i + 2])
        else:
            start = played["start"] + rng.uniform(0, 2)
            segment = {"start": start, "end": start + rng.uniform(0.4, 3.5), "text": sentence(rng)}
        segment["start"], segment["end"] = round(segment["start"], 2), round(segment["end"], 2)
        segment["no_speech_prob"] = 0.7 if rng.random() < 0.03 else 0.02
        mic.append(segment)
    return mic, system, at


# The rules, plainly.

def is_cjk(text):
    return any(low <= ord(c) <= high for c in text for low, high in CJK)


def normalize(text):
    spaced = "".join(" " if unicodedata.category(c)[0] in "PS" else c for c in text.lower())
    return " ".join(piece for piece in spaced.split(" ") if piece)


def tokens(text):
    result, word = [], ""
    for c in normalize(text):
        if c.isspace() or is_cjk(c):
            if word:
                result.append(word)
            word = ""
            if not c.isspace():
                result.append(c)
        else:
            word += c
    return result + [word] if word else result


def ratio(a, b):
    if not a and not b:
        return 1.0
    if len(a) * len(b) > 400000:
        return 0.0
    blocks = difflib.SequenceMatcher(None, a, b, autojunk=False).get_matching_blocks()
    return 2 * sum(block.size for block in blocks) / (len(a) + len(b))


def find(needle, haystack):
    for i in range(len(haystack) - len(needle) + 1 if needle else 0):
        if haystack[i:i + len(needle)] == needle:
            return i
    return None


def is_leak(segment, near):
    heard = tokens(segment["text"])
    if not heard or not near:
        return False
    overlapping = [o for o in near if o["start"] < segment["end"] and segment["start"] < o["end"]]
    cjk = sum(1 for t in heard if len(t) == 1 and is_cjk(t))
    if len(heard) - cjk < 3 and cjk < 8:
        return any(ratio(heard, tokens(o["text"])) >= 0.9 for o in overlapping)
    for o in near:
        played = tokens(o["text"])
        if ratio(heard, played) >= 0.8 or (find(heard, played) is not None and len(played) * 0.6 <= len(heard)):
            return True
    ordered = sorted(near, key=lambda o: o["start"])
    stream, owners = [], []
    for i, o in enumerate(ordered):
        played = tokens(o["text"])
        stream += played
        owners += [i] * len(played)
    at = find(heard, stream)
    if at is not None:
        owning = set(owners[at:at + len(heard)])
        if sum(1 for owner in owners if owner in owning) * 0.6 <= len(heard):
            return True
    together = [t for o in ordered if o in overlapping for t in tokens(o["text"])]
    return bool(overlapping) and ratio(heard, together) >= 0.8


def drop_hallucinations(segments):
    segments = [s for s in segments if s["text"].strip() and s["end"] - s["start"] >= 0.3 and s["no_speech_prob"] <= 0.6]
    kept, i = [], 0
    while i < len(segments):
        key, j = normalize(segments[i]["text"]), i + 1
        while (j < len(segments) and normalize(segments[j]["text"]) == key
               and segments[j]["start"] - segments[j - 1]["end"] <= 5):
            j += 1
        short = len(key.split(" ")) <= 4 or len(key.replace(" ", "")) <= 6
        kept += segments[i:i + 1] if j - i >= 3 and short else segments[i:j]
        i = j
    return kept


def clean(mic, system, duration):
    def clamp(segments):
        return [dict(s, end=min(s["end"], duration)) for s in segments if s["start"] < duration]

    system, mic = drop_hallucinations(clamp(system)), drop_hallucinations(clamp(mic))
    kept = []
    for m in mic:
        near = [o for o in system if o["start"] <= m["end"] + 2 and o["end"] >= m["start"] - 2]
        if not is_leak(m, near):
            kept.append(m)
    both = [(s, "me") for s in kept] + [(s, "them") for s in system]
    both.sort(key=lambda pair: pair[0]["start"])
    return [f'kept {s["start"]:.2f} {who} {s["text"].strip()}' for s, who in both]


def ours(peer, transcripts, rounds):
    mic, system, duration = transcripts
    with tempfile.TemporaryDirectory() as folder:
        paths = []
        for name, segments in (("mic", mic), ("system", system)):
            paths.append(pathlib.Path(folder, name + ".json"))
            paths[-1].write_text(json.dumps({"language": "zh", "segments": segments}), encoding="utf-8")
        command = [peer, *map(str, paths), repr(duration), str(rounds)]
        lines = subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()
    return (float(lines[0].split()[1]), [line for line in lines if line.startswith("kept ")],
            [float.fromhex(line.split()[1]) for line in lines if line.startswith("ratio ")])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build_dir")
    parser.add_argument("--segments", type=int, default=6000)
    options = parser.parse_args()
    peer = str(pathlib.Path(options.build_dir, "bin", "cleaner_peer"))
    mic, system, duration = meeting(options.segments)
    seconds, kept, ratios = ours(peer, (mic, system, duration), 7)

    start = time.perf_counter()
    expected = clean(mic, system, duration)
    python_seconds = time.perf_counter() - start
    expected_ratios = [ratio(tokens(m["text"]), tokens(s["text"])) for m, s in zip(mic, system)]
    big_seconds = ours(peer, meeting(options.segments * 10), 3)[0]

    good = True
    for name, fine, text in (
            ("kept segments", kept == expected, f"{len(kept)} of {len(mic) + len(system)}"),
            ("likenesses", ratios == expected_ratios, f"{len(ratios)} equal to the last bit"),
            ("time", seconds * 40 <= python_seconds,
             f"{seconds * 1000:.1f} ms beside {python_seconds * 1000:.0f} ms: 1/{python_seconds / seconds:.0f}"),
            ("ten times the segments", big_seconds <= 11 * seconds, f"{big_seconds / seconds:.1f} times the time")):
        print(f"{'OK  ' if fine else 'FAIL'} {name}: {text}")
        good = good and fine
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
