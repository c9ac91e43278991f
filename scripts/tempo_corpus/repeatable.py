"""What makes a corpus render the same every time: choices that depend only
on a name, and the packages' files in one order."""

import hashlib
import os


def stable(name, salt):
    """A number in [0, 1) that depends only on the name (and what it is for)."""
    digest = hashlib.sha256(f"{salt}:{name}".encode()).digest()
    return int.from_bytes(digest[:8], "little") / 2.0 ** 64


def files_of(packages_dir, packages, suffixes):
    """The files of the unpacked packages whose names end in one of the
    (lower-case) suffixes, sorted by path."""
    found = []
    for package in packages:
        for folder, _, names in os.walk(os.path.join(packages_dir, package)):
            found += [os.path.join(folder, n) for n in names if n.lower().endswith(suffixes)]
    return sorted(found)
