"""Multi-instrument arrangements at known constant tempos, as MIDI files.

Each song draws a style, a tempo, a key, a chord progression and General
MIDI instruments; parts are humanised in timing and velocity, have fills and
sections where instruments drop out, and some styles have no drums at all.
The files are rendered with fluidsynth by corpus.py.
"""

import struct

import numpy as np

PPQ = 480
DRUMS = 9  # MIDI channel 10
KICK, SNARE, RIM, CLAP, HAT, OPEN_HAT, PEDAL_HAT, RIDE, CRASH = 36, 38, 37, 39, 42, 46, 44, 51, 49
LOW_TOM, MID_TOM, HIGH_TOM, SHAKER, TAMBOURINE, CONGA, BONGO = 45, 47, 50, 70, 54, 63, 60

# style: (tempo range, beats per bar, drums?)
STYLES = {
    "pop": ((85, 135), 4, True),
    "rock": ((100, 170), 4, True),
    "house": ((118, 130), 4, True),
    "funk": ((90, 118), 4, True),
    "hiphop": ((80, 100), 4, True),
    "reggae": ((65, 85), 4, True),
    "bossa": ((110, 150), 4, True),
    "dnb": ((160, 178), 4, True),
    "ballad": ((60, 80), 4, False),
    "waltz": ((120, 190), 3, False),
    "shuffle": ((90, 150), 4, True),
    "six_eight": ((50, 75), 2, True),  # dotted-quarter beats
    "strings": ((70, 130), 4, False),
    "march": ((100, 124), 4, True),
}

BASS = [32, 33, 34, 35, 38, 39, 43]
KEYS = [0, 1, 2, 4, 5, 6, 7, 16, 17, 18, 19]
GUITARS = [24, 25, 26, 27, 28, 29, 30]
PADS = [48, 49, 50, 51, 52, 88, 89, 90, 91, 95]
LEADS = [56, 57, 60, 64, 65, 66, 68, 71, 73, 80, 81, 11, 12, 13]

PROGRESSIONS = [
    [0, 5, 3, 4], [0, 3, 4, 4], [5, 3, 0, 4], [0, 4, 5, 3], [1, 4, 0, 0],
    [0, 0, 3, 4], [5, 4, 3, 4], [0, 3, 0, 4],
]
MAJOR = [0, 2, 4, 5, 7, 9, 11]


class Song:
    def __init__(self, bpm, beats_per_bar, beat_ticks):
        self.bpm = bpm
        self.beats_per_bar = beats_per_bar
        self.beat_ticks = beat_ticks  # ticks of one counted beat
        self.tracks = {}  # channel -> list of (tick, bytes)
        self.programs = {}

    def note(self, channel, tick, length, pitch, velocity):
        tick = max(0, int(tick))
        velocity = int(min(127, max(1, velocity)))
        events = self.tracks.setdefault(channel, [])
        events.append((tick, bytes([0x90 | channel, pitch, velocity])))
        events.append((tick + max(1, int(length)), bytes([0x80 | channel, pitch, 0])))

    def program(self, channel, number):
        self.programs[channel] = number

    def write(self, path):
        def vlq(value):
            out = [value & 0x7F]
            value >>= 7
            while value:
                out.append(0x80 | (value & 0x7F))
                value >>= 7
            return bytes(reversed(out))

        def chunk(events):
            data = b""
            last = 0
            for tick, payload in sorted(events, key=lambda e: (e[0], e[1][0] & 0xF0 != 0x80)):
                data += vlq(tick - last) + payload
                last = tick
            data += b"\x00\xff\x2f\x00"
            return b"MTrk" + struct.pack(">I", len(data)) + data

        # The file's tempo is in quarter notes; a counted beat may be longer.
        quarter_us = int(round(60_000_000 / self.bpm * PPQ / self.beat_ticks))
        tempo = [(0, b"\xff\x51\x03" + quarter_us.to_bytes(3, "big"))]
        tracks = [chunk(tempo)]
        for channel, events in sorted(self.tracks.items()):
            head = []
            if channel in self.programs:
                head.append((0, bytes([0xC0 | channel, self.programs[channel]])))
            tracks.append(chunk(head + events))
        with open(path, "wb") as f:
            f.write(b"MThd" + struct.pack(">IHHH", 6, 1, len(tracks), PPQ))
            for t in tracks:
                f.write(t)


def _drum_bar(style, rng, bar, fill):
    """(beat position in counted beats, drum, velocity) for one bar."""
    hits = []
    add = lambda pos, drum, vel: hits.append((pos, drum, vel))
    if style in ("pop", "rock", "march"):
        for b in range(4):
            add(b, KICK if b in (0, 2) else SNARE, 100)
        if rng.random() < 0.5:
            add(2.5, KICK, 80)
        cym = RIDE if style == "rock" and rng.random() < 0.3 else HAT
        for e in range(8):
            add(e / 2, cym, 70 if e % 2 else 85)
        if style == "march":
            for s in range(16):
                if s % 4 != 0 and rng.random() < 0.4:
                    add(s / 4, SNARE, 50)
    elif style == "house":
        for b in range(4):
            add(b, KICK, 110)
            add(b + 0.5, OPEN_HAT, 80)
        add(1, CLAP, 95)
        add(3, CLAP, 95)
        if rng.random() < 0.5:
            for s in range(16):
                add(s / 4, SHAKER, 45)
    elif style == "funk":
        for pos in (0, 0.75, 2.5):
            add(pos, KICK, 100)
        add(1, SNARE, 105)
        add(3, SNARE, 105)
        for s in range(16):
            add(s / 4, HAT, 80 if s % 2 == 0 else 50)
            if s in (3, 9, 14) and rng.random() < 0.6:
                add(s / 4, SNARE, 35)
    elif style == "hiphop":
        add(0, KICK, 105)
        add(1.75, KICK, 85)
        add(2.5, KICK, 90)
        add(1, SNARE, 105)
        add(3, SNARE, 105)
        swing = rng.uniform(0.0, 0.12)
        for e in range(8):
            add(e / 2 + (swing if e % 2 else 0), HAT, 70)
    elif style == "reggae":
        # One drop: kick and rim together on beat 3 only.
        add(2, KICK, 100)
        add(2, RIM, 95)
        for e in range(8):
            add(e / 2, HAT, 55 if e % 2 == 0 else 70)
    elif style == "bossa":
        for pos in (0, 1.5, 2, 3.5):
            add(pos, KICK, 75)
        for pos in (0, 0.75, 1.5, 2.5, 3.25):
            add(pos, RIM, 80)
        for e in range(8):
            add(e / 2, SHAKER, 55)
    elif style == "dnb":
        add(0, KICK, 110)
        add(2.5, KICK, 95)
        add(1, SNARE, 110)
        add(3, SNARE, 110)
        for pos in (0.75, 1.75, 3.75):
            if rng.random() < 0.5:
                add(pos, SNARE, 40)
        for e in range(8):
            add(e / 2, HAT if rng.random() < 0.8 else RIDE, 70)
    elif style == "shuffle":
        for b in range(4):
            add(b, HAT, 80)
            add(b + 2 / 3, HAT, 60)
        add(0, KICK, 100)
        add(2, KICK, 95)
        add(1, SNARE, 100)
        add(3, SNARE, 100)
    elif style == "six_eight":
        add(0, KICK, 100)
        add(1, SNARE, 90)
        for e in range(6):
            add(e / 3, HAT, 75 if e % 3 == 0 else 55)
    if fill:
        drum = rng.choice([SNARE, HIGH_TOM, MID_TOM, LOW_TOM])
        hits = [h for h in hits if h[0] < 2 or h[1] in (HAT, RIDE, SHAKER)]
        steps = 8 if rng.random() < 0.5 else 4
        beats = STYLES[style][1]
        for s in range(steps):
            add(beats / 2 + s * (beats / 2) / steps, drum, 70 + 5 * s)
    if bar % 8 == 0 and rng.random() < 0.6:
        add(0, CRASH, 100)
    return hits


def _chord(key, degree, octave):
    root = MAJOR[degree % 7]
    third = MAJOR[(degree + 2) % 7] + (12 if (degree + 2) % 7 < degree % 7 else 0)
    fifth = MAJOR[(degree + 4) % 7] + (12 if (degree + 4) % 7 < degree % 7 else 0)
    base = 12 * octave + key
    return [base + root, base + third, base + fifth]


def make_song(style, seed):
    """(Song, truth bpm)."""
    rng = np.random.default_rng(seed)
    (lo, hi), beats_per_bar, drums = STYLES[style]
    bpm = float(rng.uniform(lo, hi))
    beat_ticks = PPQ * 3 // 2 if style == "six_eight" else PPQ
    song = Song(bpm, beats_per_bar, beat_ticks)
    key = int(rng.integers(0, 12))
    progression = PROGRESSIONS[int(rng.integers(0, len(PROGRESSIONS)))]
    jitter = rng.uniform(2, 25)  # ticks; up to about 25 ms at 120 BPM
    human = lambda t: t + rng.normal(0, jitter)
    vel = lambda v: v * rng.uniform(0.8, 1.1)
    bar_ticks = beats_per_bar * beat_ticks
    seconds = 32
    bars = int(seconds * bpm / 60 / beats_per_bar) + 2
    lead_in = int(rng.integers(0, 2)) * bar_ticks

    chans = {"bass": 0, "comp": 1, "pad": 2, "lead": 3}
    song.program(chans["bass"], int(rng.choice(BASS)))
    comp_program = int(rng.choice(KEYS + GUITARS))
    song.program(chans["comp"], comp_program)
    song.program(chans["pad"], int(rng.choice(PADS)))
    song.program(chans["lead"], int(rng.choice(LEADS)))
    has_pad = rng.random() < 0.6
    has_lead = rng.random() < 0.7
    comp_mode = rng.choice(["block", "arpeggio", "offbeat", "strum"])
    if style == "reggae":
        comp_mode = "offbeat"
    if style in ("ballad", "strings"):
        comp_mode = rng.choice(["arpeggio", "block"])
    if style == "strings":
        for c in chans.values():
            song.program(c, int(rng.choice([40, 41, 42, 44, 45, 48, 49])))
    intro = int(rng.integers(0, 3))  # bars before the drums come in

    for bar in range(bars):
        t0 = lead_in + bar * bar_ticks
        degree = progression[bar % len(progression)]
        chord = _chord(key, degree, 5)
        # Bass: root on the first beat, other beats by style.
        bass_root = 12 * 3 + key + MAJOR[degree]
        pattern = [0] if style in ("ballad", "strings") else list(range(beats_per_bar))
        if style in ("house", "dnb") and rng.random() < 0.7:
            pattern = [b + 0.5 for b in range(beats_per_bar)]
        if style == "funk":
            pattern = [0, 0.75, 1.5, 2, 2.75, 3.5]
        for pos in pattern:
            pitch = bass_root + (7 if pos % 2 == 1 and rng.random() < 0.4 else 0)
            song.note(chans["bass"], human(t0 + pos * beat_ticks), beat_ticks * 0.45, pitch, vel(95))
        # Comping.
        if comp_mode == "block":
            for b in range(beats_per_bar):
                if b == 0 or rng.random() < 0.5:
                    for p in chord:
                        song.note(chans["comp"], human(t0 + b * beat_ticks), beat_ticks * 0.9, p, vel(70))
        elif comp_mode == "arpeggio":
            sub = 2 if beats_per_bar != 2 else 3
            notes = chord + [chord[0] + 12]
            for s in range(beats_per_bar * sub):
                song.note(chans["comp"], human(t0 + s * beat_ticks / sub), beat_ticks / sub * 1.5,
                          notes[s % len(notes)], vel(60 + 15 * (s % sub == 0)))
        elif comp_mode == "offbeat":
            for b in range(beats_per_bar):
                for p in chord:
                    song.note(chans["comp"], human(t0 + (b + 0.5) * beat_ticks), beat_ticks * 0.25, p, vel(75))
        else:
            for b in range(0, beats_per_bar, 2 if beats_per_bar == 4 else 1):
                for i, p in enumerate(chord):
                    song.note(chans["comp"], human(t0 + b * beat_ticks + i * 12), beat_ticks * 1.8, p - 12, vel(72))
        if has_pad and bar % 2 == 0:
            for p in chord:
                song.note(chans["pad"], t0, bar_ticks * 2, p - 12, vel(45))
        if has_lead and bar >= 2 and (bar // 4) % 2 == 1:
            pos = 0.0
            while pos < beats_per_bar:
                length = float(rng.choice([0.5, 1, 1, 1.5, 2]))
                pitch = 12 * 6 + key + MAJOR[int(rng.integers(0, 7))]
                if rng.random() < 0.85:
                    song.note(chans["lead"], human(t0 + pos * beat_ticks), length * beat_ticks * 0.9, pitch, vel(80))
                pos += length
        if drums and bar >= intro:
            fill = bar % 4 == 3 and rng.random() < 0.6
            for pos, drum, v in _drum_bar(style, rng, bar, fill):
                song.note(DRUMS, human(t0 + pos * beat_ticks), 60, drum, vel(v))
    return song, bpm
