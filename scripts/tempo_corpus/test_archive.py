"""Checks which stretch of a MIDI file archive.py keeps, and which files it
refuses, on small files written here.

  /usr/bin/python3 -m unittest discover -s scripts/tempo_corpus -p "test_*.py"
"""

import gzip
import os
import sys
import tempfile
import unittest

import mido

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import archive  # noqa: E402

TICKS = 480


def write_midi(folder, events, onsets):
    """A file with meta events [(beat, message)] and a short note at each
    onset (in beats)."""
    timed = [(beat, message) for beat, message in events]
    timed += [(beat, mido.Message("note_on", note=60, velocity=90)) for beat in onsets]
    timed += [(beat + 0.1, mido.Message("note_off", note=60)) for beat in onsets]
    timed.sort(key=lambda item: item[0])
    track, now = mido.MidiTrack(), 0
    for beat, message in timed:
        tick = int(round(beat * TICKS))
        track.append(message.copy(time=tick - now))
        now = tick
    midi = mido.MidiFile(ticks_per_beat=TICKS)
    midi.tracks.append(track)
    path = os.path.join(folder, f"{len(os.listdir(folder))}.mid")
    midi.save(path)
    return path


def tempo(bpm):
    return mido.MetaMessage("set_tempo", tempo=mido.bpm2tempo(bpm))


def meter(numerator, denominator):
    return mido.MetaMessage("time_signature", numerator=numerator, denominator=denominator)


class Segment(unittest.TestCase):
    def test_cases(self):
        eighths = [i / 2 for i in range(400)]  # 200 beats
        rng = archive.np.random.default_rng(3)
        played = sorted(rng.uniform(0, 200, 400))
        swung = [b + (0.04 if b % 1 else 0.0) for b in eighths]
        triplets = [i / 3 for i in range(600)]
        cases = [
            # (events, onsets, sequenced, expected (start, bpm) or reason)
            ([(0, tempo(100)), (0, meter(4, 4))], eighths, False, (0.0, 100.0)),
            ([(0, tempo(100)), (0, meter(3, 4))], eighths, False, "not in 2/4 or 4/4"),
            # A bar of 3/4 inside the kept minute, back in 4/4 later.
            ([(0, tempo(100)), (0, meter(4, 4)), (16, meter(3, 4)), (19, meter(4, 4))],
             eighths, False, "not in 2/4 or 4/4"),
            # Past the kept minute, another meter is no matter.
            ([(0, tempo(100)), (0, meter(4, 4)), (150, meter(3, 4))], eighths, False,
             (0.0, 100.0)),
            # A short 6/8 intro at another tempo is not kept.
            ([(0, tempo(60)), (0, meter(6, 8)), (6, tempo(120)), (6, meter(2, 4))],
             eighths, False, (6.0, 120.0)),
            ([(0, meter(4, 4))], eighths, False, (0.0, 120.0)),
            ([(0, meter(4, 4))], eighths, True, "no tempo written"),
            ([(0, tempo(90))], played, False, (0.0, 90.0)),
            ([(0, tempo(90))], played, True, "notes off the written beat's grid"),
            ([(0, tempo(90))], swung, True, (0.0, 90.0)),
            ([(0, tempo(90))], triplets, True, (0.0, 90.0)),
        ]
        with tempfile.TemporaryDirectory() as folder:
            for events, onsets, sequenced, expected in cases:
                with self.subTest(events=events, sequenced=sequenced):
                    got = archive.midi_segment(write_midi(folder, events, onsets), sequenced)
                    if isinstance(expected, str):
                        self.assertEqual(got, expected)
                        continue
                    start, end, bpm = got
                    self.assertAlmostEqual(start, expected[0], places=3)
                    self.assertAlmostEqual(bpm, expected[1], places=3)
                    self.assertAlmostEqual(end, start + archive.PIECE_SECONDS, places=3)


class Gzipped(unittest.TestCase):
    def test_read_as_plain_file(self):
        with tempfile.TemporaryDirectory() as folder:
            plain = write_midi(folder, [(0, tempo(140))], [i / 2 for i in range(400)])
            packed = os.path.join(folder, "Some Song.mid.gz")
            with open(plain, "rb") as f, gzip.open(packed, "wb") as out:
                out.write(f.read())
            self.assertEqual(archive.source_name(packed), "Some_Song")
            with archive.plain_midi(packed) as path:
                self.assertAlmostEqual(archive.midi_segment(path, True)[2], 140.0, places=3)
            self.assertFalse(os.path.exists(path))


if __name__ == "__main__":
    unittest.main()
