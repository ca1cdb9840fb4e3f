"""What the two fake tools have in common: a plan that says how to behave, and a log of how they were called.

A plan is a JSON object:
  announce    path of a FIFO: the process id is written to it when the tool has started
  waitFor     path of a FIFO: read to its end before anything else happens
  ignoreTerm  true: SIGTERM does nothing
  stderr      text written to standard error
  stdout      text written to standard output (fake_claude: instead of an answer)
  flood       number of bytes written to each stream before anything else
  hang        true: sleeps until it is killed
  remove      path of a folder that is removed at the end, as a user's hand might
  exit        exit status, default 0
Each call appends one JSON object to PLAN.log: arguments, folder, PATH, HOME, standard input.
"""

import json
import os
import shutil
import signal
import sys
import time


class Refused(Exception):
    """The command line is not the one that the tool is always called with."""


def load_plan(variable):
    path = os.environ.get(variable, "")
    if not path or not os.path.exists(path):
        return {}
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def log_call(variable, standard_input):
    path = os.environ.get(variable, "")
    if not path:
        return
    call = {
        "arguments": [os.fsencode(each).decode("utf-8", "replace") for each in sys.argv[1:]],
        "folder": os.getcwd(),
        "folderIsEmpty": not os.listdir("."),
        "PATH": os.environ.get("PATH"),
        "HOME": os.environ.get("HOME"),
        "standardInput": standard_input.decode("utf-8"),
    }
    with open(path + ".log", "a", encoding="utf-8") as file:
        file.write(json.dumps(call, ensure_ascii=False) + "\n")


def begin(plan):
    if plan.get("ignoreTerm"):
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
    if "announce" in plan:
        with open(plan["announce"], "w", encoding="utf-8") as file:
            file.write(f"{os.getpid()}\n")
    if "waitFor" in plan:
        with open(plan["waitFor"], encoding="utf-8") as file:
            file.read()
    if "flood" in plan:
        for stream in (sys.stdout.buffer, sys.stderr.buffer):
            stream.write(b"x" * plan["flood"])
            stream.flush()
    while plan.get("hang"):
        time.sleep(1000)


def end(plan):
    sys.stdout.flush()
    sys.stderr.write(plan.get("stderr", ""))
    sys.stderr.flush()
    if "remove" in plan:
        shutil.rmtree(plan["remove"], ignore_errors=True)
    sys.exit(plan.get("exit", 0))


def expect(condition, what):
    if not condition:
        raise Refused(what)


def run(main):
    try:
        main()
    except Refused as refusal:
        sys.stderr.write(f"usage: {refusal}\n")
        sys.exit(64)
