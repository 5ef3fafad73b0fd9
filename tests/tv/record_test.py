#!/usr/bin/env python3
"""Recording with the built `tv`: what is asked for is on the disk, whatever happens, and can be found and deleted."""
import json
import pathlib
import random
import shutil
import signal
import subprocess
import time

import television
from television import LIMIT, TvTest, wait_for

TIMER = {"id": int, "name": str, "channel": str, "start": str, "end": str, "startTime": int, "endTime": int,
         "active": bool, "programmes": list}
RECORDING = {"id": int, "name": str, "channel": str, "start": str, "end": str, "duration": int, "active": bool,
             "rating": int, "uri": str, "errors": int, "file": str}


def probe(file):
    """Length and kinds of streams of a recording, and what ffmpeg has to say about its contents."""
    line = ["ffprobe", "-v", "error", "-show_entries", "format=duration:stream=codec_type", "-of", "json", file]
    told = json.loads(subprocess.run(line, capture_output=True, text=True, timeout=LIMIT, check=True).stdout)
    line = ["ffmpeg", "-v", "warning", "-i", file, "-map", "0", "-c:d", "copy", "-c:s", "copy", "-f", "null", "-"]
    faults = subprocess.run(line, capture_output=True, text=True, timeout=LIMIT, check=True).stderr
    # Of ffmpeg's own output: where a broadcast was received anew, two frames may have one time.
    faults = "".join(fault for fault in faults.splitlines() if "non monotonically increasing dts" not in fault)
    kinds = sorted(stream["codec_type"] for stream in told["streams"])
    return float(told["format"]["duration"]), kinds, faults


class RecordTest(TvTest):
    def setUp(self):
        super().setUp()
        self.home.json("scan")
        channels = self.home.json("channels")
        self.first = channels[0]
        source = self.first["source"]
        self.beside = next(c for c in channels[1:] if c["source"] == source)
        self.elsewhere = next(c for c in channels if c["source"] != source and c["type"] == "tv")

    def assert_shape(self, value, shape):
        for key, kind in shape.items():
            self.assertIsInstance(value[key], kind, key)

    def refused(self, *words):
        result = self.home.run("record", *words)
        self.assertEqual(result.returncode, 1, result)
        self.assertEqual(result.stdout, "")
        self.assert_one_line(result.stderr, words)
        return result.stderr

    def timers(self):
        return self.home.json("timers")

    def recordings(self):
        return self.home.json("recordings")

    def record(self, channel, seconds, *more):
        """From the next second on: the timer."""
        start = int(time.time()) + 1
        return self.home.json("record", f"#{channel['id']}", "--from", str(start), "--to", str(start + seconds), *more)


class WhatCannotBeMeant(RecordTest):
    def test_is_status_2_with_one_line(self):
        rows = [["record"], ["record", "1"], ["record", "--for", "1"], ["record", "1", "--for", "0"],
                ["record", "1", "--for", "many"], ["record", "1", "--for", "1", "--from", "1:00", "--to", "2:00"],
                ["record", "1", "--from", "1:00"], ["record", "1", "--from", "1:00", "--to", "late"],
                ["record", "1", "--programme", "5"], ["record", "--programme", "x"],
                ["--quiet", "record", "--programme", "999999"], ["record", "No such channel", "--for", "1"],
                ["timers", "cancel"], ["timers", "cancel", "77"], ["timers", "change", "77"],
                ["timers", "change", "77", "--name", "x"], ["recordings", "delete", "77"],
                ["recordings", "export", "77"], ["timeshift", "1"], ["timeshift", "1", "--for", "-1"]]
        self.resident("run")
        for words in rows:
            with self.subTest(words):
                result = self.home.run(*words)
                self.assertEqual((result.returncode, result.stdout), (2, ""), result)
                self.assert_one_line(result.stderr, words)


class ATimer(RecordTest):
    def test_is_kept_and_says_what_it_needs(self):
        result = self.home.run("--json", "record", f"#{self.first['id']}", "--from", "23:58", "--to", "23:59")
        self.assertEqual(result.returncode, 0, result)
        self.assertIn("tv run", result.stderr)
        timer = json.loads(result.stdout)
        self.assert_shape(timer, TIMER)
        self.assertEqual(timer["endTime"] - timer["startTime"], 60)
        self.assertEqual([t["id"] for t in self.timers()], [timer["id"]])
        changed = self.home.json("timers", "change", str(timer["id"]), "--name", "Später", "--to", "23:59")
        self.assertEqual(changed["name"], "Später")
        days = [p for p in self.home.json("playlists") if timer["id"] in p["items"]]
        self.assertEqual(len(days), 2, "all timers, and those of its day")
        self.assertTrue(any(p["start"] < timer["startTime"] < p["end"] for p in days))
        self.assertEqual(self.home.json("timers", "cancel", str(timer["id"]))["id"], timer["id"])
        self.assertEqual(self.timers(), [])

    def test_of_a_programme_has_its_times_and_name(self):
        self.resident("run")
        later = self.home.json("now")[0]["next"]
        timer = self.home.json("record", "--programme", str(later["id"]))
        self.assertEqual((timer["name"], timer["startTime"], timer["endTime"], timer["programmes"]),
                         (later["title"], later["startTime"], later["endTime"], [later["id"]]))
        marked = self.home.json("guide", f"#{self.home.json('channels')[0]['id']}")[0]["programmes"]
        self.assertEqual([p["id"] for p in marked if p["scheduled"]], [later["id"]])

    def test_that_cannot_be_says_what_stands_in_its_way(self):
        self.resident("run")
        timer = self.home.json("record", f"#{self.first['id']}", "--from", "23:50", "--to", "23:55", "--name", "First")
        told = self.refused(f"#{self.elsewhere['id']}", "--from", "23:54", "--to", "23:58")
        for part in ["1 receiver", f"timer {timer['id']}", "First", "cancel"]:
            self.assertIn(part, told)
        self.home.json("record", f"#{self.beside['id']}", "--from", "23:54", "--to", "23:58")
        self.home.json("record", f"#{self.elsewhere['id']}", "--from", "23:58", "--to", "23:59")
        self.assertIn("over", self.refused("1", "--from", "1000", "--to", "2000"))
        self.assertIn("after", self.refused("1", "--from", "23:55", "--to", "1000"))
        self.assertIn("room", self.refused("1", "--from", "2030-01-01T00:00", "--to", "2037-01-01T00:00"))
        shutil.rmtree(self.home.data / "recordings")
        (self.home.data / "recordings").write_text("in its place")
        self.assertIn("recordings", self.refused("1", "--from", "23:50", "--to", "23:55"))


class ARecording(RecordTest):
    def test_of_two_services_at_once_plays_and_can_be_taken_away(self):
        owner = self.resident("--json", "run")
        programme = self.home.json("now")[0]["current"]
        wanted = [self.record(self.first, 8), self.record(self.beside, 8)]
        wait_for(lambda: all(r["active"] for r in self.recordings()) and len(self.recordings()) == 2)
        busy = {c["name"]: (c["recorded"], c["playable"]) for c in self.home.json("channels")}
        self.assertEqual(busy[self.first["name"]], (True, True))
        self.assertEqual(busy[self.elsewhere["name"]], (False, False), "its receiver is in use")
        running = self.recordings()[0]
        self.assertEqual(self.home.run("recordings", "delete", str(running["id"])).returncode, 1)
        wait_for(lambda: self.timers() == [])
        recordings = self.recordings()
        self.assertEqual({r["channel"] for r in recordings}, {t["channel"] for t in wanted})
        self.assertIn((programme["title"], programme["description"]), [(r["name"], r["description"]) for r in recordings])
        copy = self.home.root / "copy.ts"
        for recording in recordings:
            self.assert_shape(recording, RECORDING)
            self.assertFalse(recording["active"])
            self.assertEqual(recording["errors"], 0)
            self.home.json("recordings", "export", str(recording["id"]), str(copy))
            self.assertEqual(copy.read_bytes(), pathlib.Path(recording["file"]).read_bytes())
            length, kinds, faults = probe(copy)
            self.assertAlmostEqual(length, 8, delta=1.5)
            self.assertIn("audio", kinds)
            self.assertEqual(faults, "")
            beside = json.loads(pathlib.Path(recording["file"]).with_suffix(".json").read_text())
            self.assertEqual((beside["title"], beside["channel"]), (recording["name"], recording["channel"]))
            self.home.json("recordings", "delete", str(recording["id"]))
        self.assertEqual(self.recordings(), [])
        self.assertEqual(list((self.home.data / "recordings").iterdir()), [])
        owner.send_signal(signal.SIGINT)
        told = [json.loads(line)["notice"] for line in owner.communicate(timeout=LIMIT)[0].splitlines()]
        steps = [n for n in told if n.startswith("recording")]
        self.assertEqual(sorted(steps), sorted(["recordingActivating", "recordingActive", "recordingDeactive"] * 2))

    def test_has_one_picture_when_the_broadcaster_moves_it(self):
        self.resident("run")
        self.record(next(c for c in self.home.json("channels") if c["name"] == "Česká Vlna"), 6)
        wait_for(lambda: self.recordings() and self.timers() == [])
        [recording] = self.recordings()
        length, kinds, faults = probe(recording["file"])
        self.assertAlmostEqual(length, 6, delta=1.5)
        self.assertEqual((kinds, faults, recording["errors"]), (["audio", "subtitle", "video"], "", 0))

    def test_goes_on_however_often_the_process_is_killed(self):
        moments = random.Random(5)
        owner = self.resident("run")
        timer = self.record(self.first, 12)
        wait_for(lambda: self.recordings() and self.recordings()[0]["duration"] >= 1)
        for missing in ["", ".index", ".json", ".index"]:
            [before] = self.recordings()
            time.sleep(moments.uniform(0, 2))  # any moment is the right one
            owner.kill()
            owner.communicate()
            if not missing:
                self.assertGreaterEqual(probe(before["file"])[0], before["duration"] - 1, "it plays as it is")
            else:
                pathlib.Path(before["file"]).with_suffix(missing).unlink()
            owner = self.start("run")
            time.sleep(moments.uniform(0, 0.3))  # and while it starts
            owner.kill()
            owner.communicate()
            owner = self.resident("run")
            [after] = self.recordings()
            self.assertEqual((after["id"], after["file"], after["offline"]), (before["id"], before["file"], False))
            self.assertGreaterEqual(after["duration"], before["duration"] - 1)
            self.assertIn([t["id"] for t in self.timers()], [[timer["id"]], []])
        wait_for(lambda: self.timers() == [])
        [after] = self.recordings()
        self.assertEqual((after["errors"], probe(after["file"])[2]), (0, ""))
        for _ in range(2):
            deleting = self.start("recordings", "delete", str(after["id"]))
            time.sleep(moments.uniform(0, 0.1))
            owner.kill()
            owner.communicate()
            deleting.communicate()
            owner = self.resident("run")
            left = {f.suffix for f in (self.home.data / "recordings").iterdir()}
            self.assertEqual(left, {".ts", ".index", ".json"} if self.recordings() else set(), "all of it or nothing")

    def test_that_nobody_ended_is_found_again(self):
        owner = self.resident("run")
        self.record(self.first, 3)
        wait_for(lambda: self.recordings() and self.recordings()[0]["duration"] >= 1)
        owner.kill()
        owner.communicate()
        time.sleep(3)
        [recording] = self.recordings()
        self.assertFalse(recording["active"])
        self.assertGreaterEqual(recording["duration"], 1)
        self.assertEqual(self.timers(), [])
        away = self.home.root / "away"
        (self.home.data / "recordings").rename(away)
        self.assertTrue(self.recordings()[0]["offline"])
        self.assertEqual(self.home.run("recordings", "delete", str(recording["id"])).returncode, 1)
        away.rename(self.home.data / "recordings")
        self.assertFalse(self.recordings()[0]["offline"])


class ATimeShift(RecordTest):
    def test_grows_and_leaves_nothing(self):
        self.resident("run")
        shift = self.start("--json", "timeshift", f"#{self.first['id']}", "--for", "0.05")
        directory = self.home.data / "timeshift"
        wait_for(lambda: directory.is_dir() and any(f.stat().st_size > 0 for f in directory.glob("*.ts")))
        out, errors = shift.communicate(timeout=LIMIT)
        self.assertEqual((shift.returncode, errors), (0, ""))
        told = json.loads(out)
        self.assertEqual(told["channel"], self.first["name"])
        self.assertGreaterEqual(told["duration"], 1)
        self.assertEqual(list(directory.iterdir()), [])
        self.assertEqual((self.timers(), self.recordings()), ([], []))

    def test_is_watched_while_it_grows(self):
        self.resident("run")
        shift = self.start("timeshift", f"#{self.first['id']}", "--for", "0.2")
        number = shift.stdout.readline().split()[2]
        wait_for(lambda: any(f.stat().st_size > 100000 for f in (self.home.data / "timeshift").glob("*.ts")))
        played = self.home.json("play", "--recording", number, "--seconds", "3")
        self.assertTrue(played["started"])
        self.assertGreaterEqual(played["seconds"], 1)
        shift.send_signal(signal.SIGINT)
        shift.communicate(timeout=LIMIT)


if __name__ == "__main__":
    television.main()
