#!/usr/bin/env python3
"""Reads a catalog with LMDB's own tool and holds every byte against what this script works out by itself.

    catalog_bytes_test.py KESTRIX
"""
import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile

FROM_1970_TO_2001 = 978307200


def records_of(file):
    text = subprocess.run(["mdb_dump", "-n", "-s", "SimpleLMDB", file], capture_output=True, check=True, text=True).stdout
    lines = [line[1:] for line in text.split("HEADER=END\n", 1)[1].splitlines() if line.startswith(" ")]
    return {bytes.fromhex(key): bytes.fromhex(value) for key, value in zip(lines[::2], lines[1::2])}


def birth(path):
    """Whole seconds, or None where the file system keeps none."""
    text = subprocess.run(["stat", "-c", "%W", path], capture_output=True, check=True, text=True).stdout.strip()
    return int(text) if text not in ("0", "-") else None


def stored(seconds):
    if seconds is None:
        return 0
    since = seconds - FROM_1970_TO_2001
    return since if -2**31 <= since < 2**31 else 0


def item(number, parent, path):
    is_file = os.path.isfile(path)
    name = os.path.basename(path).encode()
    facts = os.stat(path)
    return struct.pack("<IIBiiH", number, parent, is_file, stored(birth(path)), stored(facts.st_mtime_ns // 10**9),
                       len(name)) + name + struct.pack("<Bq", 1, facts.st_size if is_file else 0)


def child_list(numbers):
    """Differences in runs of one width: a width, a count, the values with their high byte first."""
    values = [n - before for n, before in zip(numbers, [0] + numbers)]
    if len(values) == 1 and values[0] < 65536:
        return values[0].to_bytes(1 if values[0] < 256 else 2, "big")
    data, at = b"", 0
    while at < len(values):
        width = max((values[at].bit_length() + 7) // 8, 1)
        end = at
        while end < len(values) and end - at < 255 and values[end] < 256**width:
            end += 1
        data += bytes([width, end - at]) + b"".join(v.to_bytes(width, "big") for v in values[at:end])
        at = end
    return data


def make_tree(tree):
    """One file and one folder in each folder: then the order of listing decides nothing."""
    folder = tree
    dates = [1451606400, 978307199.5, 0, 1.5, -3000000000, 4000000000, 1e9 + 0.999]
    for depth, when in enumerate(dates):
        name = os.path.join(folder, f"datei é{depth}.txt")
        with open(name, "wb") as file:
            file.write(b"x" * (300 * depth))
        os.utime(name, (when, when))
        folder = os.path.join(folder, "ordner" + "日" * depth)
        os.mkdir(folder)
    for number in range(300):
        open(os.path.join(folder, f"same {number:03}"), "w").close()
    for left_out in ("with:colon", "with\nline"):
        open(os.path.join(folder, left_out), "w").close()
    os.symlink("/", os.path.join(folder, "link"))
    return [f"{root}" for root, _, _ in os.walk(tree)]


def expected(folders, got):
    """Numbers go up in the order of the walk: a folder's files, then the folder below."""
    records, number = {}, 0
    for depth, folder in enumerate(folders):
        files = [f for f in os.listdir(folder) if os.path.isfile(f"{folder}/{f}") and not os.path.islink(f"{folder}/{f}")
                 and ":" not in f and "\n" not in f]
        if depth > 0:
            number += 1
            records[b"F%d" % number] = item(number, parent, folder)  # noqa: F821
            siblings.append(number)  # noqa: F821
            records[b"C%d" % parent] = child_list(siblings)  # noqa: F821
        parent, siblings = number, []
        if len(files) > 1:
            # The listing order is the file system's; the names tell which came when.
            names = {value[19:-9].decode(): int(key[1:]) for key, value in got.items()
                     if key.startswith(b"F") and len(value) > 19}
            files.sort(key=lambda f: names.get(f, 0))
        for file in files:
            number += 1
            records[b"F%d" % number] = item(number, parent, f"{folder}/{file}")
            siblings.append(number)
        records[b"C%d" % parent] = child_list(siblings)
    records[b"Fprivate.lastAutoID"] = struct.pack("<I", number)
    return records, number


def main():
    if not shutil.which("mdb_dump"):
        print("mdb_dump (lmdb-utils) is not installed; nothing was compared")
        sys.exit(77)
    with tempfile.TemporaryDirectory(prefix="zz") as base:
        tree = base + "/tree"
        os.mkdir(tree)
        folders = make_tree(tree)
        environment = dict(os.environ, KESTRIX_HOME=base + "/home", LC_ALL="C.UTF-8")
        subprocess.run([sys.argv[1], "catalog", "add", tree, "--name", "x"], check=True, env=environment)
        facts = subprocess.run([sys.argv[1], "catalog", "info", "x", "--json"], check=True, env=environment,
                               capture_output=True).stdout
        got = records_of(json.loads(facts)["file"])
        information = json.loads(got.pop(b"DdocumentInfo"))
        wanted, last = expected(folders, got)
        faults = [key for key in sorted(got.keys() | wanted.keys()) if got.get(key) != wanted.get(key)]
        for key in faults[:5]:
            print(key, "\n  is    ", got.get(key, b"").hex(), "\n  wanted", wanted.get(key, b"").hex())
        own = {key: information[key] for key in ("lastIndexMode", "isDirty", "suggestedTarget", "numberOfFSItems")}
        if own != {"lastIndexMode": 0, "isDirty": False, "suggestedTarget": "file://" + tree + "/", "numberOfFSItems": 307}:
            faults.append(own)
        print(f"{len(wanted)} records compared, {last} items, {len(faults)} faults", own)
        sys.exit(1 if faults or last != 314 else 0)


main()
