#!/usr/bin/env python3
"""One process owns a data directory and serves the others; who stays watches."""
import json
import os
import signal
import socket
import subprocess
import time

import television
from television import HIDE_RADIO, LIMIT, TvTest, wait_for


class OneOwner(TvTest):
    def setUp(self):
        super().setUp()
        self.home.json("scan")

    def test_serves_the_commands_of_others(self):
        alone = self.home.json("channels")
        owner = self.resident("run")
        self.assertEqual(self.home.json("channels"), alone)
        self.assertEqual(self.home.json("channels", receiver=False), alone)
        self.assertEqual(self.home.json("settings", HIDE_RADIO, "true")[0]["value"], "true")
        for words, status in [(["settings", "no.such.option"], 2), (["scan", "Nowhere"], 1)]:
            result = self.home.run(*words)
            self.assertEqual(result.returncode, status)
            self.assert_one_line(result.stderr, words)
        scanned = self.home.json("scan")
        self.assertTrue(scanned["success"])
        self.assertIsNone(owner.poll(), "the owner stays")
        owner.send_signal(signal.SIGTERM)
        owner.communicate(timeout=LIMIT)
        self.assertEqual(owner.returncode, 130)
        self.assertFalse((self.home.data / "socket").exists())
        self.assertEqual(self.home.json("settings", HIDE_RADIO)[0]["value"], "true", "what others set is kept too")

    def test_takes_relative_paths_from_where_the_caller_is(self):
        self.resident("run")
        there = self.home.root / "there"
        (there / "air").mkdir(parents=True)
        line = self.home.command("--json", "receivers", "select", "dvb-t", "file:air", receiver=False)
        result = subprocess.run(line, cwd=there, capture_output=True, text=True, timeout=LIMIT)
        self.assertEqual(result.returncode, 0, result)
        self.assertEqual(json.loads(result.stdout)["stored"]["source"], f"file:{there}/air")

    def test_serves_many_at_once(self):
        owner = self.resident("run")
        crowd = [self.start("--json", "channels") for _ in range(8)]
        answers = [process.communicate(timeout=LIMIT)[0] for process in crowd]
        self.assertEqual({process.returncode for process in crowd}, {0})
        self.assertEqual(len(set(answers)), 1)
        self.assertIsNone(owner.poll())

    def test_short_commands_wait_for_each_other(self):
        crowd = [self.start("--json", "channels") for _ in range(4)]
        answers = [process.communicate(timeout=LIMIT) for process in crowd]
        self.assertEqual({process.returncode for process in crowd}, {0}, answers)
        self.assertEqual(len({answer[0] for answer in answers}), 1)

    def test_that_dies_leaves_nothing_in_the_way(self):
        owner = self.resident("run")
        owner.kill()
        owner.communicate(timeout=LIMIT)
        self.assertGreater(len(self.home.json("channels")), 0)

    def test_is_not_disturbed_by_strangers_at_its_socket(self):
        owner = self.resident("run")
        folder = os.open(self.home.data, os.O_PATH)
        self.addCleanup(os.close, folder)
        rows = [b"", b"R", b"hello, world", b"R\xff\xff\xff\xff", b"R\0\0\0\x02{]", b"R\0\0\0\x02{}",
                b"X\0\0\0\x010"]
        for sent in rows:
            with socket.socket(socket.AF_UNIX) as stranger:
                stranger.connect(f"/proc/self/fd/{folder}/socket")
                stranger.sendall(sent)
        self.assertEqual(self.home.run("settings").returncode, 0)
        self.assertIsNone(owner.poll())

    def test_cancels_the_scan_of_a_caller_that_goes_away(self):
        owner = self.resident("run")
        caller = self.start("scan", "Endless")
        while "600" not in caller.stdout.readline():
            self.assertIsNone(caller.poll())
        caller.send_signal(signal.SIGINT)
        caller.communicate(timeout=LIMIT)
        self.assertEqual(caller.returncode, 130)
        self.assertEqual(self.home.run("scan").returncode, 0, "the next scan is not refused")
        self.assertIsNone(owner.poll())

    def test_hands_a_watcher_on_when_it_ends(self):
        owner = self.resident("run")
        watcher = self.start("--json", "watch")
        time.sleep(0.5)
        owner.send_signal(signal.SIGINT)
        owner.communicate(timeout=LIMIT)
        number = (self.home.data / "lock").read_text
        wait_for(lambda: number().strip() == str(watcher.pid))
        self.assertGreater(len(self.home.json("channels")), 0)
        watcher.send_signal(signal.SIGINT)
        watcher.communicate(timeout=LIMIT)
        self.assertEqual(watcher.returncode, 130)

    def test_may_be_in_a_directory_with_a_long_name(self):
        self.home.data = self.home.root / ("long" * 40) / "data"
        self.resident("run")
        self.assertEqual(self.home.run("settings").returncode, 0)


class Watch(TvTest):
    def test_prints_an_object_a_line_and_ends_with_130(self):
        self.home.json("scan")
        watcher = self.resident("--json", "watch")
        self.home.json("scan")
        watcher.send_signal(signal.SIGINT)
        lines = watcher.communicate(timeout=LIMIT)[0].splitlines()
        self.assertEqual(watcher.returncode, 130)
        notices = [json.loads(line) for line in lines]
        self.assertIn({"notice": "state", "before": "discovering", "now": "active"}, notices)
        final = [notice for notice in notices if notice["notice"] == "discover" and notice["finished"]]
        self.assertEqual([(notice["success"], notice["progress"]) for notice in final], [(True, 100)])

    def test_ends_when_nobody_reads_any_more(self):
        self.home.json("scan")
        watcher = self.resident("--json", "watch")
        watcher.stdout.close()
        self.home.json("scan")  # gives it something to write
        watcher.wait(timeout=LIMIT)

    def test_run_ends_at_the_moment_that_was_given(self):
        start = time.monotonic()
        result = self.home.run("run", "--until", str(int(time.time()) + 2))
        self.assertEqual(result.returncode, 0, result)
        self.assertLess(time.monotonic() - start, 20)


television.main()
