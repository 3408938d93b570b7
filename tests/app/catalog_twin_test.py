#!/usr/bin/env python3
"""Holds a search of catalogs against a walk of the same trees, and asks catalogs when the trees have gone.

    catalog_twin_test.py KESTRIX

What `--source catalog` finds must be what `--source walk` finds, line by line and place by place, for a catalog of the
whole tree, of a part of it, and while one is being built. With the rights to mount, a catalog of a file system that is
mounted no more must still answer and say that it is away.
"""
import json
import os
import random
import subprocess
import sys
import tempfile
import time

LINES = ["report", "REPORT 2016", "report -draft", "report OR invoice", "rep*", "*.txt", "a", "é", "日記", "zzz", ".",
         "cat OR : is folder", ": is folder", ": modified in 2016", "report : modified before 2012",
         "cat : created today", ": bigger than 1kb", "report : smaller than 1kb is file", ": txt", "cat : whole words",
         "CAT : case sensitive", "report : regex ^r.*t$", ": inside cat", "cat : excluding folder report",
         "a : max depth 5", "report : modified in 2016 is folder", ": size 0kb is folder", "report : accessed today"]

# What a search says while the catalog that is being built is not in the list yet.
NOT_LISTED = b"kestrix: no catalog knows the place; kestrix catalog add makes one\n"


def make_tree(root, seed):
    rng = random.Random(seed)
    stems = ["report", "Report 2016", "annual report", "Invoice", "cat", "Cat dog", "résumé", "draft", "日記", "a", "rep"]
    folders, paths = [root], []
    for _ in range(70):
        name = rng.choice(["", "", "", "."]) + rng.choice(stems) + rng.choice(["", "", ".app", ".framework", " 2", ".d"])
        path = os.path.join(rng.choice(folders), name)
        if not os.path.exists(path):
            os.mkdir(path)
            folders.append(path)
            paths.append(path)
    for _ in range(700):
        name = rng.choice(["", "", "", "."]) + rng.choice(stems) + rng.choice(["", " draft", "-x", " inside"])
        path = os.path.join(rng.choice(folders), name + rng.choice(["", ".txt", ".TXT", ".pdf"]))
        if not os.path.exists(path):
            with open(path, "wb") as file:
                file.write(b"x" * rng.choice([0, 10, 1024, 5000]))
            paths.append(path)
    os.symlink(root, os.path.join(root, "report loop"))
    os.mkfifo(os.path.join(root, "report pipe"))
    # 2009, 2010 and three dates in 2016, one of them with a fraction.
    for path in reversed(paths):
        when = rng.choice([1230768000, 1262304000, 1451606400, 1467331200.75, 1483228799])
        os.utime(path, (when, when))
    return folders


class Checks:
    def __init__(self, kestrix, base):
        self.kestrix, self.failures, self.compared = kestrix, 0, 0
        self.environment = dict(os.environ, KESTRIX_HOME=base + "/home", LC_ALL="C.UTF-8")

    def run(self, *arguments):
        return subprocess.run([self.kestrix, *arguments], capture_output=True, env=self.environment)

    def demand(self, holds, *what):
        self.compared += 1
        if not holds:
            self.failures += 1
            print("fails:", *what)

    def found(self, source, line, options):
        done = self.run("find", "-0", "--no-history", "--source", source, *options, "--", line)
        return done.returncode, sorted(p for p in done.stdout.split(b"\0") if p), done.stderr

    def compare(self, line, *options):
        walk, catalog = self.found("walk", line, options), self.found("catalog", line, options)
        self.demand(walk == catalog, line, options, "exit", walk[0], catalog[0], walk[2], catalog[2], "\n  only walk:",
                    sorted(set(walk[1]) - set(catalog[1]))[:4], "\n  only catalog:",
                    sorted(set(catalog[1]) - set(walk[1]))[:4])
        return len(walk[1])


def compare_trees(checks, base):
    for seed in range(3):
        tree = f"{base}/t{seed}"
        os.mkdir(tree)
        folders = make_tree(tree, seed)
        done = checks.run("catalog", "add", tree)
        checks.demand(done.returncode == 0, done)
        hits = sum(checks.compare(line, "--in", tree, *system) for line in LINES for system in ([], ["--system"]))
        checks.demand(hits > 2000, "too few hits to tell anything:", hits)
        checks.compare("Robert", "--soundex", "--in", tree)
        # Places within the catalog, hidden ones and packages among them; and several that lie in one another.
        for place in folders[1:12]:
            checks.compare("report", "--in", place)
            checks.compare("cat OR : is folder", "--in", place)
            checks.compare("a", "--in", tree, "--in", place)
    # A name that begins like the place's is another place.
    os.mkdir(f"{base}/t1x")
    open(f"{base}/t1x/report.txt", "w").close()
    checks.run("catalog", "add", f"{base}/t1x")
    checks.compare("report", "--in", f"{base}/t1")
    # All catalogs at once, from above.
    checks.compare("report", "--in", base, "--in", f"{base}/t0")


def both_sources_give_one_row(checks, base):
    checks.demand(checks.run("settings", "set", "diskCatalogCaching", "true").returncode == 0, "settings")
    done = checks.run("find", "-0", "--in", f"{base}/t0", "report")
    both = done.returncode, sorted(filter(None, done.stdout.split(b"\0"))), done.stderr
    checks.demand(both == checks.found("walk", "report", ["--in", f"{base}/t0"]), "both sources:", both)


def search_while_building(checks, base):
    tree = f"{base}/grow"
    for folder in range(60):
        os.makedirs(f"{tree}/d{folder}")
        for number in range(100):
            open(f"{tree}/d{folder}/needle {number}", "w").close()
    building = subprocess.Popen([checks.kestrix, "catalog", "add", tree], env=checks.environment, stdout=subprocess.PIPE)
    while building.poll() is None:
        code, found, errors = checks.found("catalog", "needle", ["--in", tree])
        is_early = (code, found, errors) == (1, [], NOT_LISTED)
        checks.demand(is_early or (code in (0, 1) and errors == b"" and len(found) <= 6000), code, len(found), errors)
        time.sleep(0.01)
    building.communicate()
    checks.demand(len(checks.found("catalog", "needle", ["--in", tree])[1]) == 6000, "not all are found in the end")


def ask_without_the_disk(checks, base):
    mount = f"{base}/away"
    os.mkdir(mount)
    script = f"""set -e
        mount -t tmpfs -o size=1m tmpfs {mount}
        mkdir -p {mount}/folder; echo hello > {mount}/folder/report.txt
        {checks.kestrix} catalog add {mount} --name Away
        umount {mount}"""
    done = subprocess.run(["unshare", "-m", "sh", "-c", script], capture_output=True, env=checks.environment)
    if done.returncode != 0:
        print("not allowed to mount; the case of an absent disk is left out:", done.stderr[-200:])
        return
    facts = json.loads(checks.run("catalog", "info", "Away", "--json").stdout)
    checks.demand(facts["state"] == "offline" and facts["files"] == 1, facts)
    for place in (mount, mount + "/folder"):
        code, found, errors = checks.found("catalog", "report", ["--in", place])
        checks.demand((code, found, errors) == (0, [os.fsencode(mount + "/folder/report.txt")], b""), place, found, errors)
    checks.demand(checks.run("find", "--source", "catalog", "report", "--in", base + "/gone").returncode == 2, "gone")
    row = json.loads(checks.run("find", "--source", "catalog", "report", "--in", mount, "--format", "json").stdout)
    checks.demand(row["size"] == 6 and not row["strikeThroughDisplayNameIfMissing"], row)
    refused = checks.run("catalog", "update", "Away")
    checks.demand(refused.returncode == 2 and refused.stderr.count(b"\n") == 1, refused)


def main():
    with tempfile.TemporaryDirectory(prefix="zz") as base:
        checks = Checks(sys.argv[1], base)
        compare_trees(checks, base)
        both_sources_give_one_row(checks, base)
        search_while_building(checks, base)
        ask_without_the_disk(checks, base)
    print(f"{checks.compared} comparisons, {checks.failures} fail")
    sys.exit(1 if checks.failures or not checks.compared else 0)


main()
