"""A minimal Standard MIDI File writer (format 1, one track per channel)."""

import struct

PPQ = 480


def _vlq(value):
    out = [value & 0x7F]
    value >>= 7
    while value:
        out.append(0x80 | (value & 0x7F))
        value >>= 7
    return bytes(reversed(out))


class Song:
    def __init__(self, bpm):
        self.bpm = bpm
        self.tracks = {}  # channel -> [(tick, order, bytes)]

    def _add(self, channel, tick, order, payload):
        self.tracks.setdefault(channel, []).append((max(0, int(tick)), order, payload))

    def program(self, channel, number):
        self._add(channel, 0, 0, bytes([0xC0 | channel, number]))

    def bend_cents(self, channel, cents):
        """Pitch bend of the whole channel, with its range set to 2 semitones."""
        for controller, value in ((101, 0), (100, 0), (6, 2), (38, 0)):  # RPN 0: bend range
            self._add(channel, 0, 1, bytes([0xB0 | channel, controller, value]))
        bend = max(0, min(16383, 8192 + round(cents / 200.0 * 8192)))
        self._add(channel, 0, 2, bytes([0xE0 | channel, bend & 0x7F, bend >> 7]))

    def note(self, channel, tick, length, pitch, velocity):
        velocity = int(min(127, max(1, velocity)))
        pitch = int(min(127, max(0, pitch)))
        self._add(channel, tick, 4, bytes([0x90 | channel, pitch, velocity]))
        self._add(channel, int(tick) + max(1, int(length)), 3, bytes([0x80 | channel, pitch, 0]))

    def write(self, path):
        def chunk(events):
            data = b""
            last = 0
            for tick, _, payload in sorted(events, key=lambda e: (e[0], e[1])):
                data += _vlq(tick - last) + payload
                last = tick
            data += b"\x00\xff\x2f\x00"
            return b"MTrk" + struct.pack(">I", len(data)) + data

        quarter_us = int(round(60_000_000 / self.bpm))
        tracks = [chunk([(0, 0, b"\xff\x51\x03" + quarter_us.to_bytes(3, "big"))])]
        for channel, events in sorted(self.tracks.items()):
            tracks.append(chunk(events))
        with open(path, "wb") as f:
            f.write(b"MThd" + struct.pack(">IHHH", 6, 1, len(tracks), PPQ))
            for t in tracks:
                f.write(t)
