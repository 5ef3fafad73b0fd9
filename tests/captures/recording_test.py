#!/usr/bin/env python3
"""`tv record` on real broadcasts, several at once: a recording holds exactly the service's streams, is as long as asked,
and gives ffmpeg nothing to complain of that the broadcast itself, sent again and again, does not.

Usage: recording_test.py TV CAPTURES        (TV_CAPTURES in the environment goes before CAPTURES)

Status 77, "skipped", when there are no captures.
"""
import json
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

from broadcasts import LIMIT, LOCATION, folder_of, skipped

SECONDS = 9
FREQUENCIES = range(474000000, 600000000, 8000000)

# capture, channels at once, seconds from one key frame of theirs to the next
ROWS = [
    ("it-rai-dvbt-2022", ["Rai 1", "Rai 2", "Rai Radio1"], 0.5),
    ("fr-arte-seg1-2019", ["Arte"], 2.0),
    ("fr-france2-2019", ["France 2"], 2.0),
    ("au-abcnews", ["ABC NEWS"], 1.6),
]


def told(program, *words):
    return subprocess.run([program, *words], capture_output=True, text=True, timeout=LIMIT)


def kinds_of_faults(file, number):
    """What ffmpeg has to say, without the places where."""
    options = ["-v", "error", "-i", str(file), "-map", f"0:p:{number}", "-c:d", "copy", "-c:s", "copy", "-f", "null", "-"]
    lines = re.split(r"[\r\n]+", told("ffmpeg", *options).stderr)
    bare = [re.sub(r"0x[0-9a-f]+|-?\d+|/.*\.ts", "#", line) for line in lines]
    return {line for line in bare if line.strip() and "message repeated" not in line}


def streams(file, number):
    """PIDs of a programme with their kinds."""
    entries = "program=program_id:program_stream=id,codec_name,codec_type"
    probed = json.loads(told("ffprobe", "-v", "quiet", "-show_entries", entries, "-of", "json", str(file)).stdout)
    [programme] = [one for one in probed["programs"] if one["program_id"] == number]
    return {one["id"]: (one.get("codec_type"), one.get("codec_name")) for one in programme["streams"]}, len(probed["programs"])


def check(recording, capture, number, key_frames, root):
    file = pathlib.Path(recording["file"])
    held, programmes = streams(file, number)
    sent, _ = streams(capture, number)
    if held != sent or programmes != 1:
        yield f"it holds {held} of {programmes} programmes instead of {sent}"
    shortest = SECONDS - 1 - key_frames
    if not shortest <= recording["duration"] + 0.5 or recording["duration"] > SECONDS + 1:
        yield f"it lasts {recording['duration']} seconds"
    looped = root / "looped.ts"
    with looped.open("wb") as out:
        for _ in range(3):
            out.write(capture.read_bytes())
    more = kinds_of_faults(file, number) - kinds_of_faults(looped, number)
    if more:
        yield f"ffmpeg says of it only: {sorted(more)}"


def record(program, root, folder):
    """The recordings by channel."""
    (root / "air").mkdir()
    (root / "library" / "locations").mkdir(parents=True)
    (root / "library" / "scan_conf.txt").write_text("lang:eng\n")
    for (name, *_), frequency in zip(ROWS, FREQUENCIES):
        (root / "air" / f"{frequency}.ts").symlink_to((folder / f"{name}.ts").resolve())
    text = LOCATION.format(type="DVB-T", frequency=FREQUENCIES[0])
    single = re.search("<single.*/>", text).group()
    several = "".join(single.replace(str(FREQUENCIES[0]), str(f)) for f in FREQUENCIES[:len(ROWS)])
    (root / "library" / "locations" / "fullscan.xml").write_text(text.replace(single, several))
    line = [program, "--data", str(root / "data"), "--library", str(root / "library"),
            "--receiver", f"dvb-t=file:{root / 'air'},tuners={len(ROWS)}", "--json"]
    told(*line, "scan")
    owner = subprocess.Popen([*line, "run"], stdout=subprocess.DEVNULL)
    try:
        time.sleep(1)
        start = int(time.time()) + 3
        for _, channels, _ in ROWS:
            for channel in channels:
                result = told(*line, "record", channel, "--from", str(start), "--to", str(start + SECONDS))
                if result.returncode != 0:
                    print(f"FAULT {channel}: {result.stderr.strip()}")
        time.sleep(max(0.0, start + SECONDS + 1 - time.time()))
        return {one["channel"]: one for one in json.loads(told(*line, "recordings").stdout)}
    finally:
        owner.send_signal(signal.SIGINT)
        owner.wait(LIMIT)


def main():
    program, folder = sys.argv[1:]
    folder = folder_of(folder)
    if not all((folder / f"{name}.ts").exists() for name, *_ in ROWS):
        return skipped(folder)
    root = pathlib.Path(tempfile.mkdtemp(prefix="tv recording "))
    faulty = 0
    try:
        recordings = record(program, root, folder)
        for name, channels, key_frames in ROWS:
            truth = json.loads((folder / f"{name}.truth.json").read_text(encoding="utf-8"))
            for channel in channels:
                [number] = [s["service_id"] for s in truth["services"] if s["name"] == channel]
                recording = recordings.get(channel)
                faults = ["there is no recording"] if recording is None else list(
                    check(recording, folder / f"{name}.ts", number, key_frames, root))
                faulty += bool(faults)
                print(f"{'FAULT' if faults else 'ok   '} {name}: {channel}", flush=True)
                for fault in faults:
                    print(f"      {fault}")
    finally:
        shutil.rmtree(root)
    return 0 if faulty == 0 else 1


sys.exit(main())
