#!/usr/bin/env python3
"""`tv play` on real broadcasts: the sound and the subtitles that were asked for, and the broadcast's own picture.

Usage: playing_test.py TV CAPTURES        (TV_CAPTURES in the environment goes before CAPTURES)

The picture is held against every picture that ffmpeg decodes of the same service, and, so that the measure is one, against
those of another broadcast. Status 77, "skipped", when there are no captures.
"""
import json
import pathlib
import statistics
import subprocess
import sys
import tempfile

from broadcasts import Television, folder_of, skipped

WIDTH, HEIGHT = 96, 54
ALIKE = 0.98  # correlation of grey levels: a player may show other primaries brighter or darker

# capture, channel, its number in the PAT, options, chosen sound, chosen subtitles, why
ROWS = [
    ("it-rai-dvbt-2022", "Rai 1", 3401, ["--audio", "eng"], "eng", "", "the third sound, MPEG-2 video"),
    ("fr-arte-seg1-2019", "Arte", 1031, ["--audio", "deu", "--subtitles", "deu"], "deu / AC-3", "deu",
     "enhanced AC-3 and the third subtitles, H.264"),
    ("fr-france2-2019", "France 2", 257, ["--audio", "qad"], "qad / AC-3", "", "audio description"),
    ("au-abcnews", "ABC NEWS", 560, ["--audio", "xyz"], "eng", "", "a language that is not sent: the first"),
    ("der-rai-loss1pct", "Rai 2", 3402, [], "eng", "", "no wish: the first language of scan_conf.txt; 1 % of packets lost"),
]


def pictures(arguments):
    """Small grey pictures out of ffmpeg."""
    filters = f"scale={WIDTH}:{HEIGHT},format=rgb24,format=gray"  # through RGB: grey of full range
    line = ["ffmpeg", "-v", "quiet", *arguments, "-vf", filters, "-f", "rawvideo", "-"]
    data = subprocess.run(line, capture_output=True, timeout=60).stdout
    return [data[i:i + WIDTH * HEIGHT] for i in range(0, len(data), WIDTH * HEIGHT)]


def likeness(one, many):
    """Of a picture and the most alike of others: 1 for the same."""
    return max(statistics.correlation(one, other) for other in many)


def play(program, root, capture, row, strangers):
    _, channel, number, options, sound, subtitles, _ = row
    truth = json.loads(capture.with_suffix("").with_suffix(".truth.json").read_text(encoding="utf-8"))
    television = Television(program, root, capture, truth)
    if (scan := television.run("scan")).returncode != 0:
        yield f"scan: {scan.stderr.strip()}"
        return
    file = root / "picture.png"
    result = television.run("play", channel, "--seconds", "3", "--picture", str(file), *options)
    if result.returncode != 0:
        yield f"status {result.returncode}: {result.stderr.strip()}"
        return
    played = json.loads(result.stdout)
    if not played["started"] or "error" in played["events"]:
        yield f"it does not play: {played}"
    if (played["selectedAudio"], played["selectedSubtitles"]) != (sound, subtitles):
        yield f"chosen are {played['selectedAudio']!r} and {played['selectedSubtitles']!r}"
    [shown] = pictures(["-i", str(file)])
    own = likeness(shown, pictures(["-i", str(capture), "-map", f"0:p:{number}:v:0"]))
    if own < ALIKE:
        yield f"the picture is none of those that are broadcast: {own:.3f}"
    if (other := likeness(shown, strangers)) > ALIKE - 0.2:
        yield f"the picture is like that of another broadcast: {other:.3f}, the measure says nothing"


def main():
    program, folder = sys.argv[1:]
    folder = folder_of(folder)
    captures = {row[0]: folder / f"{row[0]}.ts" for row in ROWS}
    if not all(capture.exists() for capture in captures.values()):
        return skipped(folder)
    faulty = 0
    for row, following in zip(ROWS, ROWS[1:] + ROWS[:1]):
        strangers = pictures(["-i", str(captures[following[0]]), "-map", f"0:p:{following[2]}:v:0"])
        with tempfile.TemporaryDirectory(prefix="tv playing ") as root:
            faults = list(play(program, pathlib.Path(root), captures[row[0]], row, strangers))
        faulty += bool(faults)
        print(f"{'FAULT' if faults else 'ok   '} {row[0]}: {row[1]}, {row[-1]}", flush=True)
        for fault in faults:
            print(f"      {fault}")
    return 0 if faulty == 0 else 1


sys.exit(main())
