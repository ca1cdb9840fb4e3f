#!/usr/bin/python3
"""Opening a library of meetings for search, and typing in it, beside cat, ripgrep and a plain scan.

    bench/search.py BUILD_DIR [--meetings 5000] [--library FOLDER]

The library is made in the temporary folder ($TMPDIR) unless there is one at FOLDER; half of it is English, half Chinese,
and everything is in the cache. Prints the times and their ratios; ends with 1 if the search finds something else than the
plain scan does, or if a goal is missed:

  reading   all texts are read and can be searched in three times the time of cat on the same files
  keys      each key of a query takes a tenth of a plain scan of the folded texts for that query, and the worst a tenth
            of ripgrep -i on the files
  memory    at most 2.5 times the texts
  main      the main thread is never held for more than 20 ms
"""
import argparse
import json
import pathlib
import subprocess
import sys
import tempfile
import time

ROUNDS = 5


def seconds(command, files=None):
    before = time.monotonic()
    subprocess.run(command, input=files, stdout=subprocess.DEVNULL, check=False)
    return time.monotonic() - before


def median(values):
    return sorted(values)[len(values) // 2]


class Goals:
    def __init__(self):
        self.missed = False

    def check(self, what, value, limit):
        ok = value <= limit
        self.missed = self.missed or not ok
        print(f"{'OK  ' if ok else 'MISS'} {what}: {value:.3g} (at most {limit:g})")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--meetings", type=int, default=5000)
    parser.add_argument("--library", type=pathlib.Path)
    options = parser.parse_args()
    peer = options.build / "bin" / "search_peer"

    with tempfile.TemporaryDirectory() as scratch:
        library = options.library or pathlib.Path(scratch) / "library"
        arguments = (str(library), str(options.meetings))
        if not library.exists():
            subprocess.run((peer, "write", *arguments), check=True)
        files = b"\0".join(str(path).encode() for path in sorted(library.glob("*/*")))
        cat = ("xargs", "-0", "cat")
        seconds(cat, files)

        goals = Goals()
        plain, read = [], []
        for _ in range(ROUNDS):  # in turns, so that whatever else the machine does meets both alike
            plain.append(seconds(cat, files))
            run = subprocess.run((peer, "read", *arguments), capture_output=True, check=True)
            read.append(json.loads(run.stdout))
        first = median([each["read"] for each in read])
        print(f"cat {median(plain):.3f} s, read {first:.3f} s, indexed {median([e['settled'] for e in read]):.3f} s, "
              f"texts {read[0]['text_bytes'] / 1e6:.0f} MB, kept {read[0]['kept_bytes'] / 1e6:.0f} MB, "
              f"resident {read[0]['resident_bytes'] / 1e6:.0f} MB")
        goals.check("reading / cat", first / median(plain), 3)
        goals.check("memory / text", read[0]["kept_bytes"] / read[0]["text_bytes"], 2.5)
        goals.check("resident memory / text", median([e["resident_bytes"] for e in read]) / read[0]["text_bytes"], 2.5)
        goals.check("longest hold of the main thread, ms", 1000 * median([e["longest_turn"] for e in read]), 20)

        run = subprocess.run((peer, "keys", *arguments), capture_output=True, check=False)
        keys = [json.loads(line) for line in run.stdout.decode().splitlines()]
        if run.returncode != 0 or not keys:
            print("MISS the search and the plain scan disagree")
            goals.missed = True
        worst = max(keys, key=lambda key: key["key"] / key["plain"])
        slowest = max(keys, key=lambda key: key["key"])
        print(f"{len(keys)} keys; slowest \"{slowest['typed']}\" {slowest['key'] * 1e3:.3f} ms, "
              f"worst beside the plain scan \"{worst['typed']}\" {worst['key'] * 1e6:.1f} us to {worst['plain'] * 1e6:.1f}")
        goals.check("worst key / plain scan for the same query", worst["key"] / worst["plain"], 0.1)
        ripgrep = min(seconds(("rg", "-i", "-l", key["typed"].split(" ")[0], str(library))) for key in keys[::len(keys) // 8])
        goals.check("slowest key / ripgrep -i", slowest["key"] / ripgrep, 0.1)
    return 1 if goals.missed else 0


if __name__ == "__main__":
    sys.exit(main())
