#!/usr/bin/env python3
"""Holds `kestrix find` against a slow, simple walk of the same trees.

    twin_test.py KESTRIX

The twin knows words, OR groups, exclusions, stars, sound and the rules on hidden folders and packages, each in its
plainest form. The sets must be equal for every query on every tree.
"""
import os
import random
import subprocess
import sys
import tempfile

QUERIES = ["report", "REPORT 2016", "report -draft", "report OR invoice", "cat dog OR -x report", "rep*", "*.txt",
           "cat* dog*", "a", "é", "日記", "hidden", "inside", '"annual report"', "no-such-name-anywhere", "OR cat", "."]
SOUNDEX = ["Robert", "report", "kat", "A"]
PACKAGES = {"app", "framework"}


def soundex(text):
    text = text.strip().upper()
    if len(text) < 2:
        return ""
    codes = {c: str(n) for n, cs in enumerate(["", "BPFV", "CSKGJQXZ", "TD", "L", "MN", "R"]) for c in cs}
    value, last = text[0], codes.get(text[0], "0")
    for c in text[1:]:
        code = codes.get(c, "0")
        if code != "0" and code != last and len(value) < 4:
            value, last = value + code, code
        elif c in "AEIOU":
            last = "-"
    return value.ljust(4, "0")


def words_of(line):
    quoted = line.startswith('"')
    return [line.strip('"')] if quoted else line.split()


def passes(name, line, sound):
    plain = [w for w in words_of(line) if line.startswith('"') or not w.startswith("-")]
    excluded = [w[1:].lower() for w in words_of(line) if w not in plain]
    low = name.lower()
    if any(w and w in low for w in excluded):
        return False
    bare = [w.strip("*").lower() for w in plain if w != "OR"]
    for pick, holds in ((lambda w: w.endswith("*"), str.startswith),
                        (lambda w: w.startswith("*") and not w.endswith("*"), str.endswith)):
        starred = [w.strip("*").lower() for w in plain if pick(w)]
        if len(starred) == 1 and not holds(low, starred[0]):
            return False
        if any(s in piece and not holds(piece, s) for s in starred for piece in low.split(" ")):
            return False
    if sound:
        pieces = [p for p in name.replace("/", " ").replace(".", " ").split(" ") if p]
        # A one-letter word has no sound, so it matches nothing, not even another one.
        return bool({soundex(p) for p in pieces} & {soundex(w) for w in bare} - {""})
    if "OR" not in plain:
        return all(w in low for w in bare)
    groups, group = [], []
    for w in plain + ["OR"]:
        if w == "OR":
            groups, group = groups + ([group] if group else []), []
        else:
            group.append(w.strip("*").lower())
    return any(all(w in low for w in g) for g in groups)


def closed(name):
    return name.startswith(".") or os.path.splitext(name)[1][1:].lower() in PACKAGES


def twin(folder, line, sound, everything):
    for entry in os.scandir(folder):
        is_folder = entry.is_dir(follow_symlinks=False)
        if not is_folder and not entry.is_file(follow_symlinks=False):
            continue
        if (everything or not entry.name.startswith(".")) and not (
                not everything and entry.name.endswith(".framework")) and passes(entry.name, line, sound):
            yield entry.path
        if is_folder and (everything or not closed(entry.name)):
            yield from twin(entry.path, line, sound, everything)


def make_tree(root, seed):
    rng = random.Random(seed)
    stems = ["report", "Report 2016", "annual report", "Invoice", "cat", "Cat dog", "dogcat", "Rupert", "résumé", "draft",
             "日記", "a", "rep", "unreported", "ca\tt", "new\nline", "hidden"]
    folders = [root]
    for _ in range(60):
        name = rng.choice(["", "", "", "."]) + rng.choice(stems) + rng.choice(["", "", ".app", ".framework", " 2", ".d"])
        path = os.path.join(rng.choice(folders), name)
        if not os.path.exists(path):
            os.mkdir(path)
            folders.append(path)
    for _ in range(600):
        name = rng.choice(["", "", "", "."]) + rng.choice(stems) + rng.choice(["", " draft", "-x", " inside"])
        path = os.path.join(rng.choice(folders), name + rng.choice(["", ".txt", ".TXT", ".pdf", ".txt.bak"]))
        if not os.path.exists(path):
            open(path, "w").close()
    os.symlink(root, os.path.join(root, "report loop"))
    os.symlink("/etc/passwd", os.path.join(root, "report link"))
    os.mkfifo(os.path.join(root, "report pipe"))


def main():
    kestrix, failures, compared = sys.argv[1], 0, 0
    with tempfile.TemporaryDirectory(prefix="zz") as base:
        environment = dict(os.environ, KESTRIX_HOME=base + "/home", LC_ALL="C.UTF-8")
        for seed in range(3):
            tree = f"{base}/t{seed}"
            os.mkdir(tree)
            make_tree(tree, seed)
            for everything in (False, True):
                for sound, line in [(False, q) for q in QUERIES] + [(True, q) for q in SOUNDEX]:
                    command = [kestrix, "find", "-0", "--source", "walk", "--in", tree] + ["--system"] * everything
                    command += ["--soundex"] * sound + ["--", line]
                    done = subprocess.run(command, capture_output=True, env=environment)
                    found = sorted(os.fsdecode(p) for p in done.stdout.split(b"\0") if p)
                    expected = sorted(twin(tree, line, sound, everything))
                    compared += 1
                    if found != expected or done.returncode != (0 if expected else 1):
                        failures += 1
                        print("differs:", command, "exit", done.returncode, done.stderr)
                        print("  only kestrix:", sorted(set(found) - set(expected))[:5])
                        print("  only twin:", sorted(set(expected) - set(found))[:5])
    print(f"{compared} searches compared, {failures} differ")
    sys.exit(1 if failures or not compared else 0)


main()
