"""Accompaniment grooves and example songs of mma at the tempo their authors wrote.

Used by archive.py for the source "accompaniment-grooves". mma turns a
song file (a groove name, a Tempo line and chords) into MIDI, which
fluidsynth renders as the archive's other MIDI files are. Two kinds of
item:
- songs: the package's example songs, and the test songs at the end of
  library files, that have a Tempo line with a number (the author's tempo);
- grooves: a library groove rendered over a stock chord progression at a
  tempo its author wrote for it: the tempo of an example song that uses it,
  or one its documentation names.
Only songs and grooves in 4 (or 2) are kept, and no groove whose documentation says its beats are
not the pulse (a 2/4 or 6/8 written in 4, "double the tempo"): for those,
which tempo is "the" tempo is a convention, not a fact. Songs keep only a
stretch at the written tempo (a final ritardando is cut off); songs whose
notes are the same as another's (lyrics variants) are kept once.
"""

import hashlib
import os
import re
import subprocess

import mido

from repeatable import stable

EXAMPLES = "/usr/share/doc/mma/examples"
LIBRARY = "/usr/share/mma/lib"
# Library folders whose test songs (behind "If Def Test") have a Tempo line.
TEST_SONGS = ("alexis",)
# Tempos that a groove's documentation names as the one it was written for
# (not a range, not "around").
DOCUMENTED = {"nitejazz": 56.0}
# Documentation saying that the written beat is not the pulse one would count.
OTHER_PULSE = re.compile(r"double|dotted quarter|three times|2/4|6/8|12/8", re.IGNORECASE)
# A groove's variants that are not its body: an intro or ending is a few bars
# of something else.
NOT_BODY = re.compile(r"(intro|end|ending|fill)\d*$", re.IGNORECASE)
VARIANTS_PER_TEMPO = 1
SEED = 1
OPENING_BEATS = 32
# Grooves that are a click for counting in, not an accompaniment.
NOT_MUSIC = ("metronome.mma",)
PROGRESSIONS = [
    ["C", "Am", "F", "G7"],
    ["Dm7", "G7", "Cmaj7", "Cmaj7"],
    ["F7", "Bb7", "F7", "F7", "Bb7", "Bb7", "F7", "F7", "C7", "Bb7", "F7", "C7"],
    ["Am", "Dm", "E7", "Am"],
    ["G", "D", "Em", "C"],
    ["Eb", "Cm", "Ab", "Bb7"],
]


def _text(path):
    with open(path, encoding="latin-1") as f:
        return f.read()


def _code(text):
    """The file without comments (mma's comments start with //)."""
    return "\n".join(line.split("//")[0] for line in text.splitlines())


def library_grooves():
    """{groove name (lower case): library file} for the standard library,
    whose grooves mma finds first, and the files' documentation."""
    grooves, docs = {}, {}
    folder = os.path.join(LIBRARY, "stdlib")
    for name in sorted(os.listdir(folder)):
        if not name.endswith(".mma"):
            continue
        path = os.path.join(folder, name)
        text = _text(path)
        docs[path] = text
        for groove in re.findall(r"^\s*DefGroove\s+(\S+)", text, re.MULTILINE | re.IGNORECASE):
            grooves.setdefault(groove.lower(), path)
    return grooves, docs


def _documentation(text):
    """What the author wrote about the file: Doc lines and Begin Doc blocks."""
    blocks = re.findall(r"^\s*Begin\s+Doc\s*$(.*?)^\s*End\s*$", text,
                        re.MULTILINE | re.IGNORECASE | re.DOTALL)
    lines = re.findall(r"^\s*Doc\s+(.*?)(?<!\\)$", text.replace("\\\n", " "),
                       re.MULTILINE | re.IGNORECASE)
    return " ".join(blocks + lines)


def _meter_of(text):
    found = re.search(r"^\s*Time\s+(\d\S*)", _code(text), re.MULTILINE | re.IGNORECASE)
    return found.group(1) if found else "4"


def song_usable(text, used, grooves):
    """Why a song is left out, or None. mma writes a 4/4 time signature
    whatever the Time, so the meter is read from the song: its own Time
    lines, and its grooves' (known only for the standard library's and its
    own)."""
    for meter in re.findall(r"^\s*Time\s+(\d\S*)", _code(text), re.MULTILINE | re.IGNORECASE):
        if meter not in ("4", "2"):
            return f"time {meter}"
    own = {g.lower() for g in re.findall(r"^\s*DefGroove\s+(\S+)", _code(text),
                                         re.MULTILINE | re.IGNORECASE)}
    unknown = [g for g in used if g not in grooves and g not in own]
    return f"groove {unknown[0]} of unknown meter" if unknown else None


def groove_usable(path, docs):
    """Why a library file's grooves are left out, or None."""
    text = docs[path]
    if _meter_of(text) not in ("4", "2"):
        return f"time {_meter_of(text)}"
    if OTHER_PULSE.search(_documentation(text)):
        return "its documentation counts another pulse"
    return None


def written_tempo(text):
    """The first Tempo line's number, or None (a tempo from a variable is not written)."""
    found = re.search(r"^\s*Tempo\s+(\S+)", _code(text), re.MULTILINE | re.IGNORECASE)
    if not found:
        return None
    try:
        return float(found.group(1))
    except ValueError:
        return None


def songs():
    """(name, path, mma options, written tempo or None, text) of every song."""
    found = []
    for folder, _, names in os.walk(EXAMPLES):
        for name in sorted(names):
            if name.endswith(".mma"):
                path = os.path.join(folder, name)
                text = _text(path)
                found.append((os.path.splitext(name)[0], path, [], written_tempo(text), text))
    for library in TEST_SONGS:
        folder = os.path.join(LIBRARY, library)
        for name in sorted(os.listdir(folder)):
            if name.endswith(".mma"):
                path = os.path.join(folder, name)
                text = _text(path)
                test = re.split(r"^\s*If\s+Def\s+Test", _code(text), maxsplit=1,
                                flags=re.MULTILINE | re.IGNORECASE)
                # The test song plays the grooves the file defines above it.
                if len(test) == 2:
                    found.append((f"test-{os.path.splitext(name)[0]}", path, ["-S", "TEST"],
                                  written_tempo(test[1]), text))
    return sorted(found, key=lambda song: song[1])


def grooves_used(text):
    return [g.lower() for g in re.findall(r"^\s*Groove\s+(\S+)", _code(text),
                                          re.MULTILINE | re.IGNORECASE)
            if not g.startswith("$")]


def groove_tempos(text):
    """(groove, tempo) for each groove that plays at a written tempo from its
    Groove line until the next one: a groove after a relative change
    ("Tempo *2", "Tempo -40 2"), or one whose tempo changes while it plays,
    has no tempo its author wrote."""
    pairs, tempo, current = [], None, None
    for line in _code(text).splitlines():
        words = line.split()
        if len(words) < 2:
            continue
        keyword = words[0].lower()
        if keyword == "tempo":
            try:
                tempo = float(words[1]) if len(words) == 2 else None
            except ValueError:
                tempo = None
            if current is not None and current[1] != tempo:
                current = None
        elif keyword == "groove" and not words[1].startswith("$"):
            if current is not None:
                pairs.append(current)
            current = (words[1].lower(), tempo) if tempo is not None else None
    if current is not None:
        pairs.append(current)
    return pairs


def run_mma(path, defines, out):
    """MIDI of a song file. mma plays with random timing and volume: a fixed
    seed makes the render repeat, and the same one for every song makes
    copies that differ only in their lyrics give the same notes. mma looks
    for included files beside the song, so it runs there."""
    wrapper = os.path.join(os.path.dirname(out), "seeded.mma")
    with open(wrapper, "w") as f:
        f.write(f"RndSeed {SEED}\nInclude {path}\n")
    subprocess.run(["nice", "-n", "10", "mma", *defines, "-f", out, wrapper],
                   cwd=os.path.dirname(path), check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def notes_digest(midi_path):
    """The notes of the first 8 bars alone, so that copies of a song that
    differ in their lyrics or in how often they repeat count once."""
    midi = mido.MidiFile(midi_path)
    ticks, notes = 0, []
    for message in mido.merge_tracks(midi.tracks):
        ticks += message.time
        if ticks >= OPENING_BEATS * midi.ticks_per_beat:
            break
        if message.type == "note_on" and message.velocity > 0:
            notes.append((ticks, message.note))
    return hashlib.sha256(repr(sorted(notes)).encode()).hexdigest()


def groove_song(groove, bpm, name, seconds):
    """A song file for one groove: the stock progression repeated for long enough."""
    chords = PROGRESSIONS[int(stable(name, "chords") * len(PROGRESSIONS))]
    bars = int(seconds * bpm / 60.0 / 4.0) + 2
    lines = [f"// {name}", f"Tempo {bpm:g}", f"Groove {groove}"]
    lines += [f"{i + 1} {chords[i % len(chords)]}" for i in range(bars)]
    return "\n".join(lines) + "\n"


def items(seconds, log):
    """(name, make(tmpdir) -> MIDI path, written bpm) of every song and groove
    kept, songs first; a groove takes a tempo it plays at in a song that
    passes the groove checks."""
    grooves, docs = library_grooves()
    kept, tempos = [], {}
    for name, path, defines, bpm, text in songs():
        if bpm is None:
            continue  # no tempo written: not guessed
        used = [grooves[g] for g in grooves_used(text) if g in grooves]
        why = song_usable(text, grooves_used(text), grooves) or next(
            (f"{os.path.basename(p)}: {groove_usable(p, docs)}" for p in used
             if groove_usable(p, docs)), None)
        if why:
            log(f"{name}: {why}, skipped")
            continue

        def make(tmp, path=path, defines=defines):
            out = os.path.join(tmp, "song.mid")
            run_mma(path, defines, out)
            return out
        kept.append((f"song-{name}", make, bpm))
        for groove, tempo in groove_tempos(text):
            library = grooves.get(groove)
            if library and os.path.basename(library) not in NOT_MUSIC:
                tempos.setdefault((library, tempo), name)
    for stem, bpm in DOCUMENTED.items():
        path = os.path.join(LIBRARY, "stdlib", f"{stem}.mma")
        if groove_usable(path, docs) is None:
            tempos.setdefault((path, bpm), "its documentation")
    bodies = {}
    for groove, path in grooves.items():
        if not NOT_BODY.search(groove):
            bodies.setdefault(path, []).append(groove)
    for (path, bpm), origin in sorted(tempos.items()):
        stem = os.path.splitext(os.path.basename(path))[0]
        variants = sorted(bodies.get(path, []),
                          key=lambda g, bpm=bpm: stable(f"{g}-{bpm:g}", "variant"))
        for groove in variants[:VARIANTS_PER_TEMPO]:
            name = f"groove-{groove}-{bpm:g}"
            song = groove_song(groove, bpm, name, seconds)

            def make(tmp, song=song):
                source = os.path.join(tmp, "groove.mma")
                with open(source, "w") as f:
                    f.write(song)
                out = os.path.join(tmp, "groove.mid")
                run_mma(source, [], out)
                return out
            kept.append((name, make, bpm))
            log(f"{name}: {stem} at the tempo of {origin}")
    return kept
