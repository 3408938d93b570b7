#!/usr/bin/env python3
"""Makes a deterministic folder of documents in eleven formats, with needles whose places are known.

    make_documents.py FOLDER [COUNT [txt]]

The default of 5,000 documents takes about 100 MB; with "txt" all are plain text. FOLDER/../FOLDERNAME.needles.json tells for each needle the files
that hold it, relative to FOLDER:

    "zephyranthine"       one document of each format
    "yearly total"        one document in 40; nearly all others hold the two words apart
    "smörgåsbord", "Überprüfung", "crème brûlée"   one document in 100 each
"""
import json
import os
import random
import sys

import document_formats

SYLLABLES = """ba be bi bo bu ca ce co da de di do fa fe fi fo ga ge go ha he hi ho ja jo ka ke ki la le li lo ma me mi
mo mu na ne ni no pa pe pi po ra re ri ro sa se si so ta te ti to va ve vi vo wa we wi za ze""".split()
COMMON = """the of and to in is that for it was on are as with his they at be this from have or by one had not but what
all were when we there can an your which their said if do will each about how up out them then she many some so these
would other into has more her two like him see time could no make than first been its who now people my made over did
down only way find use may water long little very after words called just where most know report budget invoice total
letter project meeting yearly price street house garden kitchen summer winter""".split()
# Kilobytes of text that make a document of about 20 KB on average.
TEXT_SIZE = {"html": 20, "pdf": 40, "docx": 45, "xlsx": 40, "pptx": 26, "odt": 46, "ods": 44, "odp": 44, "epub": 34,
             "rtf": 20, "eml": 8, "txt": 20}
ACCENTED = ["smörgåsbord", "Überprüfung", "crème brûlée"]


def vocabulary(rng):
    made = {"".join(rng.choice(SYLLABLES) for _ in range(rng.randint(2, 4))) for _ in range(12_000)}
    return sorted(made)


def paragraphs_of(rng, words, size):
    paragraphs = []
    left = int(size * 1024 * rng.choice((0.3, 0.5, 0.8, 1.0, 1.4, 2.0)))
    while left > 0:
        picked = [rng.choice(COMMON) if rng.random() < 0.5 else rng.choice(words) for _ in range(rng.randint(8, 60))]
        # The phrase is put in on purpose alone, and not made by the end of one paragraph and the start of the next.
        text = (" ".join(picked) + " end").replace("yearly total", "yearly sum")
        paragraphs.append(text)
        left -= len(text)
    return paragraphs


def put(rng, paragraphs, needle):
    at = rng.randrange(len(paragraphs))
    words = paragraphs[at].split(" ")
    # Two words stand at the start, where no end of a line comes between them.
    words.insert(0 if " " in needle else rng.randrange(len(words)), needle + ",")
    paragraphs[at] = " ".join(words)


def needles_for(number):
    needles = []
    if number < len(document_formats.FORMATS):
        needles.append("zephyranthine")
    if number % 40 == 7:
        needles.append("yearly total")
    needles += [accented for offset, accented in enumerate(ACCENTED) if number % 100 == 11 + offset]
    return needles


def main():
    folder = os.path.abspath(sys.argv[1])
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 5000
    rng = random.Random(20_200_101)
    words = vocabulary(rng)
    writers = document_formats.PLAIN if "txt" in sys.argv[3:] else document_formats.FORMATS
    formats = list(writers)
    places = {}
    for number in range(count):
        extension = formats[number % len(formats)]
        title = f"{rng.choice(words)} {rng.choice(words)}"
        paragraphs = paragraphs_of(rng, words, TEXT_SIZE[extension])
        name = os.path.join(f"set-{number % 53:02d}", f"{title.replace(' ', '-')}-{number:05d}.{extension}")
        for needle in needles_for(number):
            put(rng, paragraphs, needle)
            places.setdefault(needle, []).append(name)
        os.makedirs(os.path.dirname(os.path.join(folder, name)), exist_ok=True)
        with open(os.path.join(folder, name), "wb") as file:
            file.write(writers[extension](title, paragraphs))
    with open(folder + ".needles.json", "w", encoding="utf-8") as file:
        json.dump(places, file, ensure_ascii=False, indent=1)


main()
