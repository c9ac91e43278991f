"""Scores in Debian's archive whose authors marked their tempo, as MIDI.

Used by archive.py for the source "scores": folk tunes and classical
excerpts in ABC (the examples of abcmidi and abcm2ps, turned into MIDI by
abc2midi) and the demo scores of the notation editor (musescore3-common and
musescore-common, turned into MIDI by mscore3). fluidsynth renders the MIDI
as the archive's other MIDI files are.

Only scores in 2/4, 4/4 (C) or 2/2 (C|) whose tempo marking names one plain
note value and a number are kept. The truth counts the beat the meter
counts: in 2/4 and 4/4 quarters (an ABC "Q:1/8=400" in 4/4 is 200 quarters a
minute, which is the same speed written in another unit), in 2/2 halves, and
only when the marking itself counts halves: a cut-time tune marked in
quarters leaves it open whether the author feels two or four to the bar, so
it is left out. Also left out: a bare "Q:120" (older ABC reads it in the
tune's unit note length, newer in quarters), a dotted note value, "ca.",
a tempo or meter that changes, a score whose marking is only a word, and
a stretch that does not start with the marking.

The first bar of a tune may be a pickup; its length is read from the score
so that the render can be cut to start on a bar line, where archive.py
cuts its loops.
"""

import os
import re
import subprocess
import xml.etree.ElementTree as ElementTree
import zipfile
from fractions import Fraction

from repeatable import files_of

ABC_PACKAGES = ["abcmidi", "abcm2ps"]
MUSESCORE_PACKAGES = ["musescore3-common", "musescore-common"]
# (numerator, denominator) -> quarters in the beat the truth counts.
METERS = {(2, 4): 1, (4, 4): 1, (2, 2): 2}
# Metronome-mark note glyphs (SMuFL, and the Unicode musical symbols of older
# scores) -> note value.
NOTE_GLYPHS = {"\ueca2": Fraction(1, 2), "\ueca3": Fraction(1, 2),
               "\ueca5": Fraction(1, 4), "\ueca6": Fraction(1, 4),
               "\ueca7": Fraction(1, 8), "\ueca8": Fraction(1, 8),
               "\U0001d15e": Fraction(1, 2), "\U0001d15f": Fraction(1, 4),
               "\U0001d160": Fraction(1, 8)}
NOTE_SYMBOLS = {"metNoteHalfUp": "\ueca2", "metNoteHalfDown": "\ueca3",
                "metNoteQuarterUp": "\ueca5", "metNoteQuarterDown": "\ueca6",
                "metNote8thUp": "\ueca7", "metNote8thDown": "\ueca8",
                "metAugmentationDot": "."}
DOTS = "\uecb7."


def meter_of(text):
    """(numerator, denominator) of an ABC M: field or a MuseScore time
    signature, or None for free or compound ones."""
    text = text.strip()
    if text == "C":
        return (4, 4)
    if text == "C|":
        return (2, 2)
    found = re.fullmatch(r"(\d+)\s*/\s*(\d+)", text)
    return (int(found.group(1)), int(found.group(2))) if found else None


def counted_tempo(note, number, meter):
    """(bpm of the beat the truth counts, quarters in that beat) for a
    marking of `number` `note`s a minute, or why it is left out."""
    if meter not in METERS:
        return f"meter {meter[0]}/{meter[1]}" if meter else "no meter"
    if note.numerator != 1 or note.denominator not in (2, 4, 8):
        return f"marking in {note} notes"
    beat = Fraction(METERS[meter], 4)
    if meter == (2, 2) and note != beat:
        return "cut time marked in other notes than halves"
    return float(number * note / beat), METERS[meter]


def abc_written_tempo(field, meter):
    """counted_tempo of an ABC Q: field, or why it is left out."""
    marking = re.sub(r'"[^"]*"', " ", field).strip()
    if not marking:
        return "tempo named only in words"
    found = re.fullmatch(r"(\d+)\s*/\s*(\d+)\s*=\s*(\d+(?:\.\d+)?)", marking)
    if not found:
        if re.fullmatch(r"\d+(\.\d+)?", marking):
            return f"tempo {marking} without a note value"
        return f"tempo {marking} not one note value and a number"
    note = Fraction(int(found.group(1)), int(found.group(2)))
    return counted_tempo(note, Fraction(found.group(3)), meter)


def abc_tunes(text):
    """(number, header fields {letter: first value}, body lines) of each tune
    of an ABC file; the header ends with its K: line."""
    tunes = []
    for block in re.split(r"^(?=X:)", text, flags=re.MULTILINE):
        if not block.startswith("X:"):
            continue
        fields, body, header = {}, [], True
        for line in block.splitlines():
            if not line.strip():
                break  # a blank line ends the tune
            if line.startswith("%"):
                continue
            found = re.match(r"([A-Za-z]):(.*)", line)
            # Fields between K: and the first notes (a Q: written after the
            # key, a voice's name) still hold from the start.
            if found and (header or not any(not re.match(r"[A-Za-z]:", b) for b in body)):
                fields.setdefault(found.group(1), found.group(2).split("%")[0].strip())
                if header:
                    header = found.group(1) != "K"
                    continue
            body.append(line.split("%")[0])
        tunes.append((fields.get("X", ""), fields, body))
    return tunes


def _unit_length(fields, meter):
    found = re.fullmatch(r"(\d+)\s*/\s*(\d+)", fields.get("L", ""))
    if found:
        return Fraction(int(found.group(1)), int(found.group(2)))
    # ABC's default: a sixteenth below a meter of 3/4, an eighth from it up.
    return Fraction(1, 16) if Fraction(*meter) < Fraction(3, 4) else Fraction(1, 8)


LENGTH = r"(\d*)(/*)(\d*)"
NOTE = re.compile(r"[=^_]*[A-Ga-gzx][,']*" + LENGTH)
# A chord lasts as long as its first note, times the length after it.
CHORD = re.compile(r"\[([^\]|]*)\]" + LENGTH)
# What takes no time: annotations and chord names, decorations, grace
# notes, inline fields, slurs, ties, beams' spaces, broken rhythm marks
# (a>b keeps the pair's length).
NO_TIME = re.compile(r'"[^"]*"|![^!]*!|\+[^+]*\+|\{[^}]*\}|\[[A-Za-z]:[^\]]*\]|'
                     r"[()\-\s.~HLMOPSTuvy<>`*\\](?!\d)")
TUPLETS = {2: Fraction(3, 2), 3: Fraction(2, 3), 4: Fraction(3, 4)}


def _length(groups):
    """The multiplier of an ABC length: "3", "/", "//", "3/2", "/4" or none."""
    number, slashes, under = groups
    return Fraction(int(number or 1), int(under or 2 ** len(slashes)))


def abc_pickup(fields, body, meter):
    """Quarters before the tune's first bar line (0 when the first bar is
    whole), or None when they cannot be read."""
    music = " ".join(line for line in body if not re.match(r"[A-Za-z]:", line))
    music = re.sub(r"\[[A-Za-z]:[^\]]*\]", " ", music)
    bar = music.find("|")
    if bar < 0:
        return None
    before, unit = music[:bar], _unit_length(fields, meter)
    total, scale, left = Fraction(0), Fraction(1), 0
    at = 0
    while at < len(before):
        skipped = NO_TIME.match(before, at)
        if skipped:
            at = skipped.end()
            continue
        tuplet = re.match(r"\((\d)", before[at:])
        if tuplet:
            if int(tuplet.group(1)) not in TUPLETS:
                return None
            scale, left = TUPLETS[int(tuplet.group(1))], int(tuplet.group(1))
            at += tuplet.end()
            continue
        chord = CHORD.match(before, at)
        note = NOTE.match(chord.group(1).lstrip()) if chord else NOTE.match(before, at)
        if not note:
            return None
        length = _length(note.groups())
        if chord:
            length *= _length(chord.groups()[1:])
        total += length * unit * (scale if left else 1)
        left = max(left - 1, 0)
        at = (chord or note).end()
    quarters = total * 4
    whole_bar = Fraction(meter[0] * 4, meter[1])
    if quarters >= whole_bar:
        return 0.0 if quarters == whole_bar else None
    return float(quarters)


def abc_usable(fields, body):
    """(bpm, quarters per beat, pickup quarters) of a tune, or why it is left out."""
    if "Q" not in fields:
        return "no tempo marking"
    meter = meter_of(fields.get("M", ""))
    tempo = abc_written_tempo(fields["Q"], meter)
    if isinstance(tempo, str):
        return tempo
    text = "\n".join(body)
    # A field repeated with the same value (a new voice's or part's header)
    # is no change.
    checks = (("Q", lambda v: abc_written_tempo(v, meter) == tempo, "tempo changes"),
              ("M", lambda v: meter_of(v) == meter, "meter changes"))
    for letter, same, why in checks:
        later = re.findall(rf"^{letter}:(.*)$|\[{letter}:([^\]]*)\]", text, re.MULTILINE)
        if not all(same((a or b).strip()) for a, b in later):
            return why
    pickup = abc_pickup(fields, body, meter)
    if pickup is None:
        return "first bar not read"
    return tempo[0], tempo[1], pickup


def _marking(tempo_element):
    """(note value, number) of a MuseScore tempo text's metronome mark, or None."""
    text = tempo_element.find("text")
    if text is None:
        return None

    def flat(element):
        inner = element.text or ""
        if element.tag == "sym":
            inner = NOTE_SYMBOLS.get(inner, inner)
        return inner + "".join(flat(child) + (child.tail or "") for child in element)
    found = re.search(r"([^\s(])([" + DOTS + r"]?)\s*=\s*(\d+(?:\.\d+)?)", flat(text))
    if not found or found.group(1) not in NOTE_GLYPHS:
        return None
    if found.group(2):
        return "dotted", None
    return NOTE_GLYPHS[found.group(1)], Fraction(found.group(3))


def musescore_usable(text):
    """(bpm, quarters per beat, pickup quarters) of a MuseScore file's text,
    or why it is left out. MuseScore stores the tempo in quarters a second
    whatever the marking shows; the marking says which beat its author
    counts, and the two must agree."""
    root = ElementTree.fromstring(text)
    meters = {(int(t.findtext("sigN", "0")), int(t.findtext("sigD", "0")))
              for t in root.iter("TimeSig")}
    if len(meters) != 1:
        return "meter changes" if meters else "no meter"
    meter = meters.pop()
    staff = next((s for s in root.iter("Staff") if s.find("Measure") is not None), None)
    measures = staff.findall("Measure") if staff is not None else []
    if not measures or measures[0].find(".//Tempo") is None:
        return "no tempo marking at the start"
    first = measures[0].find(".//Tempo")
    marking = _marking(first)
    if marking is None:
        return "tempo named only in words"
    if marking[0] == "dotted":
        return "marking in dotted notes"
    stored = float(first.findtext("tempo", "0")) * 60.0
    if abs(stored - float(marking[1] * marking[0] * 4)) > 0.5:
        return f"marking {marking[1]} does not match the tempo played ({stored:.1f} quarters)"
    tempo = counted_tempo(marking[0], marking[1], meter)
    if isinstance(tempo, str):
        return tempo
    length = measures[0].get("len")
    pickup = float(Fraction(length) * 4) if length else 0.0
    return tempo[0], tempo[1], pickup


def _musescore_text(path):
    if path.endswith(".mscz"):
        with zipfile.ZipFile(path) as archive:
            inner = next(n for n in archive.namelist()
                         if n.endswith(".mscx") and "/" not in n.strip("/"))
            return archive.read(inner).decode("utf-8")
    with open(path, encoding="utf-8") as f:
        return f.read()


def items(packages_dir, log):
    """(name, make(tmpdir) -> MIDI path, written bpm, quarters per beat,
    pickup quarters) of every score kept."""
    kept = []
    for path in files_of(packages_dir, ABC_PACKAGES, (".abc",)):
        with open(path, encoding="latin-1") as f:
            text = f.read()
        stem = os.path.splitext(os.path.basename(path))[0]
        for number, fields, body in abc_tunes(text):
            name = f"abc-{stem}-{number}"
            usable = abc_usable(fields, body)
            if isinstance(usable, str):
                log(f"{name}: {usable}, skipped")
                continue

            def make(tmp, path=path, number=number):
                out = os.path.join(tmp, "tune.mid")
                subprocess.run(["nice", "-n", "10", "abc2midi", path, number, "-silent",
                                "-o", out], check=True,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                return out
            kept.append((name, make, *usable))
    for path in files_of(packages_dir, MUSESCORE_PACKAGES, (".mscx", ".mscz")):
        if "/demos/" not in path:
            continue  # templates are empty staves
        name = "score-" + os.path.splitext(os.path.basename(path))[0].replace("_", "-").lower()
        try:
            usable = musescore_usable(_musescore_text(path))
        except (ElementTree.ParseError, zipfile.BadZipFile, StopIteration, ValueError) as error:
            usable = f"not read ({error})"
        if isinstance(usable, str):
            package = os.path.relpath(path, packages_dir).split(os.sep)[0]
            log(f"{name} ({package}): {usable}, skipped")
            continue

        def make(tmp, path=path):
            out = os.path.join(tmp, "score.mid")
            subprocess.run(["nice", "-n", "10", "timeout", "300", "mscore3", "-o", out, path],
                           check=True, env={**os.environ, "QT_QPA_PLATFORM": "offscreen"},
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            return out
        kept.append((name, make, *usable))
    return kept
