"""What tests of the built `tv` share: homes of their own, one sample broadcast, and how a file is called:

    FILE TV BROADCASTER [test names...]
"""
import json
import os
import pathlib
import pty
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

TV = BROADCASTER = ""
LIMIT = 60  # seconds that any command may take
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
    """Runs the tests of the calling file."""
    global TV, BROADCASTER
    TV, BROADCASTER, *rest = sys.argv[1:]
    TV, BROADCASTER = os.path.abspath(TV), os.path.abspath(BROADCASTER)
    for name in ["TV_DATA", "TV_LIBRARY", "TV_RECEIVERS", "NO_COLOR"]:
        os.environ.pop(name, None)
    try:
        program = unittest.main(argv=[sys.argv[0], "-v", *rest], exit=False)
    finally:
        if Home.air is not None:
            shutil.rmtree(Home.air)
    sys.exit(0 if program.result.wasSuccessful() else 1)
