"""Choices that depend only on a name, so that a corpus renders the same every time."""

import hashlib


def stable(name, salt):
    """A number in [0, 1) that depends only on the name (and what it is for)."""
    digest = hashlib.sha256(f"{salt}:{name}".encode()).digest()
    return int.from_bytes(digest[:8], "little") / 2.0 ** 64
