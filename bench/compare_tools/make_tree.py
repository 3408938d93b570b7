#!/usr/bin/env python3
"""Makes a deterministic tree of files with names as people and programs give them.

    make_tree.py TREE FILES FOLDERS

The same numbers give the same tree on every machine. Files are small: a few bytes each, of differing sizes, with
modification times spread over ten years. No symbolic links. The word "quokka" stands in a handful of names, "report"
in about one of twenty.
"""
import os
import random
import sys

WORDS = """account agenda album archive article backup balance banner beach birthday board book budget cache camera
catalog chapter chart city client code concert config contract copy course customer data design diary document draft
email error essay event example exam export family figure final flight form forum garden graph guide header history
holiday home house icon image import index insurance invoice journal kitchen label lecture letter library license list
log logo main manual map market meeting memo menu message minutes model module music network note notes office order
page paper party patch photo plan podcast poem policy portrait poster press print profile project proposal receipt
recipe record release research resume review sales sample scan schedule school script sketch slide song source speech
staff statement story student summary survey table tax team template test text theme thesis ticket todo travel trip
tutorial update user vector video view visit voice wedding week widget window winter work yearly""".split()
EXTENSIONS = """txt md pdf doc docx xls xlsx ppt odt csv json xml html css js ts py c h cpp hpp java go rs sh log jpg
jpeg png gif svg mp3 flac ogg mp4 mkv zip gz tar epub eml bak tmp conf ini yml sql db""".split()
BARE = ["README", "LICENSE", "Makefile", "TODO", "CHANGELOG", ".gitignore", ".hidden", ".DS_Store"]


def file_name(rng):
    kind = rng.random()
    if kind < 0.05:
        return "%sreport%s.%s" % (
            rng.choice(["", "", "annual ", "Sales-", "draft_", "My "]),
            rng.choice(["", " 2016", "-final", "_v%d" % rng.randrange(9), " (%d)" % rng.randrange(5)]),
            rng.choice(EXTENSIONS))
    if kind < 0.20:
        return "IMG_%04d.%s" % (rng.randrange(10000), rng.choice(["JPG", "jpg", "HEIC", "png"]))
    if kind < 0.25:
        return "%s.%s" % (rng.getrandbits(80).to_bytes(10, "big").hex(), rng.choice(EXTENSIONS))
    if kind < 0.28:
        return rng.choice(BARE)
    if kind < 0.30:
        return rng.choice(["Übersicht %s.pdf", "naïve-%s.txt", "résumé %s.doc", "日記 %s.txt"]) % rng.choice(WORDS)
    words = [rng.choice(WORDS) for _ in range(rng.choice([1, 2, 2, 2, 3, 3, 4]))]
    if rng.random() < 0.3:
        words = [w.capitalize() for w in words]
    name = rng.choice(["-", "_", " ", "_", ""]).join(words)
    if rng.random() < 0.3:
        name += rng.choice(["-%d", "_%02d", " %d", "%d"]) % rng.randrange(2000)
    return name + "." + rng.choice(EXTENSIONS)


def folder_name(rng):
    name = rng.choice(WORDS)
    kind = rng.random()
    if kind < 0.2:
        name = name.capitalize() + "s"
    elif kind < 0.35:
        name += "-" + rng.choice(WORDS)
    elif kind < 0.45:
        name = str(rng.randrange(1990, 2026))
    elif kind < 0.48:
        name = "." + name
    return name


def make_folders(rng, tree, count):
    folders = [tree]
    open_places = [tree]
    while len(folders) <= count:
        # Mostly among recent folders, which makes the tree as deep as real ones are (up to about twenty).
        parent = open_places[max(0, int(len(open_places) * (1 - rng.random() ** 2)) - 1)]
        if parent.count("/") - tree.count("/") > 18:
            continue
        for _ in range(rng.choice([1, 1, 2, 3, 5, 8, 13])):
            if len(folders) > count:
                break
            path = "%s/%s" % (parent, folder_name(rng))
            try:
                os.mkdir(path)
            except FileExistsError:
                continue
            folders.append(path)
            open_places.append(path)
    return folders


def make_files(rng, folders, count):
    made = 0
    since = 1_420_000_000
    while made < count:
        folder = rng.choice(folders)
        for _ in range(rng.choice([1, 2, 3, 5, 8, 13, 40])):
            if made >= count:
                break
            name = file_name(rng)
            if made in (777, count // 3, count // 2, count - 5):
                name = "quokka " + name
            try:
                handle = os.open("%s/%s" % (folder, name), os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o644)
            except FileExistsError:
                continue
            os.ftruncate(handle, rng.choice([0, 10, 300, 5000, 70_000, 2_000_000]))
            when = since + rng.randrange(10 * 365 * 86400)
            os.utime(handle, (when, when))
            os.close(handle)
            made += 1


def main():
    tree, files, folders = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
    rng = random.Random(files * 31 + folders)
    os.makedirs(tree)
    made = make_folders(rng, tree, folders)
    make_files(rng, made, files)


main()
