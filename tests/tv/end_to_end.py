#!/usr/bin/env python3
"""The built `tv` from end to end, on a sample broadcast: exit statuses, JSON, what is kept, interrupts."""
import json
import os
import shutil
import signal
import subprocess
import time

import television
from television import HIDE_RADIO, LIMIT, LOCATIONS, Home, TvTest, on_terminal

CHANNEL = {"id": int, "number": int, "name": str, "type": str, "network": int, "source": int, "quality": int,
           "protected": bool, "playable": bool, "recorded": bool, "logo": str}
HIDE_PROTECTED = "settings.option.id.hide.protected"


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
            (["play"], "nothing to play"),
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
        tv = television.TV
        base = [tv, "--data", str(home.data), "--library", str(home.library)]
        empty = home.root / "empty"
        empty.mkdir()
        rows = [
            (base + ["--receiver", "dvb-t=file:/no/such/place", "scan"], "/no/such/place", "a receiver directory"),
            (base + ["--receiver", f"dvb-t=file:{file}", "locations"], str(file), "a file is no directory"),
            (base + ["--plugin", "/no/plugin.so", "settings"], "/no/plugin.so", "the plugin"),
            (base + ["--plugin", str(file), "settings"], str(file), "a file that is no plugin"),
            ([tv, "--data", str(file), "settings"], str(file), "a file in the place of the data directory"),
            ([tv, "--data", "/proc/nowhere", "settings"], "/proc/nowhere", "a data directory that cannot be made"),
            ([tv, "--data", str(home.data), "--library", "/no/library", "settings"], "/no/library", "the library"),
            ([tv, "--data", str(home.data), "--library", str(empty), "locations"], "locations", "the locations folder"),
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
            result = subprocess.run([television.TV, "--json", command], capture_output=True, text=True, timeout=LIMIT,
                                    env={**os.environ, **environment})
            self.assertEqual(result.returncode, 0, result)
        self.assertEqual(len(json.loads(result.stdout)), len(self.home.json("channels")))
        mixed = {**environment, "TV_RECEIVERS": "dvb-t=file:/ dvb-c=file:/"}
        result = subprocess.run([television.TV, "channels"], capture_output=True, text=True, timeout=LIMIT,
                                env={**os.environ, **mixed})
        self.assertEqual(result.returncode, 2)

    def test_relative_directories_are_taken_from_where_tv_was_called(self):
        shutil.copytree(Home.air, self.home.root / "air")
        line = [television.TV, "--data", "here", "--library", "library", "--receiver", "dvb-t=file:air", "scan"]
        result = subprocess.run(line, cwd=self.home.root, capture_output=True, text=True, timeout=LIMIT)
        self.assertEqual(result.returncode, 0, result)
        self.assertTrue((self.home.root / "here" / "durix.db").exists())

    def test_logs_go_to_the_file_and_to_standard_error_only_when_asked(self):
        quiet = self.home.run("settings")
        self.assertEqual(quiet.stderr, "")
        self.assertIn("durix_init", (self.home.data / "tv.log").read_text(encoding="utf-8", errors="replace"))
        self.assertIn("durix_init", self.home.run("--log", "info", "settings").stderr)


television.main()
