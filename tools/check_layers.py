#!/usr/bin/env python3
"""Fails when an include points upwards or across: between the parts of the project, and between the plugin's layers."""
import pathlib
import re
import sys

TOP = pathlib.Path(__file__).resolve().parent.parent
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)

# Which parts a part may see, by the first folder of the path; a part sees itself.
PARTS = {
    "bindings": set(),
    "plugins": {"bindings"},
    "core": {"bindings", "plugins/support"},
    "host": {"bindings"},
    "middleware": {"bindings"},
    "apps/tv": {"bindings", "host", "core", "middleware/durix_tools.h"},
    "apps/broadcaster": set(),
}

# The plugin's layers, low to high: a file sees the layers below its own, and its own header. Patterns are full stems
# relative to plugins/dvbt/src.
LAYERS = [
    ["support/.*"],
    ["core/OptionKeys", "guide/EsgAttributes", "BCLocation", "ProgramOrder", "playback/SharedVolume"],
    ["recording/TimedClipMetadata", "recording/Calendar", "recording/ClipRegistry", "recording/MwListener",
     "recording/RecorderHost", "recording/RecorderError", "playback/ListenerDirectory", "settings/Languages", "ChannelListOption",
     "LocationsXmlParser", "guide/ServiceOrderFile"],
    ["ServiceImpl", "ProgramImpl", "BroadcastProvider", "BroadcastRecording", "BroadcastScheduling",
     "BroadcastRecorderPlaylist", "LocationsXmlTables", "guide/ChannelOrder"],
    ["core/PropertyBridge", "tuning/ProviderRegistry", "tuning/LocationCatalogue", "tuning/DeviceCache",
     "playback/FeedChooser", "recording/PlaylistShelf", "recording/StoredClips"],
    ["guide/ServiceList", "recording/TimerEvents"],
    ["guide/GuideUpdater", "guide/UpdateNotices", "guide/EsgFeedRotation", "ProgramChangedNotifier", "BroadcastRecorder",
     "BroadcastPlayer", "BroadcastPlayerControls", "BroadcastTeletextPlayer"],
    ["tuning/ChannelScan", "settings/SettingsOptions"],
    ["core/EventDispatcher", "playback/PlayerFactory"],
    ["PluginWiring", "BroadcastListener"],
    ["BroadcastPluginImpl", "BroadcastPluginOperations"],
    ["vm_init"],
]
# What belongs together though a line divides it: the two domain classes that the contract ties to each other, a class in
# two sources, the tables of the parser, and the wiring, which is the façade's own.
FRIENDS = {("ServiceImpl", "ProgramImpl"), ("BroadcastPlayer", "BroadcastPlayerControls"),
           ("LocationsXmlParser", "LocationsXmlTables"), ("PluginWiring", "BroadcastPluginImpl"),
           ("BroadcastPluginOperations", "BroadcastPluginImpl")}


def part_of(path):
    text = path.as_posix()
    return next((p for p in PARTS if text == p or text.startswith(p + "/")), None)


def layer_of(stem):
    for number, patterns in enumerate(LAYERS):
        if any(re.fullmatch(p, stem) for p in patterns):
            return number
    return None


def resolve(source, name):
    """The project file that an include names, or None for a library's."""
    for root in (source.parent, TOP, TOP / "bindings", TOP / "plugins/dvbt/src", TOP / "core/src/common"):
        candidate = (root / name).resolve()
        if candidate.is_file() and TOP in candidate.parents:
            return candidate.relative_to(TOP)
    return None


def faults_of(source):
    own = source.relative_to(TOP)
    part = part_of(own)
    for name in INCLUDE.findall(source.read_text(encoding="utf-8")):
        target = resolve(source, name)
        if target is None:
            continue
        seen = part_of(target)
        plugin = pathlib.PurePosixPath("plugins/dvbt/src")
        if seen != part and seen not in PARTS[part] and target.as_posix() not in PARTS[part]:
            if not (part == "core" and target.is_relative_to(plugin / "support")):
                yield f"{own}: {part} must not see {target}"
        if own.is_relative_to(plugin) and target.is_relative_to(plugin):
            mine, its = (p.relative_to(plugin).with_suffix("").as_posix() for p in (own, target))
            if mine == its or (mine, its) in FRIENDS or (its, mine) in FRIENDS:
                continue
            below, above = layer_of(its), layer_of(mine)
            if below is None or above is None:
                yield f"{own}: no layer is known for {its if below is None else mine}; add it to tools/check_layers.py"
            elif below > above or (below == above and above > 0):
                yield f"{own}: {its} is not below {mine}"


def main():
    faults = []
    for part in PARTS:
        for source in sorted((TOP / part).rglob("*")):
            if source.suffix in (".h", ".cpp", ".c") and source.is_file():
                faults += faults_of(source)
    for fault in faults:
        print(fault)
    print("layers:", "in order" if not faults else f"{len(faults)} faults")
    return bool(faults)


sys.exit(main())
