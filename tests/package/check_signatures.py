#!/usr/bin/env python3
"""The declarations of the C header, without comments and blanks, are those that were released: a change of one of them
breaks programs that are linked already.

    check_signatures.py HEADER FILE             compares
    check_signatures.py HEADER FILE --release   writes FILE, for a new major version
"""

import hashlib
import re
import sys
from pathlib import Path

HEAD = "# One line for each function of tarnm.h: a hash of its declaration, and its name.\n"


def signatures(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.DOTALL)
    text = re.sub(r"^#.*$", "", text, flags=re.MULTILINE)
    lines = []
    for declaration in re.findall(r"TARNM_API\s+([^;]*?);", text):
        declaration = " ".join(declaration.split())
        # Names of arguments are no part of a signature.
        plain = re.sub(r"\s*\b\w+(?=[,)])", "", declaration)
        name = re.search(r"\b(tarnm\w+)\(", declaration).group(1)
        lines.append(f"{hashlib.sha256(plain.encode()).hexdigest()[:16]} {name}\n")
    return sorted(lines, key=lambda line: line.split()[1])


def main():
    header, file = Path(sys.argv[1]), Path(sys.argv[2])
    found = signatures(header.read_text(encoding="utf-8"))
    if sys.argv[3:] == ["--release"]:
        file.write_text(HEAD + "".join(found), encoding="utf-8")
        return 0
    wanted = file.read_text(encoding="utf-8").splitlines(keepends=True)[1:]
    for line in sorted(set(wanted) ^ set(found), key=lambda line: line.split()[1]):
        print("released:" if line in wanted else "found:   ", line.strip())
    print(f"{len(found)} declarations")
    return 0 if found == wanted and len(wanted) == 874 else 1


if __name__ == "__main__":
    sys.exit(main())
