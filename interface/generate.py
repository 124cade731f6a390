#!/usr/bin/env python3
"""Writes all outputs of the registry: header, entry units, export map, reference pages, test table, table
of the Python package.

    generate.py            write what has changed, remove what is no longer generated
    generate.py --check    write nothing; exit 1 and name the files that would change
    generate.py --list     print the names of all members of the interface, implemented or not
"""

import argparse
import sys
from pathlib import Path

import registry
from writers import cpp_members, entries, exports, header, python_members, reference, table

ROOT = Path(__file__).resolve().parent.parent

# Folders that hold generated files only: whatever else lies there is left over.
GENERATED_FOLDERS = ("src/*/members", "docs/reference")


def outputs():
    members = registry.implemented()
    files = {
        "include/tarnm/tarnm.h": header.render(members),
        "include/tarnm/detail/members.h": cpp_members.render(members, {member.operation for member in registry.members()}),
        "src/frame/exports.map": exports.render(members),
        "python/tarnm/_members.py": python_members.render(members),
        "tests/support/member_table.cpp": table.render(members),
    }
    return files | entries.render(members) | reference.render(members)


def leftovers(files):
    found = [path for pattern in GENERATED_FOLDERS for folder in ROOT.glob(pattern) for path in folder.iterdir()]
    return [path for path in found if str(path.relative_to(ROOT)) not in files]


def changed(files):
    for name, text in files.items():
        path = ROOT / name
        if not path.exists() or path.read_text(encoding="utf-8") != text:
            yield name


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true", help="write nothing, fail if anything would change")
    parser.add_argument("--list", action="store_true", help="print the names of all members of the interface")
    options = parser.parse_args()
    if options.list:
        print("\n".join(sorted(member.name for member in registry.members())))
        return 0

    files = outputs()
    stale, extra = list(changed(files)), leftovers(files)
    if options.check:
        for name in stale:
            print(f"would change: {name}", file=sys.stderr)
        for path in extra:
            print(f"is no longer generated: {path.relative_to(ROOT)}", file=sys.stderr)
        return 1 if stale or extra else 0
    for name in stale:
        path = ROOT / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(files[name], encoding="utf-8")
    for path in extra:
        path.unlink()
    print(f"{len(registry.implemented())} of {len(registry.members())} members, {len(stale)} files written")
    return 0


if __name__ == "__main__":
    sys.exit(main())
