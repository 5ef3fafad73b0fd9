#!/usr/bin/env python3
"""`tv teletext` from end to end: pages as text and as pictures, and what is said where there is none."""
import os
import subprocess
import zlib

import television


def png(path):
    """Width, height and the unpacked lines of a picture with eight bits a channel and no interlacing."""
    data = path.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", path
    packed, at = b"", 8
    while at < len(data):
        size, kind = int.from_bytes(data[at:at + 4], "big"), data[at + 4:at + 8]
        if kind == b"IHDR":
            width, height = (int.from_bytes(data[at + n:at + n + 4], "big") for n in (8, 12))
        if kind == b"IDAT":
            packed += data[at + 8:at + 8 + size]
        at += 12 + size
    return width, height, zlib.decompress(packed)


class Teletext(television.TvTest):
    def setUp(self):
        super().setUp()
        self.assertEqual(self.home.run("--quiet", "scan").returncode, 0)

    def test_pages_come_as_text_and_as_pictures(self):
        page = self.home.json("teletext", "Télé Rivière", "100")
        self.assertEqual([page["page"], page["subpage"], len(page["text"])], [100, 0, 25])
        self.assertEqual({len(line) for line in page["text"]}, {40})
        self.assertIn("101  Actualités", "\n".join(page["text"]))
        for subpage, name in ((1, "Aujourd'hui"), (2, "Demain")):
            page = self.home.json("teletext", "Télé Rivière", f"300.{subpage}")
            self.assertEqual([page["page"], page["subpage"]], [300, subpage])
            self.assertIn(name, "\n".join(page["text"]))
        picture = self.home.root / "page.png"
        shown = self.home.run("teletext", "Česká Vlna", "101", "--png", str(picture))
        self.assertEqual([shown.returncode, shown.stderr, len(shown.stdout.splitlines())], [0, "", 25])
        self.assertIn("Zprávy", shown.stdout)
        self.assertNotRegex(shown.stdout, "[\ue000-\uf8ff]")  # mosaics are characters that terminals have
        width, height, lines = png(picture)
        self.assertEqual([width, height], [960, 750])
        self.assertGreater(len(set(lines[i:i + 4] for i in range(1, width * 4, 4))), 1, "the header is drawn")

    def test_pages_come_from_a_running_tv_into_the_directory_of_the_caller(self):
        self.resident("run")
        caller = self.home.root / "caller"
        caller.mkdir()
        result = subprocess.run(self.home.command("teletext", "Télé Rivière", "888", "--png", "page.png"), cwd=caller,
                                capture_output=True, text=True, timeout=television.LIMIT, check=False)
        self.assertEqual([result.returncode, result.stderr], [0, ""])
        self.assertEqual(os.listdir(caller), ["page.png"])

    def test_what_cannot_be_shown_is_said_in_one_line(self):
        rows = (
            (("Télé Rivière", "99"), 2, "100 to 899"),
            (("Télé Rivière", "900"), 2, "100 to 899"),
            (("Télé Rivière", "1F0"), 2, "1F0"),
            (("Télé Rivière", "100.4000"), 2, "subpage"),
            (("Télé Rivière", "100.80"), 2, "subpage"),
            (("Télé Rivière", "100."), 2, "subpage"),
            (("Nobody", "100"), 2, "Nobody"),
            (("Colour One", "100"), 1, "no teletext"),
            (("Télé Rivière", "100", "--png", "/nowhere/page.png"), 1, "/nowhere/page.png"),
        )
        for words, status, part in rows:
            result = self.home.run("teletext", *words)
            self.assertEqual([result.returncode, result.stdout], [status, ""], (words, result))
            self.assert_one_line(result.stderr, words)
            self.assertIn(part, result.stderr)


if __name__ == "__main__":
    television.main()
