"""The cases of bench/compare over generated documents, whose needles are known: filling an index, asking it, and reading
inside the files. The places of a needle are the truth: kestrix must find exactly these, and of the others the recall is
told. Titles hold the word "documents"."""
import json
import os
import shutil
import subprocess
import sys
import urllib.parse

HERE = os.path.dirname(os.path.abspath(__file__))
ACCENTED = ["smörgåsbord", "Überprüfung", "crème brûlée"]


def make_documents(folder, name, *formats):
    made = f"{folder}/{name}"
    if not os.path.exists(f"{made}.needles.json"):
        shutil.rmtree(made, ignore_errors=True)
        print(f"making {made}", file=sys.stderr)
        subprocess.run([sys.executable, f"{HERE}/make_documents.py", made, "5000", *formats], check=True)
    return made


def path_of(line):
    """A line of recollq -b is a URL, one of rg -c has a count behind."""
    if line.startswith(b"file://"):
        return urllib.parse.unquote_to_bytes(line[len(b"file://"):])
    return line.rsplit(b":", 1)[0] if line.rsplit(b":", 1)[-1].isdigit() else line


def needle_case(Case, title, needle, documents, programs):
    class NeedleCase(Case):
        """Holds what each program found to the known places of a needle."""

        def check(self, folder):
            with open(f"{documents}.needles.json", encoding="utf-8") as file:
                places = {os.fsencode(f"{documents}/{name}") for name in json.load(file)[needle]}
            self.count = len(places)
            self.recalls = {}
            for name, command in self.programs.items():
                self.measure(folder, f"{folder}/output", command)
                found = set(self.hits(f"{folder}/output"))
                self.recalls[name] = f"{len(found & places)} of {len(places)}, {len(found - places)} wrong"
                if name == "kestrix" and found != places:
                    sys.exit(f"{title}: kestrix found {self.recalls[name]}")

        def report(self):
            super().report()
            print("\nFound: " + "; ".join(f"{name} {recall}" for name, recall in self.recalls.items()))

    return NeedleCase(title, programs, keep=path_of)


def size_of(place):
    files = [os.path.join(top, name) for top, _, names in os.walk(place) for name in names] or [place]
    return sum(os.path.getsize(file) for file in files)


def index_case(Case, documents, folder, kestrix):
    """Both begin with nothing in every round; what the last one leaves is asked below."""
    conf = f"{folder}/recoll"
    os.makedirs(conf, exist_ok=True)
    with open(f"{conf}/recoll.conf", "w", encoding="utf-8") as file:
        file.write(f"topdirs = {documents}\nloglevel = 1\n")

    class IndexCase(Case):
        def report(self):
            super().report()
            shown = json.loads(subprocess.run([kestrix, "catalog", "info", "documents", "--json"], check=True,
                                              capture_output=True).stdout)
            sizes = {"recoll": size_of(f"{conf}/xapiandb"), "kestrix": size_of(shown["file"])}
            print("\nIndex: " + ", ".join(f"{name} {size / 1e6:.0f} MB" for name, size in sizes.items()))

    # Its readers in Python want the system's interpreter, which has lxml.
    return IndexCase("indexing documents", {
        "recoll": ["env", "PATH=/usr/bin:/bin", "recollindex", "-c", conf, "-z"],
        "kestrix": ["sh", "-c", '"$0" catalog remove documents >/dev/null 2>&1; '
                    'exec "$0" catalog add "$1" --name documents --words', kestrix, documents],
    }, keep=lambda line: None)


def document_cases(Case, folder, kestrix):
    documents = make_documents(folder, "documents")
    texts = make_documents(folder, "texts", "txt")
    cases = [index_case(Case, documents, folder, kestrix)]

    def ask(needle):
        words = f'"{needle}"' if " " in needle else needle
        cases.append(needle_case(Case, f"{needle}: asking the index of documents", needle, documents, {
            "recoll": ["recollq", "-c", f"{folder}/recoll", "-n", "0-9999", "-b", words],
            "kestrix": [kestrix, "find", f': content "{needle}"', "--in", documents, "--source", "catalog"],
        }))

    for needle in ["zephyranthine", *ACCENTED, "yearly total"]:
        ask(needle)
    phrase = "yearly total"
    walk = [kestrix, "find", f': content "{phrase}"', "--source", "walk", "--in"]
    cases.append(needle_case(Case, "reading inside mixed documents", phrase, documents, {
        "one process a file": [f"{HERE}/extract_each.sh", documents, phrase],
        "kestrix": walk + [documents],
    }))
    rg = ["-i", "-F", "-c", "-uu", "--color", "never", phrase, texts]
    cases.append(needle_case(Case, "reading inside plain-text documents", phrase, texts, {
        "rg -j1": ["rg", "-j1", *rg],
        "kestrix": walk + [texts],
        "rg -j2": ["rg", "-j2", *rg],
        "ugrep -J1": ["ugrep", "-r", "-J1", "-i", "-F", "-c", "-m1,", "--color=never", phrase, texts],
    }))
    return cases
