#!/usr/bin/env python3
"""Checks every file of share/locations and share/scan_conf.txt against their format, and the tool that makes them."""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
SHARE = ROOT / "share"
TOOL = ROOT / "tools" / "make_locations.py"

MODULATIONS = set(
    "16QAM 32QAM 64QAM 80QAM 96QAM 112QAM 128QAM 160QAM 192QAM 224QAM 256QAM 320QAM 384QAM 448QAM 512QAM 640QAM 768QAM"
    " 896QAM 1024QAM QPSK BPSK OQPSK 8VSB 16VSB ANALOG_AMPLITUDE ANALOG_FREQUENCY 8PSK RF 16APSK 32APSK NBC_QPSK"
    " NBC_8PSK DIRECTV ISDB_T_TMCC ISDB_S_TMCC".split()
)
FECS = set("12 23 34 35 45 56 51 78 14 13 25 67 89 91".split())
# type: lowest and highest frequency (Hz, DVB-S kHz), attributes that a receiver cannot find out by itself
TYPES = {
    "DVB-T": (170_000_000, 870_000_000, {"bandwidth"}),
    "DVB-C": (100_000_000, 870_000_000, {"symbolrate"}),
    "DVB-S": (10_700_000, 12_750_000, {"symbolrate", "polarisation"}),
    "ATSC": (54_000_000, 1_002_000_000, {"modulation"}),
    "ISDBT": (170_000_000, 810_000_000, {"bandwidth"}),
}
OPTIONAL = {"bandwidth", "modulation", "symbolrate", "fec", "polarisation"}
VALUES = {
    "bandwidth": lambda v: v in ("6000000", "7000000", "8000000"),
    "modulation": lambda v: v in MODULATIONS,
    "symbolrate": lambda v: v.isdecimal() and 1_000_000 <= int(v) <= 45_000_000,
    "fec": lambda v: v in FECS,
    "polarisation": lambda v: v in "HVLR" and len(v) == 1,
}


def frequencies_of(entry, kind):
    """The frequencies of a `single` or `range`; ValueError says what is wrong with it."""
    lowest, highest, needed = TYPES[kind]
    own = {"single": ["frequency"], "range": ["start", "end", "step"]}.get(entry.tag)
    if own is None:
        raise ValueError(f"unknown element {entry.tag}")
    if set(own) - entry.attrib.keys() or needed - entry.attrib.keys() or entry.attrib.keys() - OPTIONAL - set(own):
        raise ValueError(f"attributes {sorted(entry.attrib)}")
    for name in OPTIONAL & entry.attrib.keys():
        if not VALUES[name](entry.get(name)):
            raise ValueError(f"{name} {entry.get(name)}")
    numbers = [int(entry.get(name)) for name in own if re.fullmatch("[1-9][0-9]*", entry.get(name))]
    if len(numbers) < len(own):
        raise ValueError("a frequency is no positive number")
    if entry.tag == "range" and (numbers[0] > numbers[1] or (numbers[1] - numbers[0]) % numbers[2]):
        raise ValueError("the range does not step onto its end")
    found = numbers if entry.tag == "single" else list(range(numbers[0], numbers[1] + 1, numbers[2]))
    if found[0] < lowest or found[-1] > highest:
        raise ValueError(f"frequency outside {lowest} to {highest}")
    return found


def location_faults(location, full_scan_file):
    """What is wrong with one location."""
    name, icon, kind = (location.findtext(tag, "") for tag in ("name", "icon", "type"))
    if sorted(child.tag for child in location) != ["frequencies", "icon", "name", "type"]:
        return ["needs one name, icon, type and frequencies each"]
    if kind not in TYPES:
        return [f"type {kind}"]
    faults = []
    if not name or name != name.strip():
        faults.append("no proper name")
    if not re.fullmatch("[a-z]{2}|sat", icon):
        faults.append(f"icon {icon}")
    if (name == "Full Scan") != full_scan_file:
        faults.append("the full scan has files of its own")
    frequencies = location.find("frequencies")
    position = frequencies.get("orbitalposition")
    if position is not None and not (kind == "DVB-S" and position.isdecimal() and int(position) < 3600):
        faults.append(f"orbitalposition {position}")
    seen = []
    for entry in frequencies:
        try:
            key = (entry.get("polarisation"), entry.get("symbolrate"))
            seen += [(frequency, *key) for frequency in frequencies_of(entry, kind)]
        except ValueError as error:
            faults.append(str(error))
    if not seen:
        faults.append("no frequency")
    if len(seen) != len(set(seen)) or len(seen) > 1000:
        faults.append("frequencies twice or too many")
    return faults


def faults_of(documents):
    """Everything wrong with the documents, given as {file name: text}."""
    faults, names = [], set()
    for file, text in documents.items():
        root = ElementTree.fromstring(text)
        if root.tag != "locations" or not len(root):
            faults.append(f"{file}: root {root.tag} with {len(root)} locations")
        for location in root:
            name = (location.findtext("type"), location.findtext("name"))
            faults += [f"{file}: {name[1]}: {f}" for f in location_faults(location, file.startswith("fullscan"))]
            if name in names:
                faults.append(f"{file}: {name[1]}: name twice")
            names.add(name)
    return faults


def location(body='<single frequency="474000000" bandwidth="8000000"/>', name="Place", kind="DVB-T", position=""):
    return (
        f"<location><name>{name}</name><icon>de</icon><type>{kind}</type>"
        f"<frequencies{position}>{body}</frequencies></location>"
    )


class Locations(unittest.TestCase):
    def test_shipped_files_are_valid(self):
        files = {path.name: path.read_text(encoding="utf-8") for path in (SHARE / "locations").iterdir()}
        self.assertEqual([], [name for name in files if not name.endswith(".xml")])
        self.assertEqual([], faults_of(files))
        self.assertLess(sum(len(text.encode()) for text in files.values()), 2_000_000, "every start reads them all")
        scans = [re.findall("<type>(.*)</type>", text) for name, text in files.items() if name.startswith("fullscan")]
        self.assertEqual(sorted([kind] for kind in TYPES), sorted(scans))

    def test_faults_are_found(self):
        satellite = '<single frequency="11362000" symbolrate="22000000" polarisation="%s" fec="%s"/>'
        for reason, body, complaint in (
            ("a good one, so that the other rows mean something", location(), None),
            ("a good satellite",
             location(satellite % ("H", "34"), kind="DVB-S", position=' orbitalposition="192"'), None),
            ("the host could not find it again", location(name=""), "no proper name"),
            ("the second would never be scanned", location() + location(), "name twice"),
            ("the file's type decides its first text", location(kind="ISDB-T"), "type ISDB-T"),
            ("nothing to scan", location(body=""), "no frequency"),
            ("kHz where Hz is meant", location('<single frequency="474000" bandwidth="8000000"/>'), "outside"),
            ("a blank is read as 0", location('<single frequency=" 1" bandwidth="8000000"/>'), "no positive number"),
            ("a step of 0 is ignored by the reader",
             location('<range start="474000000" end="490000000" step="0" bandwidth="8000000"/>'), "no positive number"),
            ("the last channel is missed",
             location('<range start="474000000" end="489000000" step="8000000" bandwidth="8000000"/>'), "its end"),
            ("a name that the reader does not know",
             location('<single frequency="57000000" modulation="VSB8"/>', kind="ATSC"), "modulation VSB8"),
            ("lower case is no polarisation", location(satellite % ("h", "34"), kind="DVB-S"), "polarisation h"),
            ("no such code rate", location(satellite % ("V", "11"), kind="DVB-S"), "fec 11"),
            ("-1 means that there is none",
             location(satellite % ("V", "34"), kind="DVB-S", position=' orbitalposition="-1"'), "orbitalposition -1"),
            ("a misspelt attribute is silently lost",
             location('<single frequency="474000000" bandwith="8000000"/>'), "attributes"),
            ("scanned twice", location('<single frequency="474000000" bandwidth="8000000"/>' * 2), "twice"),
            ("only full-scan files come first", location(name="Full Scan"), "files of its own"),
        ):  # fmt: skip
            with self.subTest(reason):
                found = "; ".join(faults_of({"a.xml": f"<locations>{body}</locations>"}))
                self.assertEqual("", found) if complaint is None else self.assertIn(complaint, found)

    def test_languages_fit_into_what_is_read(self):
        text = (SHARE / "scan_conf.txt").read_text(encoding="ascii")
        self.assertLessEqual(len(text), 2048)
        lines = [line for line in text.splitlines() if not line.startswith("#")]
        self.assertEqual([], [line for line in lines if not re.fullmatch("lang:[a-z]{3}", line)])
        self.assertEqual("lang:eng", lines[0])
        self.assertEqual(len(lines), len(set(lines)))


class Tool(unittest.TestCase):
    """Runs the tool on small tables of the kind the package has."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        satellite = "SYMBOL_RATE = 22000000\nINNER_FEC = %s\nPOLARIZATION = LEFT\nDELIVERY_SYSTEM = DVBS2"
        channels = [474_000_000, 482_000_000, 490_000_000, 474_000_000, 5_060_000]  # one twice, the last a slip
        self.table("dvb-t/uk-EastTown", channels, "BANDWIDTH_HZ = 0")
        self.table("dvb-c/de-Net", [346_000_000], "SYMBOL_RATE = 6900000\nMODULATION = QAM/AUTO\nINNER_FEC = 3/5")
        self.table("dvb-s/Some_B-5.0W", [3_600_000, *range(12_000_000, 12_005_000, 1000)], satellite % "9/10")
        self.table("dvb-s/Some_C-5.0W", [12_000_000], satellite % "3/4")
        self.table("atsc/us-CO-Denver", [189_028_615], "MODULATION = VSB/8")
        self.table("isdb-t/br-sp-Campinas", [473_142_857], "BANDWIDTH_HZ = 6000000")

    def table(self, name, frequencies, rest):
        path = self.folder / "tables" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("# note\n" + "".join(f"[CHANNEL]\nFREQUENCY = {f}\n{rest}\n" for f in frequencies))

    def run_tool(self, *options):
        command = [sys.executable, "-B", TOOL, "--tables", self.folder / "tables", "--output", self.folder / "out"]
        return subprocess.run([*command, *options], capture_output=True, text=True, check=False)

    def made(self, name):
        return (self.folder / "out" / name).read_text(encoding="utf-8")

    def test_takes_over_the_facts(self):
        self.assertEqual(0, self.run_tool().returncode)
        self.assertEqual([], faults_of({p.name: self.made(p.name) for p in (self.folder / "out").iterdir()}))
        for file, expected in (
            ("dvb-t-gb.xml", "<name>United Kingdom, East Town</name>\n    <icon>gb</icon>"),
            ("dvb-t-gb.xml", '<range start="474000000" end="490000000" step="8000000" bandwidth="8000000"/>'),
            ("dvb-c.xml", '<single frequency="346000000" symbolrate="6900000"/>'),
            ("dvb-s-west.xml", '<frequencies orbitalposition="3550">'),
            ("dvb-s-west.xml", '<single frequency="12000000" symbolrate="22000000" polarisation="L"/>'),
            ("dvb-s-west.xml", '<single frequency="12001000" symbolrate="22000000" fec="91" polarisation="L"/>'),
            ("atsc.xml", "<name>United States, Denver CO</name>"),
            ("atsc.xml", '<single frequency="189000000" bandwidth="6000000" modulation="8VSB"/>'),
            ("isdb-t.xml", "<name>Brazil, São Paulo</name>"),
        ):  # fmt: skip
            self.assertIn(expected, self.made(file))

    def test_check_notices_changed_missing_and_left_over_files(self):
        self.run_tool()
        self.assertEqual(0, self.run_tool("--check").returncode)
        out = self.folder / "out"
        (out / "mine.xml").write_text("<locations/>")  # written by hand: not the tool's business
        self.assertEqual(0, self.run_tool("--check").returncode)
        (out / "dvb-t-xx.xml").write_text(self.made("dvb-c.xml"))
        (out / "dvb-c.xml").write_text(self.made("dvb-c.xml").replace("346", "354"))
        (out / "atsc.xml").unlink()
        result = self.run_tool("--check")
        self.assertEqual(1, result.returncode)
        for line in ("atsc.xml is missing", "dvb-c.xml differs", "dvb-t-xx.xml is no longer made"):
            self.assertIn(line, result.stderr)
        self.run_tool()
        self.assertEqual(0, self.run_tool("--check").returncode)
        self.assertTrue((out / "mine.xml").exists())

    def test_missing_tables_are_one_clear_line(self):
        (self.folder / "tables" / "dvb-c" / "de-Net").unlink()
        result = self.run_tool()
        self.assertEqual((3, 1), (result.returncode, result.stderr.count("\n")))
        self.assertIn("install the package dtv-scan-tables", result.stderr)
        self.assertFalse((self.folder / "out").exists())


if __name__ == "__main__":
    unittest.main()
