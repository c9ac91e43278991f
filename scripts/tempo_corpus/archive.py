"""Renders a tempo corpus from music in Debian's archive whose authors wrote its tempo.

Usage: archive.py PACKAGES_DIR OUTDIR [SOURCE ...]
       archive.py --packages [SOURCE ...]   (the packages they are made from)

PACKAGES_DIR holds the unpacked packages (one folder per package). A
source already rendered (its truth.csv there) is kept; with SOURCE names,
only those are rendered. Each source (a package or a group of small ones)
becomes OUTDIR/<source>/ with its WAV files and a truth.csv
(file,bpm,kind): "piece" for up to 60 s of a piece at one tempo, "loop" for
a whole number of beats cut on a bar line of the same render. The truth is
the author's: the set-tempo event of a MIDI file (only a stretch that has
one and whose notes sit on its grid), or a module's speed and tempo with
its rows per beat (libopenmpt's reading of them; formats that do not store
rows per beat count 4), or the Tempo line of an mma song or groove
(accompaniment.py), or the tempo marking of a score (scores.py). A source
"no-rhythm" of noise and drones has no tempo at all (kind "none").
"""

import contextlib
import csv
import ctypes
import gzip
import hashlib
import os
import shutil
import subprocess
import sys
import tempfile
import wave

import mido
import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import accompaniment  # noqa: E402
import scores  # noqa: E402
from repeatable import files_of, stable  # noqa: E402

RATE = 44100
SOUNDFONTS = ["/usr/share/sounds/sf2/FluidR3_GM.sf2", "/usr/share/sounds/sf2/TimGM6mb.sf2"]
PIECE_SECONDS = 60.0
# A piece shorter than this could pass for a loop, which the detector reads
# differently; such a piece only gives loops.
MIN_PIECE_SECONDS = 35.0
MAX_LOOP_SECONDS = 30.0
LOOP_BEATS = (2, 4, 8, 16)
# A tempo change smaller than this share keeps the segment going.
SAME_TEMPO = 0.005

SOURCES = {
    # MIDI files are often played in against the sequencer's click, whose
    # tempo the music need not follow, or carry no tempo of their own: only
    # what sits on the written tempo's grid counts ("sequenced-midi").
    "simutrans-midi": (["simutrans-data"], "sequenced-midi"),
    "small-midi": (["freedink-data", "kobodeluxe-data", "pianobooster"], "sequenced-midi"),
    "pingus-modules": (["pingus-data"], "module"),
    "pekka-modules": (["pekka-kana-2-data"], "module"),
    "game-modules": (["gl-117-data", "freedroid-data", "biniax2-data", "rafkill-data",
                      "bomberclone-data"], "module"),
    "arcade-modules": (["pachi-data", "madbomber-data", "circuslinux-data", "gemdropx"], "module"),
    "teaching-modules": (["tuxtype-data", "tuxmath-data", "penguin-command", "njam-data"],
                         "module"),
    # Made by the installed mma from its own grooves and songs: nothing to download.
    "accompaniment-grooves": ([], "accompaniment"),
    # Example songs of music tools and two games' tunes.
    "example-midi": (["faust-common", "pangzero", "pd-mrpeach", "pinball-table-hurd-data",
                      "playmidi", "timidity"], "sequenced-midi"),
    "more-game-modules": (["ironseed-data", "tecnoballz-data", "heroes-sound-tracks",
                           "flobopuyo", "solarwolf", "dodgindiamond2", "bugsquish",
                           "ri-li-data", "ballz-data", "ceferino-data", "criticalmass-data",
                           "cuyo-data", "fb-music-high", "gltron", "monsterz-data",
                           "open-invaders-data", "pathogen", "black-box", "vectoroids",
                           "tomatoes-data"], "module"),
    "scores": (scores.ABC_PACKAGES + scores.MUSESCORE_PACKAGES, "scores"),
}
MIDI_SUFFIXES = (".mid", ".midi", ".mid.gz", ".midi.gz")
# How closely the note onsets of a "sequenced-midi" stretch must hold to
# a grid of sixteenths or sixteenth triplets of the written beat (the length
# of the mean unit vector of their phases): files played in freely against
# a click came to 0.35 at most, sequenced ones with some swing or
# humanising to 0.8 and more.
ON_GRID = 0.5
MODULE_SUFFIXES = (".it", ".xm", ".s3m", ".mod")
MIDI_METERS = ((2, 4), (4, 4))


def write_wav(path, samples):
    pcm = (np.clip(samples, -1.0, 1.0) * 32767).astype("<i2")
    with wave.open(path, "wb") as w:
        w.setnchannels(1)
        w.setsampwidth(2)
        w.setframerate(RATE)
        w.writeframes(pcm.tobytes())


def read_wav_mono(path):
    with wave.open(path, "rb") as w:
        frames = np.frombuffer(w.readframes(w.getnframes()), dtype="<i2").astype(np.float32)
        channels = w.getnchannels()
    return frames.reshape(-1, channels).mean(axis=1) / 32768.0


def midi_segment(path, sequenced=False, meters=MIDI_METERS):
    """(start, end, bpm) in seconds of the first stretch at one tempo in one
    of the meters (a meter change inside it counts too), or why there is
    none. The bpm counts quarters, as MIDI does.
    With sequenced, the stretch must also have a set-tempo event at or
    before its first note (not the format's default) and its notes must sit
    on that tempo's grid: a file played in freely has the sequencer's click
    for a tempo, which the music need not follow."""
    midi = mido.MidiFile(path, clip=True)
    events = []  # (seconds, kind, value)
    seconds, ticks = 0.0, 0
    tempo = 500000
    for message in mido.merge_tracks(midi.tracks):
        seconds += mido.tick2second(message.time, midi.ticks_per_beat, tempo)
        ticks += message.time
        if message.type == "set_tempo":
            tempo = message.tempo
            events.append((seconds, "tempo", mido.tempo2bpm(tempo)))
        elif message.type == "time_signature":
            events.append((seconds, "meter", (message.numerator, message.denominator)))
        elif message.type == "note_on" and message.velocity > 0:
            events.append((seconds, "note", ticks / midi.ticks_per_beat))
    end_of_file = seconds
    bpm, start, first_note = 120.0, 0.0, None
    for at, kind, value in events:
        if kind == "note" and first_note is None:
            first_note = at
        if kind == "tempo" and abs(value - bpm) > SAME_TEMPO * bpm:
            if first_note is not None and at - start >= MIN_PIECE_SECONDS:
                break
            bpm, start, first_note = value, at, None
    else:
        at = end_of_file
    end = min(at, start + PIECE_SECONDS)
    used = [(4, 4)] + [value for when, kind, value in events if kind == "meter" and when <= start]
    used = used[-1:] + [value for when, kind, value in events
                        if kind == "meter" and start < when < end]
    if any(meter not in meters for meter in used):
        return "not in " + " or ".join(f"{n}/{d}" for n, d in meters)
    if not sequenced:
        return start, end, bpm
    if not any(kind == "tempo" and when <= (start if first_note is None else first_note)
               for when, kind, _ in events):
        return "no tempo written"
    beats = np.array([value for when, kind, value in events
                      if kind == "note" and start <= when < end])
    if beats.size and grid_fit(beats) < ON_GRID:
        return "notes off the written beat's grid"
    return start, end, bpm


def grid_fit(beats):
    """How closely onsets (in beats) sit on sixteenths or sixteenth
    triplets: 1 on the grid, near 0 when scattered."""
    return max(float(np.abs(np.mean(np.exp(2j * np.pi * division * beats))))
               for division in (4, 6))


def render_midi(path, font, gain):
    with tempfile.TemporaryDirectory() as tmp:
        out = os.path.join(tmp, "render.wav")
        subprocess.run(["fluidsynth", "-ni", "-q", "-g", f"{gain:.2f}", "-r", str(RATE),
                        "-T", "wav", "-O", "s16", "-F", out, font, path],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return read_wav_mono(out)


class Openmpt:
    def __init__(self):
        lib = ctypes.CDLL("libopenmpt.so.0")
        lib.openmpt_module_create_from_memory2.restype = ctypes.c_void_p
        lib.openmpt_module_create_from_memory2.argtypes = [
            ctypes.c_char_p, ctypes.c_size_t] + [ctypes.c_void_p] * 7 + [ctypes.c_void_p]
        lib.openmpt_module_destroy.argtypes = [ctypes.c_void_p]
        lib.openmpt_module_read_float_mono.restype = ctypes.c_size_t
        lib.openmpt_module_read_float_mono.argtypes = [ctypes.c_void_p, ctypes.c_int32,
                                                       ctypes.c_size_t, ctypes.c_void_p]
        for name in ("speed", "tempo"):
            f = getattr(lib, f"openmpt_module_get_current_{name}")
            f.restype = ctypes.c_int32
            f.argtypes = [ctypes.c_void_p]
        lib.openmpt_module_get_current_estimated_bpm.restype = ctypes.c_double
        lib.openmpt_module_get_current_estimated_bpm.argtypes = [ctypes.c_void_p]
        lib.openmpt_module_set_repeat_count.argtypes = [ctypes.c_void_p, ctypes.c_int32]
        self.lib = lib

    def render(self, path):
        """(samples, bpm) of the module from its start until its speed or tempo first changes."""
        data = open(path, "rb").read()
        lib = self.lib
        module = lib.openmpt_module_create_from_memory2(data, len(data), *([None] * 8))
        if not module:
            return None, 0.0
        try:
            lib.openmpt_module_set_repeat_count(module, 0)
            block = 512
            buffer = (ctypes.c_float * block)()
            chunks = []
            state = None
            bpm = 0.0
            while len(chunks) * block < PIECE_SECONDS * RATE:
                got = lib.openmpt_module_read_float_mono(module, RATE, block, buffer)
                if got == 0:
                    break
                now = (lib.openmpt_module_get_current_speed(module),
                       lib.openmpt_module_get_current_tempo(module))
                if state is None:
                    state = now
                    bpm = lib.openmpt_module_get_current_estimated_bpm(module)
                elif now != state:
                    break
                chunks.append(np.frombuffer(buffer, dtype=np.float32, count=got).copy())
            samples = np.concatenate(chunks) if chunks else np.zeros(0, np.float32)
            return samples, bpm
        finally:
            lib.openmpt_module_destroy(module)


def normalised(samples):
    peak = float(np.max(np.abs(samples))) if samples.size else 0.0
    return samples * (0.8 / peak) if peak > 0 else samples


def audible(samples):
    return samples.size and float(np.sqrt(np.mean(samples ** 2))) > 0.01


def cut_loop(samples, bpm, name):
    """A loop of 2, 4, 8 or 16 beats starting on a bar line, or None."""
    beat = 60.0 / bpm
    choices = [b for b in LOOP_BEATS if b * beat <= MAX_LOOP_SECONDS]
    if not choices:
        return None
    beats = choices[int(stable(name, "beats") * len(choices))]
    bars_in = int(len(samples) / RATE / (4 * beat))
    last_start_bar = bars_in - int(np.ceil(beats / 4)) - 1
    if last_start_bar < 1:
        return None
    bar = 1 + int(stable(name, "bar") * last_start_bar)
    start = int(round(bar * 4 * beat * RATE))
    length = int(round(beats * beat * RATE))
    loop = samples[start:start + length]
    return loop if len(loop) == length and audible(loop) else None


def write_unrhythmic(outdir):
    """Sounds with no tempo at all (noise of three colours, drones), under
    "none": whatever tempo is shown for them is wrong, which the confidence
    must learn as well."""
    folder = os.path.join(outdir, "no-rhythm")
    os.makedirs(folder, exist_ok=True)
    rows = []
    for i in range(24):
        rng = np.random.default_rng([i, 11])
        seconds = float(rng.choice([2.0, 6.0, 15.0, 40.0])) * rng.uniform(0.8, 1.2)
        n = int(seconds * RATE)
        kind = ["white", "pink", "brown", "drone"][i % 4]
        if kind == "drone":
            t = np.arange(n) / RATE
            root = 55.0 * 2 ** rng.uniform(0, 3)
            samples = sum(np.sin(2 * np.pi * root * r * t + rng.uniform(0, 6))
                          for r in (1.0, 1.25, 1.5, 2.0))
            samples *= 1 + 0.3 * np.sin(2 * np.pi * rng.uniform(0.05, 0.3) * t)
        else:
            spectrum = np.fft.rfft(rng.standard_normal(n))
            f = np.maximum(np.fft.rfftfreq(n, 1 / RATE), 1.0)
            spectrum /= {"white": 1.0, "pink": np.sqrt(f), "brown": f}[kind]
            samples = np.fft.irfft(spectrum, n)
        name = f"{kind}-{i:02d}.wav"
        write_wav(os.path.join(folder, name), normalised(samples.astype(np.float32)))
        rows.append((name, "", "none"))
    with open(os.path.join(folder, "truth.csv"), "w", newline="") as f:
        writer = csv.writer(f)
        writer.writerow(["file", "bpm", "kind"])
        writer.writerows(rows)
    print(f"no-rhythm: {len(rows)} files")


def keep(source, folder, name, samples, bpm, rows):
    """Writes the piece (when long enough) and its loop, with their truth
    rows, unless the render is silent or its tempo out of range."""
    if samples is None or not audible(samples) or not (40.0 <= bpm <= 250.0):
        print(f"{source}: {name}: silent or tempo {bpm:.1f} out of range, skipped")
        return
    samples = normalised(samples)
    if len(samples) >= MIN_PIECE_SECONDS * RATE:
        write_wav(os.path.join(folder, f"{name}.wav"), samples)
        rows.append((f"{name}.wav", f"{bpm:.4f}", "piece"))
    loop = cut_loop(samples, bpm, name)
    if loop is not None:
        write_wav(os.path.join(folder, f"loop-{name}.wav"), loop)
        rows.append((f"loop-{name}.wav", f"{bpm:.4f}", "loop"))


def render_file(path, name, kind, openmpt, meters=MIDI_METERS):
    """(samples, bpm) of a MIDI file's first stretch at one tempo or of a
    module, or a reason it is skipped."""
    if kind == "module":
        return openmpt.render(path)
    segment = midi_segment(path, kind == "sequenced-midi", meters)
    if isinstance(segment, str):
        return segment
    start, end, bpm = segment
    font = SOUNDFONTS[int(stable(name, "font") * len(SOUNDFONTS))]
    rendered = render_midi(path, font, 0.3 + 0.5 * stable(name, "gain"))
    return rendered[int(start * RATE):int(end * RATE)], bpm


def rendered_or_none(source, path, name, kind, openmpt, meters=MIDI_METERS):
    """render_file's samples and tempo, or None once it has said why the
    file is skipped."""
    try:
        rendered = render_file(path, name, kind, openmpt, meters)
    except Exception as error:  # a file the parser or renderer cannot take
        print(f"{source}: {name}: {error}, skipped")
        return None
    if isinstance(rendered, str):
        print(f"{source}: {name}: {rendered}, skipped")
        return None
    return rendered


@contextlib.contextmanager
def plain_midi(path):
    """The path of the file as fluidsynth and mido read it: a gzipped file
    is unpacked into a temporary folder first."""
    if not path.endswith(".gz"):
        yield path
        return
    with tempfile.TemporaryDirectory() as tmp:
        plain = os.path.join(tmp, os.path.basename(path)[:-3])
        with gzip.open(path) as packed, open(plain, "wb") as out:
            shutil.copyfileobj(packed, out)
        yield plain


def source_name(path):
    """The file's name without its suffixes (".mid.gz" included), spaces made
    underscores."""
    base = os.path.basename(path)
    if base.endswith(".gz"):
        base = base[:-3]
    return os.path.splitext(base)[0].replace(" ", "_")


def first_copy(source, name, make, digest_of, seen):
    """The path `make()` gives, or None when it fails or when its notes (or
    bytes: `digest_of`) are those of an earlier file in `seen`, where they
    are kept. Copies of a song saved again by another program, or shipped
    by a second package, differ in their bytes but not in their notes."""
    try:
        path = make()
        digest = digest_of(path)
    except Exception as error:  # a file mido or a converter cannot take
        print(f"{source}: {name}: {error}, skipped")
        return None
    if digest in seen:
        print(f"{source}: {name}: a copy of an earlier file, skipped")
        return None
    seen.add(digest)
    return path


@contextlib.contextmanager
def made_once(source, name, make, seen):
    """The MIDI file `make(folder)` writes into a temporary folder, or None
    when an earlier one had that name (a copy in another folder or package)
    or as first_copy says."""
    if name in seen:
        print(f"{source}: {name}: a second file of that name, skipped")
        yield None
        return
    seen.add(name)
    with tempfile.TemporaryDirectory() as tmp:
        yield first_copy(source, name, lambda: make(tmp), accompaniment.notes_digest, seen)


def render_files(source, kind, packages_dir, packages, folder, rows, openmpt):
    """Each MIDI file or module of the packages once: a copy shipped by a
    second package (or twice in one) is skipped, and a file that an earlier
    one of other content took the name of is named after its package too."""
    midi = kind == "sequenced-midi"
    suffixes = MIDI_SUFFIXES if midi else MODULE_SUFFIXES
    digest_of = (accompaniment.notes_digest if midi
                 else lambda path: hashlib.sha256(open(path, "rb").read()).hexdigest())
    seen = set()  # names and contents
    for path in files_of(packages_dir, packages, suffixes):
        name = source_name(path)
        with plain_midi(path) as plain:
            if first_copy(source, name, lambda: plain, digest_of, seen) is None:
                continue
            if name in seen:
                name = f"{os.path.relpath(path, packages_dir).split(os.sep)[0]}-{name}"
            seen.add(name)
            rendered = rendered_or_none(source, plain, name, kind, openmpt)
        if rendered is not None:
            keep(source, folder, name, *rendered, rows)


def made_at_written_tempo(source, name, make, seen, quarters_bpm, meters=MIDI_METERS):
    """(samples, bpm) of the MIDI file `make` writes (see made_once), or
    None once it has said why not. A first stretch at another tempo than
    the written one, in quarters a minute (a song that starts slower, say),
    is left out: its truth would be ours."""
    with made_once(source, name, make, seen) as path:
        rendered = path and rendered_or_none(source, path, name, "midi", None, meters)
    if rendered is None:
        return None
    if abs(rendered[1] - quarters_bpm) > SAME_TEMPO * quarters_bpm:
        print(f"{source}: {name}: first stretch at {rendered[1]:.1f} quarters a minute, not the "
              f"written {quarters_bpm:g}, skipped")
        return None
    return rendered


def render_accompaniment(source, folder, rows):
    """mma's songs and grooves: its MIDI at the written tempo, rendered as
    the MIDI files are."""
    seen = set()
    for name, make, written in accompaniment.items(PIECE_SECONDS + 5.0,
                                                   lambda line: print(f"{source}: {line}")):
        rendered = made_at_written_tempo(source, name, make, seen, written)
        if rendered is not None:
            keep(source, folder, name, *rendered, rows)


def render_scores(source, folder, packages_dir, rows):
    """Scores with a tempo marking (scores.py), from their first bar line:
    a pickup is cut off so that the loops start on bar lines."""
    seen = set()
    for name, make, written, quarters, pickup in scores.items(
            packages_dir, lambda line: print(f"{source}: {line}")):
        rendered = made_at_written_tempo(source, name, make, seen, written * quarters,
                                         tuple(scores.METERS))
        if rendered is None:
            continue
        samples, _ = rendered
        beat_seconds = 60.0 / written
        keep(source, folder, name, samples[int(round(pickup / quarters * beat_seconds * RATE)):],
             written, rows)


def main():
    listing = sys.argv[1:2] == ["--packages"]
    if listing:
        chosen = sys.argv[2:]
    elif len(sys.argv) >= 3:
        packages_dir, outdir, chosen = sys.argv[1], sys.argv[2], sys.argv[3:]
    else:
        sys.exit("usage: archive.py PACKAGES_DIR OUTDIR [SOURCE ...]\n"
                 "       archive.py --packages [SOURCE ...]")
    unknown = [c for c in chosen if c not in SOURCES and c != "no-rhythm"]
    if unknown:
        sys.exit(f"unknown source: {' '.join(unknown)}")
    if listing:
        print(" ".join(p for source, (packages, _) in SOURCES.items()
                       if not chosen or source in chosen for p in packages))
        return
    if (not chosen or "no-rhythm" in chosen) and \
            not os.path.isfile(os.path.join(outdir, "no-rhythm", "truth.csv")):
        write_unrhythmic(outdir)
    openmpt = Openmpt()
    for source, (packages, kind) in SOURCES.items():
        if chosen and source not in chosen:
            continue
        folder = os.path.join(outdir, source)
        if os.path.isfile(os.path.join(folder, "truth.csv")):
            print(f"{source}: already rendered")
            continue
        os.makedirs(folder, exist_ok=True)
        rows = []
        if kind == "accompaniment":
            render_accompaniment(source, folder, rows)
        elif kind == "scores":
            render_scores(source, folder, packages_dir, rows)
        else:
            render_files(source, kind, packages_dir, packages, folder, rows, openmpt)
        with open(os.path.join(folder, "truth.csv"), "w", newline="") as f:
            writer = csv.writer(f)
            writer.writerow(["file", "bpm", "kind"])
            writer.writerows(rows)
        print(f"{source}: {sum(r[2] == 'piece' for r in rows)} pieces, "
              f"{sum(r[2] == 'loop' for r in rows)} loops")


if __name__ == "__main__":
    main()
