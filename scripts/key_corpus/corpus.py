"""Writes the key corpus: OUTDIR/{dev,heldout}/*.wav with truth.csv files
(file,key,cents; key "none" for files without a key).

Usage: corpus.py OUTDIR [--per-key N] [--grooves N] [--noise N] [--first-seed S]

Every one of the 24 keys gets N pieces in drawn styles, each detuned by a
drawn number of cents (pitch bend; a quarter are left at 0). Item seeds
count up from S; a seed divisible by 3 puts its item in the held-out part,
so every key has held-out pieces and the split never depends on the counts.
Tune on dev only.
"""

import argparse
import csv
import math
import os
import random
import subprocess
import sys
import tempfile
import wave

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import arrangements  # noqa: E402

SOUNDFONTS = ["/usr/share/sounds/sf2/FluidR3_GM.sf2", "/usr/share/sounds/sf2/TimGM6mb.sf2"]
MAJOR_NAMES = ["C", "Db", "D", "Eb", "E", "F", "F#", "G", "Ab", "A", "Bb", "B"]
MINOR_NAMES = ["Cm", "C#m", "Dm", "Ebm", "Em", "Fm", "F#m", "Gm", "G#m", "Am", "Bbm", "Bm"]
# The circle spells E-flat minor as D#m (six sharps, position 6).
MINOR_NAMES[3] = "D#m"


def part_of(seed):
    return "heldout" if seed % 3 == 0 else "dev"


def render(song, seed, path):
    rng = random.Random(seed * 7 + 1)
    font = SOUNDFONTS[rng.randrange(len(SOUNDFONTS))]
    rate = rng.choice([44100, 48000])
    with tempfile.TemporaryDirectory() as tmp:
        midi = os.path.join(tmp, "piece.mid")
        song.write(midi)
        subprocess.run(["fluidsynth", "-ni", "-q", "-g", f"{rng.uniform(0.3, 0.7):.2f}",
                        "-r", str(rate), "-T", "wav", "-O", "s16", "-F", path, font, midi],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def write_noise(seed, path, seconds=16.0, rate=44100):
    """Noise bursts on a beat over a noise floor: a rhythm without pitch."""
    rng = random.Random(seed)
    beat = 60.0 / rng.uniform(90, 140)
    frames = bytearray()
    brown = 0.0
    for n in range(int(seconds * rate)):
        t = n / rate
        since = t % beat
        gate = math.exp(-since / 0.05)
        white = rng.gauss(0, 0.25)
        brown = 0.98 * brown + 0.02 * white
        v = white * (0.1 + 0.8 * gate) if seed % 2 else brown * 4 * (0.2 + 0.8 * gate)
        frames += int(max(-1.0, min(1.0, v)) * 32767).to_bytes(2, "little", signed=True)
    with wave.open(path, "wb") as w:
        w.setnchannels(1)
        w.setsampwidth(2)
        w.setframerate(rate)
        w.writeframes(bytes(frames))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("outdir")
    parser.add_argument("--per-key", type=int, default=6)
    parser.add_argument("--grooves", type=int, default=9)
    parser.add_argument("--noise", type=int, default=6)
    parser.add_argument("--first-seed", type=int, default=0)
    args = parser.parse_args()

    rows = {"dev": [], "heldout": []}
    for part in rows:
        os.makedirs(os.path.join(args.outdir, part), exist_ok=True)
    seed = args.first_seed
    styles = list(arrangements.STYLES)
    for minor in (False, True):
        for tonic in range(12):
            for _ in range(args.per_key):
                rng = random.Random(seed)
                style = styles[rng.randrange(len(styles))]
                cents = 0.0 if rng.random() < 0.25 else round(rng.uniform(-40, 40), 1)
                name = (MINOR_NAMES if minor else MAJOR_NAMES)[tonic]
                file = f"{style}-{name.replace('#', 's')}-{seed:05d}.wav"
                part = part_of(seed)
                path = os.path.join(args.outdir, part, file)
                if not os.path.exists(path):
                    render(arrangements.make_piece(style, tonic, minor, seed, cents), seed, path)
                rows[part].append((file, name, f"{cents:.1f}"))
                print(f"{part}/{file} {name} {cents:+.1f}", flush=True)
                seed += 1
    for _ in range(args.grooves):
        file = f"drums-{seed:05d}.wav"
        part = part_of(seed)
        render(arrangements.make_groove(seed), seed, os.path.join(args.outdir, part, file))
        rows[part].append((file, "none", ""))
        print(f"{part}/{file} none", flush=True)
        seed += 1
    for _ in range(args.noise):
        file = f"noise-{seed:05d}.wav"
        part = part_of(seed)
        write_noise(seed, os.path.join(args.outdir, part, file))
        rows[part].append((file, "none", ""))
        print(f"{part}/{file} none", flush=True)
        seed += 1

    with open(os.path.join(args.outdir, "truth.csv"), "w", newline="") as all_rows:
        every = csv.writer(all_rows)
        every.writerow(["file", "key", "cents"])
        for part, entries in rows.items():
            with open(os.path.join(args.outdir, part, "truth.csv"), "w", newline="") as f:
                writer = csv.writer(f)
                writer.writerow(["file", "key", "cents"])
                for row in entries:
                    writer.writerow(row)
                    every.writerow([f"{part}/{row[0]}"] + list(row[1:]))


if __name__ == "__main__":
    main()
