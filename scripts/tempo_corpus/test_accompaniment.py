"""Checks how accompaniment.py reads mma's song and groove files: which tempo
counts as written, and which songs and grooves are left out.

  /usr/bin/python3 -m unittest discover -s scripts/tempo_corpus -p "test_*.py"

Needs neither mma nor mido: only the reading of the files is checked here.
"""

import os
import sys
import types
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
try:
    import mido  # noqa: F401  (the real one, when there, for the other tests)
except ImportError:
    sys.modules["mido"] = types.ModuleType("mido")
import accompaniment  # noqa: E402


class WrittenTempo(unittest.TestCase):
    def test_cases(self):
        cases = [
            ("Tempo 120\nGroove Swing\n", 120.0),
            ("// Tempo 90 was too slow\nTempo 100\n", 100.0),
            ("  tempo 56.5  // slow\n", 56.5),
            ("Tempo $Tempo\n", None),
            ("Groove Swing\n1 C\n", None),
            ("Tempo *2\nTempo 120\n", None),  # the first Tempo line counts
        ]
        for text, expected in cases:
            with self.subTest(text=text):
                self.assertEqual(accompaniment.written_tempo(text), expected)


class GrooveTempos(unittest.TestCase):
    def test_cases(self):
        cases = [
            ("Tempo 120\nGroove A\n1 C\nGroove B\n1 G\n", [("a", 120.0), ("b", 120.0)]),
            # The tempo changes while A plays: A has no one tempo.
            ("Tempo 90\nGroove A\n1 C\nTempo 140\nGroove B\n1 G\n", [("b", 140.0)]),
            ("Tempo 120\nGroove A\n1 C\nTempo *2\n2 C\n", []),
            ("Tempo 120\nGroove A\nTempo -40 2\n", []),
            # After a relative change no later groove has a written tempo.
            ("Tempo 120\nTempo *.5\nGroove A\n", []),
            ("Tempo 120\nGroove A\nTempo 120\n1 C\n", [("a", 120.0)]),
            ("Groove A\n1 C\n", []),
            ("Tempo 100\nGroove $Style\n", []),
            ("Tempo 100\n// Groove Commented\nGroove A\n", [("a", 100.0)]),
        ]
        for text, expected in cases:
            with self.subTest(text=text):
                self.assertEqual(accompaniment.groove_tempos(text), expected)


class SongUsable(unittest.TestCase):
    grooves = {"swing": "/lib/swing.mma"}

    def test_cases(self):
        cases = [
            ("Time 4\nGroove Swing\n", None),
            ("Time 2\nGroove Swing\n", None),
            ("Groove Swing\nTime 3\n", "time 3"),
            ("Time 6/8\n", "time 6/8"),
            ("Groove Waltzish\n", "groove waltzish of unknown meter"),
            ("DefGroove Mine  a groove of its own\nGroove Mine\n", None),
            ("// Time 3 would be wrong here\nGroove Swing\n", None),
        ]
        for text, expected in cases:
            with self.subTest(text=text):
                used = accompaniment.grooves_used(text)
                self.assertEqual(accompaniment.song_usable(text, used, self.grooves), expected)


class GrooveUsable(unittest.TestCase):
    def test_cases(self):
        cases = [
            ("Begin Doc\n A plain rock beat.\nEnd\nTime 4\n", None),
            ("Begin Doc\n It is in 2/4, so double the tempo.\nEnd\nTime 4\n",
             "its documentation counts another pulse"),
            ("Doc Written in 4/4, so use a dotted quarter \\\n for the beat.\nTime 4\n",
             "its documentation counts another pulse"),
            ("Doc A waltz.\nTime 3\n", "time 3"),
            # Only what the author wrote about the groove counts, not its code.
            ("Doc A shuffle.\nTime 4\n// double the bass here\n", None),
        ]
        for text, expected in cases:
            with self.subTest(text=text):
                self.assertEqual(accompaniment.groove_usable("f", {"f": text}), expected)


class GrooveSong(unittest.TestCase):
    def test_long_enough_at_the_tempo(self):
        for bpm in (56.0, 120.0, 250.0):
            with self.subTest(bpm=bpm):
                song = accompaniment.groove_song("SwingSus", bpm, "groove-x", 65.0)
                self.assertIn(f"Tempo {bpm:g}\n", song)
                self.assertIn("Groove SwingSus\n", song)
                bars = sum(line.split()[0].isdigit() for line in song.splitlines())
                self.assertGreaterEqual(bars * 4 * 60.0 / bpm, 65.0)

    def test_bodies_only(self):
        for groove, body in [("bossanovaintro", False), ("swingend", False),
                             ("rockintro8", False), ("bossanova1sus", True),
                             ("swingplus", True), ("fillsus", True)]:
            with self.subTest(groove=groove):
                self.assertEqual(accompaniment.NOT_BODY.search(groove) is None, body)


if __name__ == "__main__":
    unittest.main()
