"""Synthesised drum grooves with known tempos.

Every groove is rendered from a random kit (kick pitch and decay, snare tone
and noise colour, hat brightness), a style's pattern with fills, breakdowns
and humanised timing and dynamics, plus, for some styles, a bass line and a
pad, so that no two files share a sound and not every file is drums only.
"""

import math

import numpy as np

RATE = 44100


def _env(n, decay_s, rate=RATE):
    t = np.arange(n) / rate
    return np.exp(-t / max(decay_s, 1e-4))


def _noise(rng, n):
    return rng.standard_normal(n).astype(np.float64)


def _highpass_noise(rng, n, brightness):
    # First difference of noise, repeated, tilts the spectrum upwards.
    x = _noise(rng, n + 3)
    for _ in range(brightness):
        x = np.diff(x)
    return x[:n] / (2.0 ** brightness)


class Kit:
    """One random drum kit; each sound is rendered once and reused."""

    def __init__(self, rng):
        self.rng = rng
        self.sounds = {
            "kick": self._kick(),
            "snare": self._snare(),
            "clap": self._clap(),
            "hat": self._hat(rng.uniform(0.015, 0.05)),
            "openhat": self._hat(rng.uniform(0.12, 0.3)),
            "ride": self._ride(),
            "tom": self._tom(rng.uniform(90, 140)),
            "lowtom": self._tom(rng.uniform(60, 90)),
            "rim": self._rim(),
            "shaker": self._shaker(),
            "crash": self._hat(rng.uniform(0.8, 1.5)) * 0.8,
        }

    def _kick(self):
        rng = self.rng
        n = int(RATE * 0.45)
        t = np.arange(n) / RATE
        f0, f1 = rng.uniform(90, 180), rng.uniform(40, 65)
        sweep = f1 + (f0 - f1) * np.exp(-t / rng.uniform(0.015, 0.05))
        phase = 2 * math.pi * np.cumsum(sweep) / RATE
        body = np.sin(phase) * _env(n, rng.uniform(0.08, 0.3))
        click = _highpass_noise(rng, n, 1) * _env(n, 0.003) * rng.uniform(0.0, 0.6)
        return body + click

    def _snare(self):
        rng = self.rng
        n = int(RATE * 0.3)
        t = np.arange(n) / RATE
        tone = np.sin(2 * math.pi * rng.uniform(160, 260) * t) * _env(n, rng.uniform(0.03, 0.08))
        noise = _highpass_noise(rng, n, int(rng.integers(0, 3))) * _env(n, rng.uniform(0.06, 0.18))
        return 0.6 * tone + rng.uniform(0.5, 1.0) * noise

    def _clap(self):
        rng = self.rng
        n = int(RATE * 0.25)
        x = np.zeros(n)
        for burst in range(3):
            start = int(burst * RATE * 0.011)
            m = n - start
            x[start:] += _highpass_noise(rng, m, 1) * _env(m, 0.01 if burst < 2 else 0.09)
        return x * 0.8

    def _hat(self, decay):
        rng = self.rng
        n = int(RATE * min(decay * 5, 2.0))
        return _highpass_noise(rng, n, int(rng.integers(2, 4))) * _env(n, decay) * 0.7

    def _ride(self):
        rng = self.rng
        n = int(RATE * 0.8)
        t = np.arange(n) / RATE
        bell = sum(np.sin(2 * math.pi * f * t) for f in rng.uniform(2000, 5000, 4))
        return (0.2 * bell + _highpass_noise(rng, n, 2)) * _env(n, 0.35) * 0.35

    def _tom(self, hz):
        n = int(RATE * 0.4)
        t = np.arange(n) / RATE
        sweep = hz * (1 + 0.5 * np.exp(-t / 0.02))
        return np.sin(2 * math.pi * np.cumsum(sweep) / RATE) * _env(n, 0.15)

    def _rim(self):
        n = int(RATE * 0.05)
        t = np.arange(n) / RATE
        return np.sin(2 * math.pi * 1700 * t) * _env(n, 0.008)

    def _shaker(self):
        n = int(RATE * 0.08)
        env = np.sin(np.linspace(0, math.pi, n)) ** 2
        return _highpass_noise(self.rng, n, 3) * env * 0.5


# Patterns: one bar as (step, sound, velocity) on a grid of `steps` per bar.
def _groove(style, rng):
    """(beats per bar, steps per beat, hits, swing, truth scale)."""
    hits = []
    add = lambda step, sound, vel=1.0: hits.append((step, sound, vel))
    if style == "four_on_floor":
        spb = 4
        for b in range(4):
            add(b * 4, "kick")
            add(b * 4 + 2, "openhat" if rng.random() < 0.7 else "hat", 0.6)
        for b in (1, 3):
            add(b * 4, "clap" if rng.random() < 0.6 else "snare", 0.8)
        if rng.random() < 0.6:
            for s in range(16):
                add(s, "hat", 0.25 + 0.15 * (s % 2))
        return 4, spb, hits, 0.0
    if style == "backbeat":
        spb = 4
        kicks = [0, 8] + ([10] if rng.random() < 0.5 else []) + ([6] if rng.random() < 0.3 else [])
        for s in kicks:
            add(s, "kick", 0.9)
        add(4, "snare")
        add(12, "snare")
        cymbal = "ride" if rng.random() < 0.25 else "hat"
        for s in range(0, 16, 2):
            add(s, cymbal, 0.5 if s % 4 else 0.7)
        return 4, spb, hits, 0.0
    if style == "half_time":
        # Snare on beat 3 of the bar; hats keep eighths or sixteenths.
        spb = 4
        add(0, "kick")
        if rng.random() < 0.6:
            add(10, "kick", 0.7)
        if rng.random() < 0.4:
            add(7, "kick", 0.6)
        add(8, "snare")
        step = 1 if rng.random() < 0.5 else 2
        for s in range(0, 16, step):
            add(s, "hat", 0.35 + 0.25 * (s % 4 == 0))
        return 4, spb, hits, 0.0
    if style == "drum_and_bass":
        # Two-step break: kick 1 and the "and" of 3, snare 2 and 4.
        spb = 4
        add(0, "kick")
        add(10, "kick", 0.8)
        if rng.random() < 0.5:
            add(6, "kick", 0.5)
        add(4, "snare")
        add(12, "snare")
        for s in (2, 7, 14):
            if rng.random() < 0.5:
                add(s, "snare", 0.25)  # ghost notes
        for s in range(0, 16, 2):
            add(s, "hat", 0.4)
        if rng.random() < 0.5:
            add(2, "ride", 0.3)
        return 4, spb, hits, 0.0
    if style == "swing":
        spb = 2  # swung eighths
        for b in range(4):
            add(b * 2, "ride", 0.7)
            if b in (1, 3):
                add(b * 2 + 1, "ride", 0.45)
                add(b * 2, "hat", 0.5)  # foot hat on 2 and 4
        add(0, "kick", 0.5)
        if rng.random() < 0.5:
            add(5, "snare", 0.3)
        if rng.random() < 0.5:
            add(4, "kick", 0.35)
        return 4, spb, hits, rng.uniform(0.55, 0.67)
    if style == "breakbeat":
        spb = 4
        add(0, "kick")
        add(2, "kick", 0.8)
        add(4, "snare")
        add(7, "snare", 0.4)
        add(9, "snare", 0.35)
        add(10, "kick", 0.85)
        if rng.random() < 0.6:
            add(11, "kick", 0.6)
        add(12, "snare")
        add(15, "snare", 0.4)
        for s in range(0, 16, 2):
            add(s, "ride" if rng.random() < 0.3 else "hat", 0.45)
        return 4, spb, hits, rng.choice([0.0, 0.0, 0.56])
    if style == "trap":
        spb = 4
        add(0, "kick")
        add(6, "kick", 0.7)
        if rng.random() < 0.5:
            add(11, "kick", 0.7)
        add(8, "clap")
        for s in range(16):
            add(s, "hat", 0.3 + 0.2 * (s % 2 == 0))
        return 4, spb, hits, 0.0
    if style == "ambient":
        spb = 1
        pulse = "lowtom" if rng.random() < 0.5 else "kick"
        for b in range(4):
            if b == 0 or rng.random() < 0.6:
                add(b, pulse, 0.5 if b else 0.7)
        if rng.random() < 0.5:
            add(2, "shaker", 0.3)
        return 4, spb, hits, 0.0
    if style == "six_eight":
        # Two dotted-quarter beats per bar of six eighths.
        spb = 3
        add(0, "kick")
        add(3, "snare" if rng.random() < 0.6 else "kick", 0.8)
        for s in range(6):
            add(s, "hat" if rng.random() < 0.7 else "shaker", 0.45 + 0.2 * (s % 3 == 0))
        return 2, spb, hits, 0.0
    if style == "waltz":
        spb = 2
        add(0, "kick")
        add(2, "snare", 0.55)
        add(4, "snare", 0.55)
        for s in range(6):
            if rng.random() < 0.7:
                add(s, "hat", 0.3)
        return 3, spb, hits, 0.0
    raise ValueError(style)


STYLES = {
    # style: (lowest, highest truth tempo)
    "four_on_floor": (115, 135),
    "backbeat": (70, 170),
    "half_time": (65, 100),
    "drum_and_bass": (130, 180),
    "swing": (80, 200),
    "breakbeat": (80, 175),
    "trap": (65, 85),
    "ambient": (60, 90),
    "six_eight": (60, 110),
    "waltz": (90, 190),
}


def _fill(rng, steps_per_bar):
    """Tom or snare run over the last half bar."""
    hits = []
    start = steps_per_bar // 2
    sound = rng.choice(["snare", "tom", "lowtom"])
    for s in range(start, steps_per_bar):
        if rng.random() < 0.8:
            hits.append((s, sound if s < steps_per_bar - 2 else "lowtom", 0.5 + 0.5 * (s - start) / (steps_per_bar - start)))
    return hits


def _bass_and_pad(rng, bpm, beats_per_bar, seconds):
    n = int(seconds * RATE)
    out = np.zeros(n)
    beat = 60.0 / bpm
    root = rng.uniform(40, 65)
    t = np.arange(int(beat * RATE * 0.9)) / RATE
    k = 0
    while k * beat < seconds:
        if rng.random() < 0.75:
            hz = root * rng.choice([1, 1, 1.5, 1.335, 2])
            note = np.sin(2 * math.pi * hz * t) * _env(len(t), beat * 0.6) * 0.35
            start = int(k * beat * RATE)
            end = min(n, start + len(note))
            out[start:end] += note[: end - start]
        k += 1
    # A pad that changes chord every two bars, with a slow attack.
    bar = beat * beats_per_bar
    chord_t = np.arange(int(2 * bar * RATE)) / RATE
    attack = np.minimum(1.0, chord_t / 0.4)
    c = 0
    while c * 2 * bar < seconds:
        base = root * 4 * rng.choice([1, 1.122, 1.26, 1.335, 1.5])
        pad = sum(np.sin(2 * math.pi * base * r * chord_t) for r in (1, 1.26, 1.5)) * attack * 0.06
        start = int(c * 2 * bar * RATE)
        end = min(n, start + len(pad))
        out[start:end] += pad[: end - start]
        c += 1
    return out


def groove(style, seed, seconds):
    """(samples at RATE, truth bpm) for one file of `style`."""
    rng = np.random.default_rng(seed)
    lo, hi = STYLES[style]
    bpm = float(rng.uniform(lo, hi))
    kit = Kit(rng)
    beats_per_bar, steps_per_beat, bar_hits, swing = _groove(style, rng)
    steps_per_bar = beats_per_bar * steps_per_beat
    beat_s = 60.0 / bpm
    step_s = beat_s / steps_per_beat
    jitter_s = rng.uniform(0.0, 0.012)
    n = int(seconds * RATE)
    out = np.zeros(n + RATE * 3)
    bar_s = beat_s * beats_per_bar
    lead_in = rng.uniform(0.0, 1.5)
    bars = int((seconds - lead_in) / bar_s) + 1
    breakdown = int(rng.integers(4, 12)) if rng.random() < 0.3 else -1
    for bar in range(bars):
        hits = list(bar_hits)
        if rng.random() < 0.25 or (bar % 8 == 7 and rng.random() < 0.7):
            cut = steps_per_bar // 2
            hits = [h for h in hits if h[0] < cut or h[1] in ("hat", "ride")] + _fill(rng, steps_per_bar)
        if bar % 8 == 0 and rng.random() < 0.5:
            hits.append((0, "crash", 0.6))
        for step, sound, vel in hits:
            if breakdown <= bar < breakdown + 2 and sound in ("kick", "snare", "clap"):
                continue
            within = step % steps_per_beat
            pos = (step // steps_per_beat) * beat_s + within * step_s
            if swing and steps_per_beat == 2 and within == 1:
                pos = (step // 2) * beat_s + swing * beat_s
            elif swing and steps_per_beat == 4 and within in (1, 3):
                pos += (swing - 0.5) * beat_s
            t = lead_in + bar * bar_s + pos + rng.normal(0, jitter_s)
            if t < 0 or t >= seconds:
                continue
            sound_samples = kit.sounds[sound]
            gain = vel * rng.uniform(0.75, 1.0)
            start = int(t * RATE)
            out[start : start + len(sound_samples)] += gain * sound_samples
    out = out[:n]
    if style in ("ambient", "waltz", "six_eight", "swing") or rng.random() < 0.5:
        out += _bass_and_pad(rng, bpm, beats_per_bar, seconds) * rng.uniform(0.5, 1.5)
    peak = np.max(np.abs(out)) or 1.0
    out = out / peak * rng.uniform(0.3, 0.9)
    return out.astype(np.float32), bpm
