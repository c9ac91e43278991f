"""Pieces in known keys as MIDI: chord progressions arranged for a few
General MIDI ensembles, with bass, comping, pads, melodies and drums, and
drum grooves without any pitched part. Every pitched channel can be bent by
a known number of cents, which detunes the whole piece."""

import random

from midi import PPQ, Song

DRUMS = 9
KICK, SNARE, CLAP, HAT, OPEN_HAT, RIDE, CRASH = 36, 38, 39, 42, 46, 51, 49
TOMS = (41, 43, 45, 47, 48, 50)

MAJOR = [0, 2, 4, 5, 7, 9, 11]
MINOR = [0, 2, 3, 5, 7, 8, 10]  # natural; the V chord may borrow the raised seventh

MAJOR_PROGRESSIONS = [[0, 3, 4, 0], [0, 4, 5, 3], [0, 5, 3, 4], [0, 3, 0, 4], [0, 1, 4, 0],
                      [0, 4, 3, 4], [0, 2, 3, 4], [0, 3, 1, 4]]
MINOR_PROGRESSIONS = [[0, 3, 4, 0], [0, 5, 2, 6], [0, 6, 5, 4], [0, 3, 6, 2], [0, 5, 3, 4],
                      [0, 2, 6, 0], [0, 4, 0, 4], [0, 3, 0, 4]]

# style: (bass, comp, pad, lead programs; drums?; comping kinds)
STYLES = {
    "piano": ([0, 1], [0, 1, 2], [], [0, 1], False, ["block", "arpeggio"]),
    "pop": ([33, 34, 35], [25, 27, 4, 5], [88, 89], [80, 73, 65, 71], True,
            ["block", "offbeat", "strum"]),
    "strings": ([42, 43], [48, 49], [], [40, 41], False, ["block", "arpeggio"]),
    "electronic": ([38, 39], [81, 82, 87], [90, 91, 94], [80, 81], True, ["arpeggio", "offbeat"]),
    "guitar": ([32, 33], [24, 25], [], [73, 74, 22], True, ["arpeggio", "strum"]),
    "organ": ([32, 33], [16, 17, 19], [61, 56], [56, 61, 65], True, ["block", "strum"]),
}


def scale_of(minor):
    return MINOR if minor else MAJOR


def chord(tonic, minor, degree, raised_seventh):
    """Root, third and fifth of a degree's triad, in semitones above C0 of octave 0."""
    scale = scale_of(minor)
    notes = []
    for step in (0, 2, 4):
        i = degree + step
        pitch = scale[i % 7] + 12 * (i // 7)
        if minor and raised_seventh and i % 7 == 6:
            pitch += 1
        notes.append(tonic + pitch)
    return notes


def drum_bar(song, rng, t0, style, fill):
    beat = PPQ
    hits = []
    if style == "electronic":
        for b in range(4):
            hits += [(b, KICK, 110), (b + 0.5, OPEN_HAT, 70)]
        hits += [(1, CLAP, 95), (3, CLAP, 95)]
    else:
        hits += [(0, KICK, 100), (2, KICK, 95), (1, SNARE, 100), (3, SNARE, 100)]
        if rng.random() < 0.5:
            hits.append((2.5, KICK, 80))
        cymbal = RIDE if rng.random() < 0.3 else HAT
        hits += [(e / 2, cymbal, 80 if e % 2 == 0 else 60) for e in range(8)]
    if fill:
        hits = [h for h in hits if h[0] < 2]
        toms = rng.sample(TOMS, 4)
        hits += [(2 + s / 2, toms[s], 90) for s in range(4)]
    for pos, drum, velocity in hits:
        song.note(DRUMS, t0 + pos * beat + rng.gauss(0, 6), 60, drum, velocity * rng.uniform(0.85, 1.05))


def make_piece(style, tonic, minor, seed, cents):
    """A Song in the key with pitch class `tonic` (C = 0), about 24 s long."""
    rng = random.Random(seed)
    bass_programs, comp_programs, pad_programs, lead_programs, has_drums, comps = STYLES[style]
    bpm = rng.uniform(72, 128)
    song = Song(bpm)
    progression = rng.choice(MINOR_PROGRESSIONS if minor else MAJOR_PROGRESSIONS)
    raised = minor and rng.random() < 0.6
    comp_kind = rng.choice(comps)
    bars_per_chord = 2 if bpm > 110 and rng.random() < 0.5 else 1
    bars = int(24 * bpm / 60 / 4) + 1
    bar_ticks = 4 * PPQ
    channels = {"bass": 0, "comp": 1, "pad": 2, "lead": 3}
    song.program(channels["bass"], rng.choice(bass_programs))
    song.program(channels["comp"], rng.choice(comp_programs))
    has_pad = bool(pad_programs) and rng.random() < 0.7
    if has_pad:
        song.program(channels["pad"], rng.choice(pad_programs))
    has_lead = rng.random() < 0.75
    song.program(channels["lead"], rng.choice(lead_programs))
    for channel in channels.values():
        if cents:
            song.bend_cents(channel, cents)
    drums = has_drums and rng.random() < 0.8
    ends_on_tonic = rng.random() < 0.7
    scale = scale_of(minor)
    lead = 7 + rng.choice([0, 2, 4])  # scale steps above the tonic of octave 4
    human = lambda t: t + rng.gauss(0, 8)

    for bar in range(bars):
        t0 = bar * bar_ticks
        degree = progression[(bar // bars_per_chord) % len(progression)]
        if bar == bars - 1 and ends_on_tonic:
            degree = 0
        triad = chord(tonic, minor, degree, raised and degree == 4)
        root = triad[0] % 12
        # Bass: the root in octave 2, on beats 1 and 3 or every beat.
        bass_beats = [0, 2] if rng.random() < 0.5 else [0, 1, 2, 3]
        for b in bass_beats:
            pitch = 36 + root + (7 if b == 2 and rng.random() < 0.3 else 0)
            song.note(channels["bass"], human(t0 + b * PPQ), PPQ * 0.9, pitch, rng.uniform(85, 105))
        voicing = [48 + (p % 12) + (12 if (p % 12) < (triad[0] % 12) else 0) + 12 for p in triad]
        if comp_kind == "block":
            for b in (0, 2) if rng.random() < 0.5 else (0, 1, 2, 3):
                for p in voicing:
                    song.note(channels["comp"], human(t0 + b * PPQ), PPQ * 1.8, p, rng.uniform(60, 80))
        elif comp_kind == "arpeggio":
            notes = voicing + [voicing[0] + 12]
            for s in range(8):
                song.note(channels["comp"], human(t0 + s * PPQ / 2), PPQ * 0.7, notes[s % 4],
                          rng.uniform(55, 80))
        elif comp_kind == "offbeat":
            for b in range(4):
                for p in voicing:
                    song.note(channels["comp"], human(t0 + (b + 0.5) * PPQ), PPQ * 0.3, p,
                              rng.uniform(60, 80))
        else:  # strum
            for b in (0, 2):
                for i, p in enumerate(voicing):
                    song.note(channels["comp"], human(t0 + b * PPQ + i * 15), PPQ * 1.9, p - 12,
                              rng.uniform(60, 80))
        if has_pad and bar % 2 == 0:
            for p in voicing:
                song.note(channels["pad"], t0, bar_ticks * 2, p - 12, 50)
        if has_lead and bar % 4 >= 1:
            pos = 0.0
            while pos < 4:
                length = rng.choice([0.5, 1, 1, 1.5, 2])
                if pos in (0.0, 2.0):
                    # A chord tone near the last note on strong beats.
                    tones = {(degree + k) % 7 for k in (0, 2, 4)}
                    lead = min((i for i in range(4, 18) if i % 7 in tones),
                               key=lambda i: abs(i - lead) + rng.random())
                else:
                    lead = max(4, min(17, lead + rng.choice([-2, -1, 1, 2])))
                pitch = 60 + tonic + scale[lead % 7] + 12 * (lead // 7)
                if raised and degree == 4 and lead % 7 == 6:
                    pitch += 1
                if rng.random() < 0.9:
                    song.note(channels["lead"], human(t0 + pos * PPQ), length * PPQ * 0.9, pitch,
                              rng.uniform(70, 95))
                pos += length
        if drums:
            drum_bar(song, rng, t0, style, bar % 4 == 3 and rng.random() < 0.5)
    if ends_on_tonic:
        # A final tonic chord held over one more bar.
        t0 = bars * bar_ticks
        for p in chord(tonic, minor, 0, False):
            song.note(channels["comp"], t0, bar_ticks, 60 + p % 12, 75)
        song.note(channels["bass"], t0, bar_ticks, 36 + tonic, 95)
    return song


def make_groove(seed):
    """Drums alone, about 20 s."""
    rng = random.Random(seed)
    song = Song(rng.uniform(80, 140))
    style = rng.choice(["electronic", "rock"])
    bars = int(20 * song.bpm / 60 / 4) + 1
    for bar in range(bars):
        drum_bar(song, rng, bar * 4 * PPQ, style, bar % 4 == 3 and rng.random() < 0.6)
        if bar % 8 == 0:
            song.note(DRUMS, bar * 4 * PPQ, 60, CRASH, 100)
    return song
