"""A real broadcast on the air of a `tv` of its own; what tests over captures share."""
import os
import pathlib
import shutil
import subprocess

FREQUENCY = 474000000
LIMIT = 120  # seconds that a command may take
SKIPPED = 77

LOCATION = """<?xml version="1.0" encoding="UTF-8"?>
<locations><location><name>Full Scan</name><icon>x</icon><type>{type}</type><frequencies>
<single frequency="{frequency}" bandwidth="8000000"/></frequencies></location></locations>
"""
TYPE_TEXTS = {"dvb-t": "DVB-T", "dvb-s": "DVB-S", "atsc": "ATSC", "isdb-t": "ISDBT"}


def receiver_type(truth):
    if truth["standard"] != "DVB":
        return {"ATSC": "atsc", "ISDB": "isdb-t"}[truth["standard"]]
    systems = {stream["delivery"].split()[0] for network in truth["networks"]
               for stream in network["transport_streams"] if stream.get("delivery")}
    satellite = "dvb-s" in systems or any(mark in truth["capture"] for mark in ["dvbs", "astra"])
    return "dvb-s" if satellite else "dvb-t"


class Television:
    """`tv` with a capture on the air."""

    def __init__(self, program, root, capture, truth):
        kind = receiver_type(truth)
        (root / "air").mkdir()
        (root / "library" / "locations").mkdir(parents=True)
        (root / "library" / "scan_conf.txt").write_text("lang:eng\nlang:ita\nlang:fra\n")
        text = LOCATION.format(type=TYPE_TEXTS[kind], frequency=FREQUENCY)
        (root / "library" / "locations" / "fullscan.xml").write_text(text)
        shutil.copyfile(capture, root / "air" / f"{FREQUENCY}.ts")
        self.line = [program, "--data", str(root / "data"), "--library", str(root / "library"),
                     "--receiver", f"{kind}=file:{root / 'air'},time=stream", "--json"]

    def run(self, *words):
        return subprocess.run([*self.line, *words], capture_output=True, text=True, timeout=LIMIT)


def folder_of(default):
    """Where the captures are."""
    return pathlib.Path(os.environ.get("TV_CAPTURES", default))


def skipped(folder):
    print(f"skipped: there are no captures in {folder} (TV_CAPTURES names another place)")
    return SKIPPED
