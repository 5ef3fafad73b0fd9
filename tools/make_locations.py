#!/usr/bin/env python3
"""Makes share/locations/*.xml, the places that can be scanned, from the tables of Debian's package dtv-scan-tables.

Only facts are taken over: frequency, bandwidth, symbol rate, modulation, code rate, polarisation and place.
The result depends on the tables alone. docs/LOCATIONS.md describes the format, the units and the choices made here.
"""

import argparse
import pathlib
import re
import sys
from typing import NamedTuple
from xml.sax.saxutils import escape

ROOT = pathlib.Path(__file__).resolve().parent.parent
MARK = "Made by tools/make_locations.py from dtv-scan-tables; do not edit."
EXIT_DIFFERENT, EXIT_NO_TABLES = 1, 3

COUNTRIES = {
    "ad": "Andorra", "ar": "Argentina", "at": "Austria", "au": "Australia", "ax": "Åland Islands", "be": "Belgium",
    "bg": "Bulgaria", "br": "Brazil", "ca": "Canada", "ch": "Switzerland", "co": "Colombia", "cz": "Czechia",
    "de": "Germany", "dk": "Denmark", "ee": "Estonia", "es": "Spain", "eu": "Europe", "fi": "Finland", "fr": "France",
    "gb": "United Kingdom", "gr": "Greece", "hk": "Hong Kong", "hr": "Croatia", "hu": "Hungary", "ie": "Ireland",
    "il": "Israel", "ir": "Iran", "is": "Iceland", "it": "Italy", "ke": "Kenya", "lt": "Lithuania",
    "lu": "Luxembourg", "lv": "Latvia", "nl": "Netherlands", "no": "Norway", "nz": "New Zealand", "pl": "Poland",
    "pt": "Portugal", "ro": "Romania", "ru": "Russia", "se": "Sweden", "si": "Slovenia", "sk": "Slovakia",
    "tw": "Taiwan", "ua": "Ukraine", "ug": "Uganda", "us": "United States", "vn": "Vietnam",
}  # fmt: skip

BRAZILIAN_STATES = {
    "ac": "Acre", "al": "Alagoas", "am": "Amazonas", "ap": "Amapá", "ba": "Bahia", "ce": "Ceará",
    "df": "Distrito Federal", "es": "Espírito Santo", "go": "Goiás", "ma": "Maranhão", "mg": "Minas Gerais",
    "ms": "Mato Grosso do Sul", "mt": "Mato Grosso", "pa": "Pará", "pb": "Paraíba", "pe": "Pernambuco", "pi": "Piauí",
    "pr": "Paraná", "rj": "Rio de Janeiro", "rn": "Rio Grande do Norte", "ro": "Rondônia", "rr": "Roraima",
    "rs": "Rio Grande do Sul", "sc": "Santa Catarina", "se": "Sergipe", "sp": "São Paulo", "to": "Tocantins",
}  # fmt: skip

# Tables whose names are no places: their country and name here, or None to leave them out.
SPECIAL = {
    "dvb-t/auto-Australia": ("au", "all channels with 125 kHz offsets"),
    "dvb-t/auto-Default": None,  # the same as the full scan
    "dvb-t/auto-Taiwan": ("tw", "all channels"),
    "dvb-t/auto-With167kHzOffsets": ("eu", "all channels with 167 kHz offsets"),
    "dvb-t/au-unknown": None,
    "isdb-t/ar-Argentina": ("ar", "all places"),
    "isdb-t/br-Brazil": ("br", "all places"),
    "atsc/us-ATSC-center-frequencies-8VSB": ("us", "channels 2-69"),
    "atsc/us-ATSC-center-frequencies-8VSB-062009": ("us", "channels 2-51"),
    "atsc/us-Cable-EIA-542-HRC-center-frequencies-QAM256": ("us", "cable HRC, EIA-542"),
    "atsc/us-Cable-EIA-542-IRC-center_frequencies-QAM256": ("us", "cable IRC, EIA-542"),
    "atsc/us-Cable-HRC-center-frequencies-QAM256": ("us", "cable HRC"),
    "atsc/us-Cable-IRC-center-frequencies-QAM256": ("us", "cable IRC"),
    "atsc/us-Cable-Standard-center-frequencies-QAM256": ("us", "cable standard"),
    "atsc/us-NTSC-center-frequencies": None,  # the analogue plan
}

# Names of satellites that the tables misspell or run together.
SATELLITES = {
    "Trksat": "Turksat", "TurkmenlemMonacoSat": "TurkmenAlem/MonacoSat", "Asiasat": "AsiaSat", "JCSat": "JCSAT",
    "Echostar": "EchoStar", "Brasilsat": "BrasilSat", "EutelsatW": "Eutelsat", "Express-AM": "Express",
    "ExpressAM": "Express", "Intel": "Intelsat", "OptusC": "Optus", "OptusD": "Optus", "Star": "Star One",
}  # fmt: skip
FULL_SCAN_POSITIONS = (130, 192, 235, 282, 361, 3550)  # 13.0E, 19.2E, 23.5E, 28.2E, 36.1E, 5.0W
FEWEST_TRANSPONDERS = 5  # a position with fewer of them is no choice for anybody

# What a table may say; anything else is a slip of its author (Hz, for satellites kHz).
PLAUSIBLE = {
    "dvb-t": (174_000_000, 862_000_000),
    "dvb-c": (108_000_000, 862_000_000),
    "dvb-s": (10_700_000, 12_750_000),  # Ku band: C and Ka band dishes are no household's
    "atsc": (54_000_000, 1_002_000_000),
    "isdb-t": (174_000_000, 806_000_000),
}
SATELLITE_SYMBOL_RATES = (1_000_000, 45_000_000)  # what household receivers take
TYPE_TEXT = {"dvb-t": "DVB-T", "dvb-c": "DVB-C", "dvb-s": "DVB-S", "atsc": "ATSC", "isdb-t": "ISDBT"}

MODULATION = {"QPSK": "QPSK", "PSK/8": "8PSK", "APSK/16": "16APSK", "APSK/32": "32APSK", "QAM/16": "16QAM",
              "QAM/32": "32QAM", "QAM/64": "64QAM", "QAM/128": "128QAM", "QAM/256": "256QAM",
              "VSB/8": "8VSB"}  # fmt: skip
DVB_S2_MODULATION = {"QPSK": "NBC_QPSK", "8PSK": "NBC_8PSK"}  # the rest exists in DVB-S2 only
FEC = {"1/2": 12, "2/3": 23, "3/4": 34, "3/5": 35, "4/5": 45, "5/6": 56, "5/11": 51, "7/8": 78, "1/4": 14,
       "1/3": 13, "2/5": 25, "6/7": 67, "8/9": 89, "9/10": 91}  # fmt: skip


class TablesMissing(Exception):
    """The tables are not installed."""


class Channel(NamedTuple):
    """One frequency (Hz, for satellites kHz) and what a receiver needs with it; None where the signal tells."""

    frequency: int
    bandwidth: int | None = None  # Hz
    symbolrate: int | None = None  # symbols per second
    modulation: str | None = None
    fec: int | None = None
    polarisation: str | None = None

    def attributes(self):
        return "".join(f' {k}="{v}"' for k, v in self._asdict().items() if k != "frequency" and v is not None)


class Place(NamedTuple):
    name: str
    icon: str
    channels: list[Channel]
    orbital_position: int | None = None  # tenths of a degree to the east, 0 to 3599


def read_table(path):
    """The channels of one table as dictionaries of its keys."""
    channels = []
    for line in path.read_text(encoding="latin-1").splitlines():
        line = line.split("#")[0].strip()
        if line.startswith("["):
            channels.append({})
        elif "=" in line and channels:
            key, value = line.split("=", 1)
            channels[-1][key.strip()] = value.strip()
    return [c for c in channels if c.get("FREQUENCY", "").isdigit()]


def channel_of(kind, entry):
    """The channel of a table's entry, None for one that is not plausible."""
    frequency = int(entry["FREQUENCY"])
    if not PLAUSIBLE[kind][0] <= frequency <= PLAUSIBLE[kind][1]:
        return None
    modulation = MODULATION.get(entry.get("MODULATION", ""))
    if kind in ("dvb-t", "isdb-t"):  # modulation and code rate are signalled (TPS, L1, TMCC), and change over the years
        # a table without it: centres of the 7 MHz raster lie on half megahertz, those of the 8 MHz raster do not
        guess = 7_000_000 if frequency % 1_000_000 == 500_000 else 8_000_000
        return Channel(frequency, bandwidth=int(entry.get("BANDWIDTH_HZ", "0")) or guess)
    if kind == "atsc":  # some tables add 28615 Hz to the channel's centre: an old habit of their writers
        return Channel(frequency - 28_615 * (frequency % 1_000_000 == 28_615), 6_000_000, modulation=modulation)
    if kind == "dvb-c":  # no inner code in EN 300 429, whatever a table says
        return Channel(frequency, symbolrate=int(entry["SYMBOL_RATE"]), modulation=modulation)
    if entry["DELIVERY_SYSTEM"] == "DVBS2":
        modulation = DVB_S2_MODULATION.get(modulation, modulation)
    else:
        modulation = "QPSK"  # the only one of EN 300 421
    symbolrate = int(entry["SYMBOL_RATE"])
    if not SATELLITE_SYMBOL_RATES[0] <= symbolrate <= SATELLITE_SYMBOL_RATES[1]:
        return None
    return Channel(frequency, None, symbolrate, modulation, FEC.get(entry["INNER_FEC"]), entry["POLARIZATION"][0])


def without_duplicates(channels):
    """Sorted, one for each frequency, polarisation and symbol rate; what such twins contradict in is left open."""
    twins = {}
    for channel in channels:
        twins.setdefault((channel.frequency, channel.polarisation or "", channel.symbolrate or 0), []).append(channel)
    merged = []
    for _, group in sorted(twins.items()):
        values = [{value for value in column if value is not None} for column in zip(*group)]
        merged.append(Channel(*(value.pop() if len(value) == 1 else None for value in values)))
    return merged


def channels_of(kind, paths):
    entries = (channel_of(kind, entry) for path in paths for entry in read_table(path))
    return without_duplicates(c for c in entries if c)


def place_name(kind, rest):
    """"SaoPaulo_North" as people write it; cable networks keep the spelling of their brands."""
    if rest.lower() == "all":
        return "all places"
    text = rest.replace("_", " ")
    if kind == "dvb-c":
        return f"{text} (cable)"
    if kind == "atsc":  # "CO-Denver"
        text = re.sub(r"^([A-Z]{2})-(.*)", r"\2 \1", text).replace("-", " ")
    text = re.sub(r"(?<=[a-z])(?=[A-Z])", " ", text)
    return text[0].upper() + text[1:]


def country_places(kind, tables):
    """Places by country code: {"de": [Place, ...]}. Brazil's thousands of towns are joined to its states."""
    groups = {}
    for path in tables:
        country, _, rest = path.name.partition("-")
        place = SPECIAL.get(f"{kind}/{path.name}", (country.replace("uk", "gb"), None))
        if place is None:
            continue
        country, name = place
        if not name and kind == "isdb-t" and country == "br":
            name = BRAZILIAN_STATES[rest.split("-")[0]]
        groups.setdefault((country, name or place_name(kind, rest)), []).append(path)
    places = {}
    for (country, name), paths in sorted(groups.items()):
        channels = channels_of(kind, paths)
        if channels:
            places.setdefault(country, []).append(Place(f"{COUNTRIES[country]}, {name}", country, channels))
    return places


def satellite_places(tables):
    """One place for each orbital position, named by it and by the satellites there."""
    groups = {}
    for path in tables:
        satellite, degrees, side = re.fullmatch(r"(.+?)[-_]([\d.]+)([EW])", path.name).groups()
        tenths = round(float(degrees) * 10)
        position = tenths if side == "E" else 3600 - tenths
        groups.setdefault((position, f"{tenths / 10:.1f}{side}"), []).append((satellite, path))
    places = []
    for (position, degrees), members in sorted(groups.items()):
        used = [(satellite, path) for satellite, path in members if channels_of("dvb-s", [path])]
        channels = channels_of("dvb-s", [path for _, path in used])
        families = {re.match(r"[A-Za-z]+(-(AM|Sat|Yah|do-Sul))?", satellite)[0] for satellite, _ in used}
        names = sorted({SATELLITES.get(family, family) for family in families})
        if len(channels) >= FEWEST_TRANSPONDERS:
            places.append(Place(f"Satellite {degrees} ({', '.join(names)})", "sat", channels, position))
    return places


def raster(first, last, step, **rest):
    return [Channel(frequency, **rest) for frequency in range(first, last + 1, step)]


def full_scans(satellites):
    """The channel rasters of each standard; for satellites all transponders of the positions most used."""
    mega = 1_000_000
    positions = [place for place in satellites if place.orbital_position in FULL_SCAN_POSITIONS]
    scans = {
        # VHF III in 7 MHz (5 to 12) and UHF 21 to 69 in 8 MHz, as before the clearances of 790 and 694 MHz
        "dvb-t": raster(177_500_000, 226_500_000, 7 * mega, bandwidth=7 * mega)
        + raster(474 * mega, 858 * mega, 8 * mega, bandwidth=8 * mega),
        # receivers find the constellation but not the symbol rate, so each of the two usual ones has its round
        "dvb-c": raster(113 * mega, 121 * mega, 8 * mega, symbolrate=6_900_000)
        + raster(114 * mega, 858 * mega, 8 * mega, symbolrate=6_900_000)
        + raster(114 * mega, 858 * mega, 8 * mega, symbolrate=6_875_000),
        # channels 2 to 4, 5 and 6, 7 to 13, and 14 to 51 (36 is the last since 2020)
        "atsc": [
            channel
            for first, last in ((57, 69), (79, 85), (177, 213), (473, 695))
            for channel in raster(first * mega, last * mega, 6 * mega, bandwidth=6 * mega, modulation="8VSB")
        ],
        # Brazil's VHF 7 to 13; UHF 13 to 62 of Japan, which Brazil counts as 14 to 69 and uses to the end
        "isdb-t": raster(177_142_857, 213_142_857, 6 * mega, bandwidth=6 * mega)
        + raster(473_142_857, 803_142_857, 6 * mega, bandwidth=6 * mega),
        "dvb-s": without_duplicates(channel for place in positions for channel in place.channels),
    }
    icons = {"dvb-s": "sat", "atsc": "us", "isdb-t": "jp"}
    return {kind: Place("Full Scan", icons.get(kind, "eu"), scans[kind]) for kind in sorted(scans)}


def runs(channels):
    """Groups of neighbours that differ only by one channel width, so that a range can hold them."""
    group = []
    for channel in channels:
        width = channel.bandwidth or 8_000_000
        if group and channel == group[-1]._replace(frequency=group[-1].frequency + width) and not channel.polarisation:
            group.append(channel)
            continue
        if group:
            yield group
        group = [channel]
    if group:
        yield group


def xml_of(kind, places):
    lines = ['<?xml version="1.0" encoding="UTF-8"?>', f"<!-- {MARK} -->", "<locations>"]
    for place in places:
        position = "" if place.orbital_position is None else f' orbitalposition="{place.orbital_position}"'
        lines += ["  <location>", f"    <name>{escape(place.name)}</name>", f"    <icon>{place.icon}</icon>",
                  f"    <type>{TYPE_TEXT[kind]}</type>", f"    <frequencies{position}>"]  # fmt: skip
        for group in runs(place.channels):
            first, last = group[0].frequency, group[-1].frequency
            if len(group) > 2:
                step = group[1].frequency - first
                lines.append(f'      <range start="{first}" end="{last}" step="{step}"{group[0].attributes()}/>')
            else:
                lines += [f'      <single frequency="{c.frequency}"{c.attributes()}/>' for c in group]
        lines += ["    </frequencies>", "  </location>"]
    return "\n".join([*lines, "</locations>", ""])


def make_files(tables):
    """All files: {name: text}."""
    found = {kind: sorted((tables / kind).glob("*")) for kind in TYPE_TEXT}
    missing = [kind for kind in TYPE_TEXT if not found[kind]]
    if missing:
        raise TablesMissing(f"no tables in {tables}/{missing[0]}: install the package dtv-scan-tables")
    satellites = satellite_places(found["dvb-s"])
    files = {f"fullscan-{kind}.xml": xml_of(kind, [place]) for kind, place in full_scans(satellites).items()}
    for country, places in country_places("dvb-t", found["dvb-t"]).items():
        files[f"dvb-t-{country}.xml"] = xml_of("dvb-t", places)
    for kind in ("dvb-c", "atsc", "isdb-t"):
        countries = country_places(kind, found[kind])
        files[f"{kind}.xml"] = xml_of(kind, [place for places in countries.values() for place in places])
    east = [place for place in satellites if place.orbital_position <= 1800]
    west = [place for place in reversed(satellites) if place.orbital_position > 1800]
    files |= {f"dvb-s-{side}.xml": xml_of("dvb-s", there) for side, there in (("east", east), ("west", west)) if there}
    return files


def differences(files, directory):
    """One line for each committed file that is missing, changed or no longer made."""
    old = {path.name: path.read_text(encoding="utf-8") for path in directory.glob("*.xml")}
    for name in sorted(files.keys() | old.keys()):
        if name not in old:
            yield f"{name} is missing"
        elif name not in files and MARK in old[name]:  # a file that somebody wrote by hand is none of ours
            yield f"{name} is no longer made from the tables"
        elif name in files and files[name] != old[name]:
            yield f"{name} differs from the tables"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--tables", type=pathlib.Path, default=pathlib.Path("/usr/share/dvb"), help="%(default)s")
    parser.add_argument("--output", type=pathlib.Path, default=ROOT / "share" / "locations", help="share/locations")
    parser.add_argument("--check", action="store_true", help="write nothing; fail when the files are out of date")
    arguments = parser.parse_args()
    try:
        files = make_files(arguments.tables)
    except TablesMissing as error:
        print(f"make_locations.py: {error}", file=sys.stderr)
        return EXIT_NO_TABLES
    changes = list(differences(files, arguments.output))
    if arguments.check:
        for change in changes:
            print(f"make_locations.py: {change}", file=sys.stderr)
        return EXIT_DIFFERENT if changes else 0
    arguments.output.mkdir(parents=True, exist_ok=True)
    for change in changes:
        if change.endswith("no longer made from the tables"):
            (arguments.output / change.split()[0]).unlink()
    for name, text in files.items():
        (arguments.output / name).write_text(text, encoding="utf-8")
    print(f"{len(files)} files, {len(changes)} changed, {sum(len(t.encode()) for t in files.values())} bytes")
    return 0


if __name__ == "__main__":
    sys.exit(main())
