"""Writes the tempo corpus: OUTDIR/{dev,heldout}/*.wav with truth.csv files.

Usage: corpus.py OUTDIR [--grooves N] [--songs N]

Item i uses seed i; its part (dev or heldout) follows from the seed alone,
so the split never changes when the counts grow. Tune on dev only.
"""

import argparse
import csv
import os
import subprocess
import sys
import tempfile
import wave

import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import drums  # noqa: E402
import songs  # noqa: E402

SOUNDFONTS = ["/usr/share/sounds/sf2/FluidR3_GM.sf2", "/usr/share/sounds/sf2/TimGM6mb.sf2"]
HELDOUT_SHARE = 0.35


def part_of(seed):
    return "heldout" if np.random.default_rng([seed, 7]).random() < HELDOUT_SHARE else "dev"


def write_wav(path, samples, rate):
    pcm = np.clip(samples, -1.0, 1.0)
    pcm = (pcm * 32767).astype("<i2")
    with wave.open(path, "wb") as w:
        w.setnchannels(1)
        w.setsampwidth(2)
        w.setframerate(rate)
        w.writeframes(pcm.tobytes())


def render_song(style, seed, path):
    song, bpm = songs.make_song(style, seed)
    rng = np.random.default_rng([seed, 3])
    font = SOUNDFONTS[int(rng.integers(0, len(SOUNDFONTS)))]
    rate = int(rng.choice([44100, 48000]))
    with tempfile.TemporaryDirectory() as tmp:
        midi = os.path.join(tmp, "song.mid")
        song.write(midi)
        subprocess.run(["fluidsynth", "-ni", "-q", "-g", f"{rng.uniform(0.3, 0.8):.2f}",
                        "-r", str(rate), "-T", "wav", "-O", "s16", "-F", path, font, midi],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return bpm


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("outdir")
    parser.add_argument("--grooves", type=int, default=130)
    parser.add_argument("--songs", type=int, default=98)
    parser.add_argument("--first-seed", type=int, default=0,
                        help="seeds start here, so a later batch adds files no earlier one has")
    args = parser.parse_args()

    rows = {"dev": [], "heldout": []}
    for part in rows:
        os.makedirs(os.path.join(args.outdir, part), exist_ok=True)
    groove_styles = list(drums.STYLES)
    song_styles = list(songs.STYLES)
    first = args.first_seed
    items = [("groove", groove_styles[i % len(groove_styles)], i)
             for i in range(first, first + args.grooves)]
    items += [("song", song_styles[i % len(song_styles)], 10000 + i)
              for i in range(first, first + args.songs)]
    for kind, style, seed in items:
        part = part_of(seed)
        name = f"{kind}-{style}-{seed:05d}.wav"
        path = os.path.join(args.outdir, part, name)
        if kind == "groove":
            seconds = float(np.random.default_rng([seed, 5]).uniform(12, 30))
            samples, bpm = drums.groove(style, seed, seconds)
            write_wav(path, samples, drums.RATE)
        else:
            bpm = render_song(style, seed, path)
        rows[part].append((name, bpm))
        print(f"{part}/{name} {bpm:.2f}", flush=True)

    with open(os.path.join(args.outdir, "truth.csv"), "w", newline="") as all_rows:
        every = csv.writer(all_rows)
        every.writerow(["file", "bpm"])
        for part, entries in rows.items():
            with open(os.path.join(args.outdir, part, "truth.csv"), "w", newline="") as f:
                writer = csv.writer(f)
                writer.writerow(["file", "bpm"])
                for name, bpm in entries:
                    writer.writerow([name, f"{bpm:.4f}"])
                    every.writerow([f"{part}/{name}", f"{bpm:.4f}"])


if __name__ == "__main__":
    main()
