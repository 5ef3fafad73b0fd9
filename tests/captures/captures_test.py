#!/usr/bin/env python3
"""`tv scan`, `tv channels` and `tv guide` on real broadcasts, held against what an independent parser found in them.

Usage: captures_test.py TV CAPTURES [name...]        (TV_CAPTURES in the environment goes before CAPTURES)

A capture NAME.ts becomes the one frequency of a receiver; NAME.truth.json says what it carries. Names are compared to
the letter (runs of white space folded), with type, network, number and protection; of channels with one name and type
the list shows one, the best. The guide has every programme of the multiplex's own channels, none twice, no other, with
its times, texts and rating. Every capture, broken ones too, must end with status 0 or 1 in bounded time.
Status 77, "skipped", when there are no captures.
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile

from broadcasts import Television, folder_of, skipped

TELEVISION = {0x01, 0x11, 0x16, 0x19, 0x1F, 0x20}
RADIO = {0x02, 0x0A}
VIDEO = ("mpeg2-video", "mpeg1-video", "h264", "hevc")
SOUND = ("mpeg1-audio", "mpeg2-audio", "aac", "ac3", "eac3")

# What a television shows of a name: no controls of either range, no marks for a short form.
MARKS = str.maketrans({**{code: " " for code in [*range(0x20), *range(0x7F, 0xA0)]}, 0xE086: None, 0xE087: None})


def folded(name):
    return re.sub(r"\s+", " ", (name or "").translate(MARKS)).strip()


def described(service):
    """Name and type by the multiplex's service description; the type is None for what no list shows."""
    kind = service.get("service_type")
    return folded(service.get("name")), "tv" if kind in TELEVISION else "radio" if kind in RADIO else None


def undescribed(service):
    """The same for a multiplex without any description: only what is sent tells what a service is."""
    kinds = {component["kind"] for component in service.get("components", [])}
    video = any(kind.startswith(VIDEO) for kind in kinds)
    sound = any(kind.startswith(SOUND) for kind in kinds)
    return f"Service {service['service_id']}", "tv" if video else "radio" if sound else None


def expected(truth):
    """What the list must show: (name, type) to the facts that each of the services under that name has."""
    describes = any(table.endswith("/0x42") for table in truth["tables_seen"])
    channels = {}
    for service in truth["services"]:
        name, kind = described(service) if describes else undescribed(service)
        if kind is None or not name or service.get("hidden"):
            continue
        if describes and not service.get("in_sdt_actual"):
            continue
        if (truth["pat"] or not describes) and not service.get("in_pat"):
            continue  # described but not sent; and programme maps alone make no services
        facts = {"number": service.get("lcn") or 0}
        if describes:
            facts |= {"network": service["original_network_id"], "protected": bool(service["free_ca_mode"])}
        channels.setdefault((name, kind), []).append(facts)
    return channels


def programme_texts(event):
    """The description of an event: short text, then extended text on a line of its own."""
    short = event["short"][0].get("text") or ""
    extended = event["extended"][0].get("text") or "" if event.get("extended") else ""
    return folded(short + ("\n" if short and extended else "") + extended)


def announced(truth):
    """What the guide must show: channel to (start, seconds, title) to its descriptions with ratings, one for each table."""
    describes = any(table.endswith("/0x42") for table in truth["tables_seen"])
    names = {service["service_id"]: (described if describes else undescribed)(service)[0] for service in truth["services"]}
    channels = {}
    for event in truth["events"]:
        if event.get("actual") is False or not event.get("short") or not event.get("start_utc"):
            continue
        codes = [rating["rating"] for rating in event.get("parental_rating") or [{"rating": 0}]]
        age = codes[0] + 3 if 0 < codes[0] < 16 else 0  # EN 300 468, 6.2.28
        key = (event["start_utc"], event["duration_s"], folded(event["short"][0].get("title")))
        shown = channels.setdefault(names.get(event["service_id"]), {}).setdefault(key, set())
        shown.add((programme_texts(event), age))
    return channels


def guide_differences(guide, wanted):
    """One line for each thing that the guide has otherwise than the broadcast."""
    for entry in guide:
        name = entry["channel"]["name"]
        left = dict(wanted.get(name, {}))
        for programme in entry["programmes"]:
            seconds = programme["endTime"] - programme["startTime"]
            key = (programme["start"], seconds, folded(programme["title"]))
            texts = (folded(programme["description"]), max(programme["rating"], 0))
            if key not in left:
                yield f"{name}: {key} is not broadcast, or shown twice"
            elif texts not in left[key]:
                yield f"{name}: {key} is shown as {texts}, broadcast is {left[key]}"
            left.pop(key, None)
        for key in left:
            yield f"{name}: {key} is missing"


def differences(channels, wanted):
    """One line for each thing that the list has otherwise than the broadcast."""
    shown = {}
    for channel in channels:
        key = (channel["name"], channel["type"])
        if key in shown:
            yield f"{key} is shown twice"
        shown[key] = channel
    for key in sorted(wanted.keys() - shown.keys()):
        yield f"{key} is missing"
    for key in sorted(shown.keys() - wanted.keys()):
        yield f"{key} is shown but not broadcast"
    for key in sorted(wanted.keys() & shown.keys()):
        if not any(all(shown[key][field] == value for field, value in facts.items()) for facts in wanted[key]):
            yield f"{key} is shown as {shown[key]}, broadcast is {wanted[key]}"


def check(program, capture, truth):
    """The faults of one capture."""
    with tempfile.TemporaryDirectory(prefix="tv captures ") as root:
        television = Television(program, pathlib.Path(root), capture, truth)
        try:
            shown = television.run("settings", "settings.option.id.hide.protected", "false")
            if shown.returncode != 0:
                return [f"settings: status {shown.returncode} {shown.stderr.strip()}"]
            scan = television.run("scan")
            if scan.returncode not in (0, 1):
                return [f"scan: status {scan.returncode} {scan.stderr.strip()}"]
            wanted = expected(truth) if truth["standard"] == "DVB" else None
            if not wanted and scan.returncode == 1:
                return []  # nothing is found, nothing is there
            if scan.returncode == 1:
                return [f"scan finds nothing: {scan.stderr.strip()}"] if truth["standard"] == "DVB" else []
            listed = television.run("channels")
            if listed.returncode != 0:
                return [f"channels: status {listed.returncode} {listed.stderr.strip()}"]
            channels = json.loads(listed.stdout)
            faults = list(differences(channels, wanted)) if wanted is not None else []
            if json.loads(scan.stdout)["names"] != [channel["name"] for channel in channels]:
                faults.append("scan and channels give other names")
            if wanted is not None and truth["events"]:
                guide = television.run("guide")
                if guide.returncode != 0:
                    return [*faults, f"guide: status {guide.returncode} {guide.stderr.strip()}"]
                faults += guide_differences(json.loads(guide.stdout), announced(truth))
            return faults
        except subprocess.TimeoutExpired as stuck:
            return [f"{stuck.cmd[-1]} hangs"]


def main():
    program, folder, *names = sys.argv[1:]
    folder = folder_of(folder)
    pairs = [(path.with_name(path.name.replace(".truth.json", ".ts")), path) for path in sorted(folder.glob("*.truth.json"))]
    pairs = [(capture, truth) for capture, truth in pairs
             if capture.exists() and (not names or capture.stem in names)]
    if not pairs:
        return skipped(folder)
    exact = 0
    for capture, truth in pairs:
        faults = check(program, capture, json.loads(truth.read_text(encoding="utf-8")))
        exact += not faults
        print(f"{'FAULT' if faults else 'ok   '} {capture.stem}", flush=True)
        for fault in faults:
            print(f"      {fault}")
    print(f"{exact} of {len(pairs)} captures as broadcast")
    return 0 if exact == len(pairs) else 1


sys.exit(main())
