#!/usr/bin/env python3
"""The built `tv` from end to end, on a sample broadcast: exit statuses, JSON, what is kept, interrupts, ownership.

Usage: end_to_end.py TV BROADCASTER [test names...]
"""
import json
import os
import pathlib
import pty
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

TV = BROADCASTER = ""
LIMIT = 60  # seconds that any command may take

CHANNEL = {"id": int, "number": int, "name": str, "type": str, "network": int, "source": int, "quality": int,
           "protected": bool, "playable": bool, "recorded": bool, "logo": str}
HIDE_PROTECTED = "settings.option.id.hide.protected"
HIDE_RADIO = "settings.option.id.hide.radio"

LOCATIONS = """<?xml version="1.0" encoding="UTF-8"?>
<locations>
  <location><name>Full Scan</name><icon>all</icon><type>DVB-T</type><frequencies>
    <range start="474000000" end="498000000" step="8000000" bandwidth="8000000"/></frequencies></location>
  <location><name>Silence</name><icon>none</icon><type>DVB-T</type><frequencies>
    <single frequency="600000000" bandwidth="8000000"/><single frequency="608000000" bandwidth="8000000"/>
    </frequencies></location>
  <location><name>Endless</name><icon>none</icon><type>DVB-T</type><frequencies>
    <range start="600000000" end="618000000" step="1000"/></frequencies></location>
  <location><name>Above</name><icon>sky</icon><type>DVB-S</type><frequencies>
    <single frequency="11953500" symbolrate="27500000" polarisation="H"/></frequencies></location>
</locations>
"""


class Home:
    """A data directory, a library and a receiver of their own."""

    air = None  # made once for all

    def __init__(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="tv test "))  # the blank is part of the test
        self.data = self.root / "data"
        self.library = self.root / "library"
        (self.library / "locations").mkdir(parents=True)
        (self.library / "locations" / "fullscan.xml").write_text(LOCATIONS, encoding="utf-8")
        (self.library / "scan_conf.txt").write_text("lang:eng\nlang:deu\n", encoding="utf-8")
        if Home.air is None:
            Home.air = pathlib.Path(tempfile.mkdtemp(prefix="tv air "))
            subprocess.run([BROADCASTER, "--quiet", "--seconds", "3", str(Home.air)], check=True, timeout=300)
        self.receiver = f"dvb-t=file:{Home.air}"

    def command(self, *words, receiver=True):
        line = [TV, "--data", str(self.data), "--library", str(self.library)]
        if receiver:
            line += ["--receiver", self.receiver]
        return line + list(words)

    def run(self, *words, receiver=True, environment=None):
        return subprocess.run(self.command(*words, receiver=receiver), capture_output=True, text=True, timeout=LIMIT,
                              env={**os.environ, **(environment or {})})

    def json(self, *words, status=0, **more):
        result = self.run("--json", *words, **more)
        assert result.returncode == status, (words, result)
        return json.loads(result.stdout)

    def start(self, *words):
        return subprocess.Popen(self.command(*words), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def remove(self):
        shutil.rmtree(self.root)


class TvTest(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.remove)

    def start(self, *words):
        process = self.home.start(*words)
        self.addCleanup(end, process)
        return process

    def resident(self, *words):
        """A process that owns the data directory and takes commands."""
        process = self.start(*words)
        wait_for(lambda: (self.home.data / "socket").exists() and process.poll() is None)
        return process

    def assert_one_line(self, text, about):
        self.assertEqual(len(text.splitlines()), 1, (about, text))


def end(process):
    if process.poll() is None:
        process.kill()
    process.communicate()


def wait_for(condition, limit=LIMIT):
    deadline = time.monotonic() + limit
    while not condition():
        assert time.monotonic() < deadline, "it did not come about in time"
        time.sleep(0.02)


class WhatCannotBeMeant(TvTest):
    def test_is_status_2_with_one_line_and_no_output(self):
        rows = [
            ([], "no command"),
            (["fly"], "an unknown command"),
            (["channels", "--fast"], "an unknown option"),
            (["--receiver", "dvb-c=file:/", "channels"], "receivers of two types"),
            (["--receiver", "dvb-x=file:/", "channels"], "an unknown receiver type"),
            (["--receiver", "dvb-t=file:/,tuners=many", "channels"], "a number that is none"),
            (["--log", "loud", "channels"], "an unknown level"),
            (["order"], "a required argument is missing"),
            (["search"], "no word to search for"),
            (["search", " "], "a word of nothing, which is in every title"),
            (["scan", "Full Scan", "Silence"], "two locations"),
            (["guide", "--hours", "-1"], "a negative span"),
            (["run", "--until", "tomorrow"], "a time that is none"),
            (["settings", "no.such.option"], "an unknown option of the plugin"),
            (["settings", HIDE_RADIO, "maybe"], "a value of another type"),
            (["settings", "timeshift.length", "long"], "a number that is none"),
            (["settings", "audio.language", "xyz"], "a value that is not on the list"),
            (["settings", "velmora.option.channel_list.id", "now"], "an action has no value"),
            (["receivers", "select", "dvb-t"], "half a choice"),
            (["receivers", "select", "dvb-t", "file:/", "tuners=0"], "no tuner at all"),
            (["receivers", "address", "localhost", "70000"], "no such port"),
            (["play", "1"], "a command whose ground is not there"),
        ]
        for words, why in rows:
            with self.subTest(why):
                result = self.home.run(*words)
                self.assertEqual(result.returncode, 2, result)
                self.assertEqual(result.stdout, "")
                self.assert_one_line(result.stderr, why)

    def test_is_told_with_what_may_have_been_meant(self):
        rows = [(["fly"], '"fly"'), (["guid", "1"], '"guide"'), (["--fast"], '"--fast"'), (["--json"], "a command"),
                (["order"], "tv order --help")]
        for words, told in rows:
            self.assertIn(told, self.home.run(*words, receiver=False).stderr)

    def test_help_and_version_are_no_failures(self):
        for words, told in [(["--help"], "scan"), (["scan", "--help"], "LOCATION"), (["--version"], "tv ")]:
            result = self.home.run(*words)
            self.assertEqual(result.returncode, 0)
            self.assertIn(told, result.stdout)
            self.assertEqual(result.stderr, "")
        self.assertFalse(self.home.data.exists(), "help makes nothing")


class WhatIsMissing(TvTest):
    def test_is_status_1_with_one_line_that_names_it(self):
        home = self.home
        file = home.root / "file"
        file.write_text("x")
        base = [TV, "--data", str(home.data), "--library", str(home.library)]
        empty = home.root / "empty"
        empty.mkdir()
        rows = [
            (base + ["--receiver", "dvb-t=file:/no/such/place", "scan"], "/no/such/place", "a receiver directory"),
            (base + ["--receiver", f"dvb-t=file:{file}", "locations"], str(file), "a file is no directory"),
            (base + ["--plugin", "/no/plugin.so", "settings"], "/no/plugin.so", "the plugin"),
            (base + ["--plugin", str(file), "settings"], str(file), "a file that is no plugin"),
            ([TV, "--data", str(file), "settings"], str(file), "a file in the place of the data directory"),
            ([TV, "--data", "/proc/nowhere", "settings"], "/proc/nowhere", "a data directory that cannot be made"),
            ([TV, "--data", str(home.data), "--library", "/no/library", "settings"], "/no/library", "the library"),
            ([TV, "--data", str(home.data), "--library", str(empty), "locations"], "locations", "the locations folder"),
            (base + ["scan"], "--receiver", "any receiver"),
            (base + ["channels"], "--receiver", "any receiver"),
            (home.command("channels"), "tv scan", "channels before the first scan"),
            (home.command("now"), "tv scan", "a guide before the first scan"),
            (home.command("scan", "Ful Scan"), '"Full Scan"', "a location of that name"),
            (home.command("scan", "Above"), "no location", "a location for this receiver"),
        ]
        for line, told, why in rows:
            with self.subTest(why):
                result = subprocess.run(line, capture_output=True, text=True, timeout=LIMIT)
                self.assertEqual(result.returncode, 1, result)
                self.assertEqual(result.stdout, "")
                self.assert_one_line(result.stderr, why)
                self.assertIn(told, result.stderr)

    def test_a_broken_locations_file_stops_scan_and_locations_only(self):
        rows = [("<locations>", "malformed"), ("<other/>", "another root"),
                (LOCATIONS.replace('"8000000"', '"-8"'), "a negative number"),
                (LOCATIONS.replace('step="8000000"', 'step="1"'), "a huge range")]
        for text, why in rows:
            with self.subTest(why):
                (self.home.library / "locations" / "broken.xml").write_text(text)
                for command in ["scan", "locations"]:
                    result = self.home.run(command)
                    self.assertEqual(result.returncode, 1)
                    self.assert_one_line(result.stderr, why)
                    self.assertIn("broken.xml", result.stderr)
                self.assertEqual(self.home.run("settings").returncode, 0)


class WhatIsDamaged(TvTest):
    def test_database_is_told_in_one_line_and_left_as_it_is(self):
        self.home.json("scan")
        channels = self.home.json("channels")
        database = self.home.data / "durix.db"
        sound = database.read_bytes()
        for content, why in [(sound[:len(sound) // 2], "cut off"), (b"no database" * 500, "something else")]:
            with self.subTest(why):
                database.write_bytes(content)
                result = self.home.run("channels")
                self.assertEqual(result.returncode, 1, result)
                self.assert_one_line(result.stderr, why)
                self.assertEqual(database.read_bytes(), content)
        database.write_bytes(sound)
        self.assertEqual(self.home.json("channels"), channels)

    def test_settings_are_put_aside(self):
        self.home.json("settings", HIDE_RADIO, "true")
        (self.home.data / "host.json").write_bytes(b"{\xff")
        self.assertEqual(self.home.run("settings").returncode, 0)
        self.assertTrue((self.home.data / "host.json.damaged").exists())

    def test_output_that_cannot_be_written_is_a_failure(self):
        with open("/dev/full", "w") as full:
            result = subprocess.run(self.home.command("settings"), stdout=full, stderr=subprocess.PIPE, text=True,
                                    timeout=LIMIT)
        self.assertEqual(result.returncode, 1)
        self.assert_one_line(result.stderr, "")


class Locations(TvTest):
    def test_are_those_of_the_receiver_with_full_scan_first(self):
        names = [place["name"] for place in self.home.json("locations")]
        self.assertEqual(names, ["Full Scan", "Endless", "Silence"])
        everywhere = self.home.json("locations", receiver=False)
        self.assertEqual([place["name"] for place in everywhere], ["Full Scan", "Above", "Endless", "Silence"])
        self.assertEqual(everywhere[1], {"name": "Above", "icon": "sky"})


class Scan(TvTest):
    def test_shows_frequencies_and_services_and_gives_the_channel_list(self):
        result = self.home.run("scan")
        self.assertEqual(result.returncode, 0, result)
        self.assertIn("474 MHz", result.stdout)
        self.assertIn("+ Colour One", result.stdout)
        self.assertNotIn("\033", result.stdout, "no bar and no colours outside a terminal")
        scanned = self.home.json("scan", "Full Scan")
        listed = [channel["name"] for channel in self.home.json("channels")]
        self.assertTrue(scanned["success"])
        self.assertEqual(scanned["names"], listed)
        self.assertGreaterEqual(scanned["services"], len(listed))

    def test_draws_a_bar_on_a_terminal_with_colours_unless_they_are_not_wanted(self):
        for environment, coloured in [({}, True), ({"NO_COLOR": "1"}, False), ({"TERM": "dumb"}, False)]:
            text = on_terminal(self.home.command("scan"), {"TERM": "xterm", **environment})
            self.assertIn("\r\033[K", text)
            self.assertEqual("\033[1m" in text, coloured, environment)

    def test_that_finds_nothing_says_why_for_each_frequency(self):
        result = self.home.run("scan", "Silence")
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stdout, r"600 MHz +no signal")
        self.assertRegex(result.stdout, r"608 MHz +no signal")
        self.assert_one_line(result.stderr, "")
        told = self.home.json("scan", "Silence", status=1)
        self.assertEqual((told["success"], told["services"], told["names"]), (False, 0, []))
        self.assertEqual([entry["outcome"] for entry in told["frequencies"]], ["no signal"] * 2)

    def test_takes_the_location_of_the_settings_when_none_is_named(self):
        self.home.json("settings", "location", "Silence")
        self.assertEqual(self.home.run("scan").returncode, 1)
        self.assertEqual(self.home.run("scan", "Full Scan").returncode, 0)

    def test_that_is_interrupted_is_cancelled_and_loses_nothing(self):
        self.home.json("scan")
        before = self.home.json("channels")
        for number in [signal.SIGINT, signal.SIGTERM]:
            process = self.start("scan", "Endless")
            while "600" not in process.stdout.readline():
                self.assertIsNone(process.poll())
            process.send_signal(number)
            process.communicate(timeout=LIMIT)
            self.assertEqual(process.returncode, 130)
            self.assertEqual(self.home.json("channels"), before)

    def test_may_be_interrupted_at_any_moment(self):
        self.home.json("scan")
        before = self.home.json("channels")
        for step in range(12):
            process = self.start("scan")
            time.sleep(0.05 + step * 0.03)
            process.send_signal(signal.SIGINT)
            process.communicate(timeout=LIMIT)
            # Before the program has begun the system ends it, which shells call 130 too.
            self.assertIn(process.returncode, [0, 130, -signal.SIGINT])
            self.assertEqual(self.home.json("channels"), before)


class Channels(TvTest):
    def setUp(self):
        super().setUp()
        self.home.json("scan")

    def test_have_the_stated_fields(self):
        for channel in self.home.json("channels"):
            self.assertEqual(list(channel), list(CHANNEL))
            for field, kind in CHANNEL.items():
                self.assertIs(type(channel[field]), kind, field)
            self.assertIn(channel["type"], ["tv", "radio"])

    def test_show_the_best_of_doubles_once_and_no_data_services(self):
        channels = self.home.json("channels")
        names = [channel["name"] for channel in channels]
        self.assertEqual(len(names), len(set(names)))
        best = next(channel for channel in channels if channel["name"] == "Colour One")
        self.assertEqual(best["number"], 1, "the one in high definition")
        self.assertNotIn("Engineering Data", names)
        numbers = [channel["number"] for channel in channels if channel["type"] == "tv"]
        self.assertEqual([c["type"] for c in channels], sorted((c["type"] for c in channels), reverse=True))
        self.assertEqual(sorted(numbers[1:]), numbers[1:])

    def test_that_are_hidden_are_told_and_come_back(self):
        result = self.home.run("channels")
        self.assertNotIn("Cinema Vault", result.stdout)
        self.assertRegex(result.stdout, r"1 protected channel hidden; .*hide.protected")
        self.home.json("settings", HIDE_PROTECTED, "false")
        shown = {channel["name"]: channel for channel in self.home.json("channels")}
        self.assertTrue(shown["Cinema Vault"]["protected"])
        self.assertNotIn("hidden", self.home.run("channels").stdout)
        self.home.json("settings", HIDE_RADIO, "true")
        self.assertEqual({channel["type"] for channel in self.home.json("channels")}, {"tv"})
        self.assertRegex(self.home.run("channels").stdout, r"2 radio channels hidden; .*hide.radio")

    def test_keep_the_users_order_and_their_identifiers_over_runs_and_rescans(self):
        before = self.home.json("channels")
        wanted = [before[3]["name"], f"#{before[1]['id']}", str(before[2]["number"])]
        ordered = self.home.json("order", *wanted)
        identifiers = [channel["id"] for channel in ordered]
        self.assertEqual(identifiers[:3], [before[3]["id"], before[1]["id"], before[2]["id"]])
        self.assertEqual(sorted(identifiers), sorted(channel["id"] for channel in before))
        self.assertEqual([channel["id"] for channel in self.home.json("channels")], identifiers)
        self.home.json("scan")
        self.assertEqual([channel["id"] for channel in self.home.json("channels")], identifiers)

    def test_that_are_unknown_or_ambiguous_are_refused_with_candidates(self):
        for words, told in [(["order", "Colour Two"], '"Colour One"'), (["order", "999"], "no channel"),
                            (["guide", "#1"], "no channel")]:
            result = self.home.run(*words)
            self.assertEqual(result.returncode, 2, result)
            self.assertEqual(result.stdout, "")
            self.assertIn(told, result.stderr)

    def test_come_back_whatever_the_order_file_holds(self):
        before = sorted(channel["id"] for channel in self.home.json("channels"))
        for content in [b"", b"\xff\x00\n.\n..\n1\n-1.-1\n", b"99999999999999999999.1\n" * 1000, os.urandom(4096)]:
            (self.home.data / "service_order.dat").write_bytes(content)
            self.assertEqual(sorted(channel["id"] for channel in self.home.json("channels")), before)

    def test_are_given_by_the_commands_of_the_guide_too(self):
        identifiers = [channel["id"] for channel in self.home.json("channels")]
        for entry, identifier in zip(self.home.json("now"), identifiers, strict=True):
            self.assertEqual(list(entry), ["channel", "current", "next"])
            self.assertEqual(entry["channel"]["id"], identifier)
        guide = self.home.json("guide", f"#{identifiers[0]}")
        self.assertEqual([entry["channel"]["id"] for entry in guide], identifiers[:1])
        self.assertIsInstance(guide[0]["programmes"], list)
        self.assertIsInstance(self.home.json("search", "no such word"), list)


class Settings(TvTest):
    def test_list_the_options_with_type_and_values(self):
        listed = {option["id"]: option for option in self.home.json("settings")}
        self.assertEqual(listed[HIDE_PROTECTED],
                         {"id": HIDE_PROTECTED, "value": "true", "type": "bool", "values": ["true", "false"]})
        self.assertEqual(listed["settings.option.id.audio.language"]["values"], ["eng", "deu"])
        self.assertEqual(listed["settings.option.id.location"]["values"], ["Full Scan", "Endless", "Silence"])
        for option in listed.values():
            self.assertEqual(list(option), ["id", "value", "type", "values"])

    def test_are_kept_for_later_runs(self):
        rows = [(HIDE_PROTECTED, "false"), (HIDE_RADIO, "true"), ("settings.option.id.timeshift.length", "45"),
                ("settings.option.id.audio.language", "deu"), ("settings.option.id.location", "Silence"),
                ("settings.option.id.enable.subtitles", "true")]
        for option, value in rows:
            self.assertEqual(self.home.json("settings", option, value)[0]["value"], value)
        for option, value in rows:
            self.assertEqual(self.home.json("settings", option)[0]["value"], value)
        refused = self.home.run("settings", HIDE_RADIO, "maybe")
        self.assertEqual(refused.returncode, 2)
        self.assertEqual(self.home.json("settings", HIDE_RADIO)[0]["value"], "true")

    def test_may_be_named_by_what_follows_the_common_start(self):
        self.assertEqual(self.home.json("settings", "hide.radio")[0]["id"], HIDE_RADIO)


class Receivers(TvTest):
    def test_are_listed_with_devices_statistics_and_tuner(self):
        self.home.receiver += ",tuners=2"
        told = self.home.json("receivers")
        self.assertEqual(len(told["devices"]), 2)
        self.assertIsInstance(told["statistics"], dict)
        self.assertEqual(told["tuner"], "")

    def test_that_were_chosen_are_used_until_the_choice_is_forgotten(self):
        choice = ["receivers", "select", "dvb-t", f"file:{Home.air}", "time=stream"]
        self.assertEqual(self.home.run(*choice, receiver=False).returncode, 0)
        self.assertEqual(self.home.run("scan", receiver=False).returncode, 0)
        self.assertGreater(len(self.home.json("channels", receiver=False)), 0)
        self.assertEqual(self.home.run("receivers", "reset", receiver=False).returncode, 0)
        self.assertEqual(self.home.run("channels", receiver=False).returncode, 1)

    def test_requests_give_what_there_is_now_as_json(self):
        told = self.home.json("receivers", "select", "dvb-t", f"file:{Home.air}")
        self.assertEqual(told["stored"]["source"], f"file:{Home.air}")
        self.assertIn("devices", self.home.json("receivers", "address", "localhost", "8080"))
        self.assertNotIn("stored", self.home.json("receivers", "reset"))

    def test_choices_that_cannot_work_are_not_stored(self):
        result = self.home.run("receivers", "select", "dvb-t", "file:/no/such/place", receiver=False)
        self.assertEqual(result.returncode, 1)
        self.assertIn("/no/such/place", result.stderr)
        self.assertEqual(self.home.json("receivers", receiver=False)["devices"], [])


class Environment(TvTest):
    def test_stands_in_for_options_that_are_not_given(self):
        environment = {"TV_DATA": str(self.home.data), "TV_LIBRARY": str(self.home.library),
                       "TV_RECEIVERS": self.home.receiver.replace(" ", "%20")}
        for command in ["scan", "channels"]:
            result = subprocess.run([TV, "--json", command], capture_output=True, text=True, timeout=LIMIT,
                                    env={**os.environ, **environment})
            self.assertEqual(result.returncode, 0, result)
        self.assertEqual(len(json.loads(result.stdout)), len(self.home.json("channels")))
        mixed = {**environment, "TV_RECEIVERS": "dvb-t=file:/ dvb-c=file:/"}
        result = subprocess.run([TV, "channels"], capture_output=True, text=True, timeout=LIMIT,
                                env={**os.environ, **mixed})
        self.assertEqual(result.returncode, 2)

    def test_relative_directories_are_taken_from_where_tv_was_called(self):
        shutil.copytree(Home.air, self.home.root / "air")
        line = [TV, "--data", "here", "--library", "library", "--receiver", "dvb-t=file:air", "scan"]
        result = subprocess.run(line, cwd=self.home.root, capture_output=True, text=True, timeout=LIMIT)
        self.assertEqual(result.returncode, 0, result)
        self.assertTrue((self.home.root / "here" / "durix.db").exists())

    def test_logs_go_to_the_file_and_to_standard_error_only_when_asked(self):
        quiet = self.home.run("settings")
        self.assertEqual(quiet.stderr, "")
        self.assertIn("durix_init", (self.home.data / "tv.log").read_text(encoding="utf-8", errors="replace"))
        self.assertIn("durix_init", self.home.run("--log", "info", "settings").stderr)


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


def on_terminal(line, environment):
    """What a command writes to a terminal."""
    master, slave = pty.openpty()
    process = subprocess.Popen(line, stdout=slave, stderr=slave, env={**os.environ, **environment}, close_fds=True)
    os.close(slave)
    text = b""
    try:
        while chunk := os.read(master, 4096):
            text += chunk
    except OSError:
        pass  # the end, as Linux tells it
    os.close(master)
    process.wait(timeout=LIMIT)
    return text.decode("utf-8", "replace")


def main():
    global TV, BROADCASTER
    TV, BROADCASTER, *rest = sys.argv[1:]
    for name in ["TV_DATA", "TV_LIBRARY", "TV_RECEIVERS", "NO_COLOR"]:
        os.environ.pop(name, None)
    try:
        program = unittest.main(argv=[sys.argv[0], "-v", *rest], exit=False)
    finally:
        if Home.air is not None:
            shutil.rmtree(Home.air)
    sys.exit(0 if program.result.wasSuccessful() else 1)


main()
