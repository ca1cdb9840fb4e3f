#!/usr/bin/python3
"""sound.py RECORD_TRACKS [SECONDS]: the processor time of recording two tracks, the sound server's share included, beside
ffmpeg recording the same two sources to PCM in the same run. Run it as

    tests/desk/desk --no-x [--pipewire] bench/sound.py build/release/bin/record_tracks 60
"""
import os
import subprocess
import sys
import tempfile
import time


def processor_seconds(process):
    with open(f"/proc/{process}/stat") as stat:
        fields = stat.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def servers():
    with open(os.path.join(os.environ["BRIEFLET_DESK"], "sound.pids")) as pids:
        return [int(line) for line in pids if line.strip()]


def measure(command, seconds):
    before = sum(map(processor_seconds, servers()))
    child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(seconds)
    own = processor_seconds(child.pid)
    server = sum(map(processor_seconds, servers())) - before
    child.wait()
    return own, server


def main():
    recorder, seconds = sys.argv[1], float(sys.argv[2]) if len(sys.argv) > 2 else 60.0
    with tempfile.TemporaryDirectory() as folder:
        tracks = [os.path.join(folder, name) for name in ("mic.wav", "system.wav")]
        capture = ["ffmpeg", "-nostdin", "-loglevel", "quiet", "-t", str(seconds + 1)]
        ffmpeg = (capture + ["-f", "pulse", "-i", "mic1", "-f", "pulse", "-i", "speakers.monitor"]
                  + ["-map", "0", "-c:a", "pcm_s16le", "-t", str(seconds + 1), tracks[0]]
                  + ["-map", "1", "-c:a", "pcm_s16le", "-t", str(seconds + 1), tracks[1]])
        results = {"none": measure(["sleep", str(seconds + 1)], seconds),
                   "ours": measure([recorder, str(seconds + 1)], seconds),
                   "ffmpeg": measure(ffmpeg, seconds)}
    for name, (own, server) in results.items():
        print(f"{name:7} process {own:.2f} s, server {server:.2f} s, together {own + server:.2f} s")
    print(f"ours / ffmpeg: {sum(results['ours']) / max(sum(results['ffmpeg']), 0.01):.2f}")


if __name__ == "__main__":
    main()
