"""Checks how scores.py reads ABC tunes and MuseScore files: which tempo
counts as marked, in which beat, how long the pickup is, and which scores
are left out.

  /usr/bin/python3 -m unittest discover -s scripts/tempo_corpus -p "test_*.py"

Needs neither abc2midi nor mscore3: only the reading of the files is checked.
"""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import scores  # noqa: E402


class AbcWrittenTempo(unittest.TestCase):
    def test_cases(self):
        common, cut = (4, 4), (2, 2)
        cases = [
            ("1/4=120", common, (120.0, 1)),
            ("1/4 = 144", (2, 4), (144.0, 1)),
            # Eighths in 4/4 are counted in quarters: the same speed.
            ("1/8=400", common, (200.0, 1)),
            ("1/2=60", common, (120.0, 1)),
            ('"Allegro" 1/4=132', common, (132.0, 1)),
            ("1/2=90", cut, (90.0, 2)),
            ("1/4=180", cut, "cut time marked in other notes than halves"),
            ("80", common, "tempo 80 without a note value"),
            ("1/4=ca. 80", common, "tempo 1/4=ca. 80 not one note value and a number"),
            ('"Andante"', common, "tempo named only in words"),
            ("3/8=60", (2, 4), "marking in 3/8 notes"),
            ("1/16=200", common, "marking in 1/16 notes"),
            ("1/4=100", (3, 4), "meter 3/4"),
            ("3/8=100", (6, 8), "meter 6/8"),
            ("1/4=100", None, "no meter"),
        ]
        for field, meter, expected in cases:
            with self.subTest(field=field, meter=meter):
                self.assertEqual(scores.abc_written_tempo(field, meter), expected)

    def test_meters(self):
        for text, expected in [("C", (4, 4)), ("C|", (2, 2)), ("2/4", (2, 4)),
                               (" 4 / 4 ", (4, 4)), ("none", None), ("2+3/8", None)]:
            with self.subTest(text=text):
                self.assertEqual(scores.meter_of(text), expected)


def tune(header, music):
    return f"X:1\nT:t\n{header}\nK:G\n{music}\n"


class AbcUsable(unittest.TestCase):
    def test_cases(self):
        cases = [
            (tune("M:4/4\nL:1/8\nQ:1/4=120", "D2|G2B2 d2B2|"), (120.0, 1, 1.0)),
            # A tempo written just after the key still holds from the start.
            ("X:2\nM:2/4\nL:1/16\nK:C\nQ:1/4=80\nV:1\nFE \\\n|: ^DEF2 F2F2 | F8 :|\n",
             (80.0, 1, 0.5)),
            (tune("M:C|\nL:1/8\nQ:1/2=100", "|:G2B2 d2B2|"), (100.0, 2, 0.0)),
            (tune("M:4/4\nL:1/8", "G2B2 d2B2|"), "no tempo marking"),
            (tune("M:4/4\nL:1/8\nQ:1/4=120", "G2B2 d2B2|\nQ:1/4=90\nG8|"), "tempo changes"),
            (tune("M:4/4\nL:1/8\nQ:1/4=120", "G2B2 [Q:1/4=90] d2B2|"), "tempo changes"),
            # The same marking again (a second voice's header) is no change.
            (tune("M:4/4\nL:1/8\nQ:1/4=120", "G2B2 d2B2|\nQ:1/4 = 120\nG8|"), (120.0, 1, 0.0)),
            (tune("M:4/4\nL:1/8\nQ:1/4=120", "G2B2 d2B2|[M:3/4]G6|"), "meter changes"),
            (tune("M:6/8\nL:1/8\nQ:3/8=120", "GAB dBG|"), "meter 6/8"),
            (tune("M:4/4\nL:1/8\nQ:1/4=120", "_/e d|G8|"), "first bar not read"),
        ]
        for text, expected in cases:
            with self.subTest(text=text):
                (_, fields, body), = scores.abc_tunes(text)
                self.assertEqual(scores.abc_usable(fields, body), expected)

    def test_tunes_split(self):
        text = ("% a collection\nX:1\nT:One\nM:C\nQ:1/4=100\nK:D\nDEFG|\n\n"
                "X: 7\nT:Two\nM:2/4\nK:G\nGA|\n% a comment\nBc|\n")
        tunes = scores.abc_tunes(text)
        self.assertEqual([(n, f.get("Q")) for n, f, _ in tunes], [("1", "1/4=100"), ("7", None)])
        self.assertEqual(tunes[1][2], ["GA|", "Bc|"])


class AbcPickup(unittest.TestCase):
    def test_cases(self):
        cases = [
            ("L:1/8", (4, 4), "D2 |G8|", 1.0),
            ("L:1/8", (4, 4), "|: G>A BB cBAc|", 0.0),
            ("L:1/8", (4, 4), '"G"!p!{a}B/c/ |G8|', 0.5),
            ("L:1/8", (4, 4), "(3ABc |G8|", 1.0),
            ("L:1/8", (4, 4), "[CE]2 [DF]|G8|", 1.5),
            ("L:1/8", (4, 4), "[C8E8]|G8|", 0.0),
            ("L:1/16", (4, 4), "A3/B/ C//D//E/|", 0.75),
            ("L:1/8", (4, 4), "EEE\t |C3E EEFF|", 1.5),
            # No L: below 3/4 the unit is a sixteenth.
            ("", (2, 4), "AB|c4|", 0.5),
            ("L:1/8", (4, 4), "G2B2 d2B2 g2|", None),
            ("L:1/8", (4, 4), "Z4|", None),
            ("L:1/8", (4, 4), "G2 B2 d2", None),
        ]
        for header, meter, music, expected in cases:
            with self.subTest(music=music):
                fields = {"L": header[2:]} if header else {}
                self.assertEqual(scores.abc_pickup(fields, [music], meter), expected)


def score(meter, tempo, text, first_len=None, later_meter=None):
    """A small MuseScore 3 file: one staff, a marking in the first bar."""
    marking = f"<Tempo><tempo>{tempo}</tempo><text>{text}</text></Tempo>" if text else ""
    length = f' len="{first_len}"' if first_len else ""
    second = (f"<TimeSig><sigN>{later_meter[0]}</sigN><sigD>{later_meter[1]}</sigD></TimeSig>"
              if later_meter else "")
    return (f'<museScore version="3.01"><Score><Staff id="1">'
            f"<Measure{length}><voice><TimeSig><sigN>{meter[0]}</sigN><sigD>{meter[1]}</sigD>"
            f"</TimeSig>{marking}<Chord/></voice></Measure>"
            f"<Measure><voice>{second}<Chord/></voice></Measure>"
            f"</Staff></Score></museScore>")


class MusescoreUsable(unittest.TestCase):
    def test_cases(self):
        quarter, half, eighth, dot = "\ueca5", "\ueca2", "\ueca7", "\uecb7"
        cases = [
            (score((4, 4), 1.4, f"Allegretto ({quarter} = 84)"), (84.0, 1, 0.0)),
            (score((4, 4), 1.4, f"<b><font face='ScoreText'>{quarter}</font> = 84</b>"),
             (84.0, 1, 0.0)),
            (score((2, 2), 3.0, "<sym>metNoteHalfUp</sym> = 90"), (90.0, 2, 0.0)),
            (score((2, 2), 3.0, f"Alla breve {half} = 90"), (90.0, 2, 0.0)),
            (score((2, 4), 1.0, f"{eighth} = 120", first_len="1/8"), (60.0, 1, 0.5)),
            (score((2, 2), 3.0, f"{quarter} = 180"),
             "cut time marked in other notes than halves"),
            (score((4, 4), 2.0, f"{quarter}{dot} = 80"), "marking in dotted notes"),
            (score((4, 4), 1.0, f"Adagio ({quarter} = 66)"),
             "marking 66 does not match the tempo played (60.0 quarters)"),
            (score((4, 4), 1.18333, "Adagio"), "tempo named only in words"),
            (score((4, 4), 1.0, None), "no tempo marking at the start"),
            (score((4, 4), 2.0, f"{quarter} = 120", later_meter=(3, 4)), "meter changes"),
            (score((3, 4), 2.0, f"{quarter} = 120"), "meter 3/4"),
        ]
        for text, expected in cases:
            with self.subTest(text=text):
                self.assertEqual(scores.musescore_usable(text), expected)


if __name__ == "__main__":
    unittest.main()
