#!/usr/bin/env python3
"""`tv play` from end to end, on a sample broadcast: what plays, the picture, the stream, keys, a window, recordings."""
import json
import os
import pathlib
import pty
import shutil
import signal
import struct
import subprocess
import tempfile
import termios
import time
import unittest
import zlib

import television
from television import LIMIT, TvTest, wait_for

RIVER = "Télé Rivière"  # two sounds, one of them AC-3; subtitles in two languages


def png_pixels(path):
    """Width, height and the different colours of a PNG of eight bits a channel."""
    data = pathlib.Path(path).read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    place, packed = 8, b""
    while place < len(data):
        length, kind = struct.unpack(">I4s", data[place:place + 8])
        body = data[place + 8:place + 8 + length]
        if kind == b"IHDR":
            width, height, _, kind_of_colour = struct.unpack(">IIBB", body[:10])
        elif kind == b"IDAT":
            packed += body
        place += 12 + length
    size = {2: 3, 6: 4}[kind_of_colour]
    raw = zlib.decompress(packed)
    # As filtered: what is one colour is one in any case.
    lines = [raw[y * (width * size + 1) + 1:(y + 1) * (width * size + 1)] for y in range(height)]
    return width, height, len({line[i:i + size] for line in lines[::8] for i in range(0, len(line), size)})


class Play(TvTest):
    def setUp(self):
        super().setUp()
        self.assertEqual(self.home.run("scan").returncode, 0)

    def test_shows_the_channel_and_saves_what_it_plays(self):
        picture, stream = self.home.root / "shown.png", self.home.root / "saved.ts"
        played = self.home.json("play", RIVER, "--seconds", "2", "--picture", str(picture), "--save", str(stream),
                                "--volume", "40")
        self.assertTrue(played["started"])
        self.assertIn("started", played["events"])
        self.assertEqual(played["events"][-1], "stopped")
        self.assertGreaterEqual(played["seconds"], 1)
        self.assertEqual({"audio", "subtitles", "selectedAudio", "selectedSubtitles"} - set(played), set())
        self.assertEqual([track["type"] for track in played["tracks"]], ["video", "audio"])
        width, height, colours = png_pixels(picture)
        self.assertEqual((width, height), (1024, 576))
        self.assertGreater(colours, 20)
        saved = stream.read_bytes()
        self.assertGreater(len(saved), 188 * 100)
        self.assertEqual({saved[i] for i in range(0, len(saved), 188)}, {0x47})

    def test_plays_the_channel_of_a_programme_that_is_on_air(self):
        on_air = next(row["current"] for row in self.home.json("now") if row["channel"]["name"] == RIVER)
        played = self.home.json("play", "--programme", str(on_air["id"]), "--seconds", "1")
        self.assertEqual((played["started"], played["name"]), (True, on_air["title"]))

    def test_takes_the_languages_that_are_asked_for(self):
        rows = [
            ([], "fra", "", "what comes first"),
            (["--audio", "eng"], "eng / AC-3", "", "another sound"),
            (["--subtitles", "eng"], "fra", "eng", "subtitles"),
            (["--audio", "xyz", "--subtitles", "xyz"], "fra", "fra", "what there is, where that is not"),
            (["--audio", "ENG"], "eng / AC-3", "", "whatever the letters"),
            (["--multichannel"], "eng / AC-3", "", "several channels before what comes first"),
            (["--multichannel", "--audio", "fra"], "fra", "", "a language that is named"),
        ]
        for words, audio, subtitles, why in rows:
            with self.subTest(why):
                result = self.home.run("--json", "play", RIVER, "--seconds", "1", *words)
                played = json.loads(result.stdout)
                self.assertEqual((played["selectedAudio"], played["selectedSubtitles"]), (audio, subtitles))
                languages = {track["type"]: track["language"] for track in played["tracks"]}
                self.assertEqual(languages["audio"], audio.split(" ")[0])
                self.assertEqual(languages.get("subtitles", ""), subtitles)
                self.assertEqual("xyz" in result.stderr, "xyz" in words, "what is missing is told")
        self.resident("run")
        for words, audio in [(["--multichannel"], "deu / AC-3"), ([], "eng")]:
            played = self.home.json("play", "1", "--seconds", "1", *words)
            self.assertEqual(played["selectedAudio"], audio, "for one command alone")
        kept = {option["id"]: option["value"] for option in self.home.json("settings")}
        self.assertEqual(kept["settings.option.id.enable.subtitles"], "false", "a wish is no setting")

    def test_says_in_one_line_why_it_cannot(self):
        (self.home.root / "air").mkdir()
        for file in television.Home.air.iterdir():
            if file.name != "490000000.ts":
                (self.home.root / "air" / file.name).symlink_to(file)
        silent = f"dvb-t=file:{self.home.root / 'air'}"
        rows = [(["play", "No Such Channel"], 2, "No Such Channel"), (["play"], 2, "CHANNEL"),
                (["play", "1", "--recording", "7"], 2, "only one"), (["play", "--recording", "7"], 2, "7"),
                (["play", "--programme", "999999"], 2, "999999"), (["play", "1", "--volume", "101"], 2, "101"),
                (["play", RIVER, "--seconds", "1", "--save", "/no/such/place.ts"], 1, "/no/such/place.ts"),
                (["play", "Česká Vlna", "--seconds", "1"], 1, "signal"),
                (["play", "701", "--seconds", "1", "--picture", "x.png"], 1, "no picture")]
        for words, status, told in rows:
            with self.subTest(words):
                line = self.home.command(*words, receiver=False) + ["--receiver", silent]
                result = subprocess.run(line, capture_output=True, text=True, timeout=LIMIT, cwd=self.home.root)
                self.assertEqual(result.returncode, status, result)
                self.assert_one_line(result.stderr, words)
                self.assertIn(told, result.stderr)
        self.assertFalse((self.home.root / "x.png").exists())

    def test_ends_in_order_when_it_is_interrupted(self):
        process = self.start("--json", "play", RIVER)
        time.sleep(3)
        process.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=LIMIT)
        self.assertEqual(process.returncode, 130, err)
        self.assertTrue(json.loads(out)["started"])
        self.assertEqual(err, "")

    def test_is_told_of_once_when_the_owner_that_plays_it_ends(self):
        owner = self.resident("run")
        process = self.start("--json", "play", RIVER, "--seconds", "4")
        wait_for(lambda: any("DURIX_PLAYER_EVENT_STARTED" in line for line in self.log()))
        owner.send_signal(signal.SIGINT)
        out, err = process.communicate(timeout=LIMIT)
        self.assertEqual(process.returncode, 0, err)
        self.assertTrue(json.loads(out)["started"], "it goes on by itself")

    def log(self):
        return (self.home.data / "tv.log").read_text(errors="replace").splitlines()

    def test_takes_keys_and_gives_the_terminal_back(self):
        for last, status in [(b"q", 0), (b"\x03", 130)]:
            with self.subTest(last):
                text, code, same = self.at_keyboard([b"m", b"m", b"-", b"a", b"s", b"\033[A", b" ", b" "], last)
                self.assertEqual(code, status, text)
                self.assertTrue(same, "the terminal is as before")
                for told in ["volume 95", "muted", "eng / AC-3", "paused", "Северный свет"]:
                    self.assertIn(told, text)

    def test_passes_over_channels_without_a_signal(self):
        (self.home.root / "air").mkdir()
        for file in television.Home.air.iterdir():
            if file.name != "482000000.ts":
                (self.home.root / "air" / file.name).symlink_to(file)
        silent = ["--receiver", f"dvb-t=file:{self.home.root / 'air'}"]
        line = self.home.command("play", "Северный свет", receiver=False) + silent
        text, code, _ = self.at_keyboard([b"\033[A", b" ", b" "], b"q", line)
        self.assertEqual(code, 0, text)
        self.assertIn("no signal", text)
        self.assertIn("Česká Vlna  0:", text)

    def at_keyboard(self, keys, last, line=None):
        """Plays at a terminal of its own; what was shown, the status, and whether the terminal's modes are as before."""
        child, master = pty.fork()
        if child == 0:
            os.environ["COLUMNS"] = "120"
            os.execv(television.TV, line or self.home.command("play", RIVER))
        os.set_blocking(master, False)
        before, shown = termios.tcgetattr(master), b""

        def read():
            nonlocal shown
            try:
                shown += os.read(master, 65536)
            except (BlockingIOError, OSError):
                pass
            return shown

        wait_for(lambda: b"volume" in read())
        termios.tcsetattr(master, termios.TCSANOW, before)  # as a shell does that stops it for a while
        time.sleep(0.3)
        for key in keys:
            os.write(master, key)
            time.sleep(0.6)
            read()
        os.write(master, last)
        wait_for(lambda: (read(), os.waitid(os.P_PID, child, os.WEXITED | os.WNOHANG | os.WNOWAIT))[1] is not None)
        same = termios.tcgetattr(master)[3] == before[3]
        status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
        os.close(master)
        return shown.decode("utf-8", "replace"), status, same

    def test_is_done_by_the_owner_of_the_directory_for_others(self):
        self.resident("run")
        line = self.home.command("--json", "play", RIVER, "--seconds", "2", "--picture", "here.png")
        result = subprocess.run(line, capture_output=True, text=True, timeout=LIMIT, cwd=self.home.root)
        self.assertEqual(result.returncode, 0, result)
        self.assertTrue(json.loads(result.stdout)["started"])
        self.assertTrue((self.home.root / "here.png").exists(), "a path is the caller's")

    def test_plays_a_recording_that_is_being_made(self):
        self.resident("run")
        self.assertEqual(self.home.run("record", RIVER, "--for", "1").returncode, 0)
        wait_for(lambda: any(one["duration"] >= 3 for one in self.home.json("recordings")))
        recording = self.home.json("recordings")[0]["id"]
        picture = self.home.root / "recorded.png"
        played = self.home.json("play", "--recording", str(recording), "--seconds", "2", "--picture", str(picture))
        self.assertTrue(played["started"])
        self.assertGreater(png_pixels(picture)[2], 20)

    def test_fills_a_window_with_the_picture(self):
        if shutil.which("Xvfb") is None:
            self.skipTest("no Xvfb")
        folder = pathlib.Path(tempfile.mkdtemp(prefix="tv screen "))
        self.addCleanup(shutil.rmtree, folder)
        reader, writer = os.pipe()
        server = subprocess.Popen(["Xvfb", "-displayfd", str(writer), "-fbdir", str(folder), "-screen", "0",
                                   "1280x720x24", "-nolisten", "tcp"], pass_fds=[writer], stderr=subprocess.DEVNULL)
        self.addCleanup(television.end, server)
        display = ":" + os.read(reader, 16).decode().strip()
        process = subprocess.Popen(self.home.command("play", RIVER, "--window", "--seconds", "30"),
                                   env={**os.environ, "DISPLAY": display}, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
        self.addCleanup(television.end, process)
        screen = folder / "Xvfb_screen0"

        def colours():
            data = screen.read_bytes()
            header, entries = struct.unpack(">I", data[:4])[0], struct.unpack(">I", data[76:80])[0]
            pixels = data[header + entries * 12:]
            return len({pixels[i:i + 3] for i in range(0, len(pixels) - 4, 4 * 37)})

        wait_for(lambda: process.poll() is not None or colours() > 100)
        self.assertIsNone(process.poll(), "it still plays")
        server.terminate()  # the desktop goes
        self.assertIn(process.wait(timeout=LIMIT), [0, 1])


if __name__ == "__main__":
    television.main()
