#!/usr/bin/env python3
"""Searches inside real documents, and does to searches and builds what happens to them on real disks.

    documents_test.py KESTRIX FOLDER_OF_SAMPLE_SCRIPTS SECONDS_TO_STOP_IN
"""
import glob
import itertools
import json
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

KESTRIX, SCRIPTS = sys.argv[1:3]
# It takes a fifth of a second; reading on to the end of the document would take ten minutes.
SECONDS_TO_STOP = 5
sys.dont_write_bytecode = True
sys.path.insert(0, SCRIPTS + "/../../bench/compare_tools")
import document_formats as formats  # noqa: E402


def helpers_of(program):
    children = []
    for task in glob.glob(f"/proc/{program.pid}/task/*/children"):
        try:
            with open(task, encoding="ascii") as file:
                children += [int(child) for child in file.read().split()]
        except OSError:
            pass  # the thread has ended
    return children


class Documents(unittest.TestCase):
    def setUp(self):
        base = tempfile.TemporaryDirectory(prefix="kestrix-documents-")
        self.addCleanup(base.cleanup)
        self.tree = base.name + "/tree"
        os.mkdir(self.tree)
        self.environment = dict(os.environ, KESTRIX_HOME=base.name + "/home", LC_ALL="C.UTF-8")

    def start(self, *arguments):
        return subprocess.Popen([KESTRIX, *arguments], env=self.environment, text=True, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE)

    def run_kestrix(self, *arguments):
        program = self.start(*arguments)
        output, errors = program.communicate(timeout=100)
        return program.returncode, output, errors

    def write(self, name, content):
        with open(f"{self.tree}/{name}", "wb") as file:
            file.write(content)

    def write_many(self, count):
        for i in range(count):
            kind = list(formats.FORMATS)[i % len(formats.FORMATS)]
            self.write(f"{i}.{kind}", formats.FORMATS[kind](f"Title {i}", ["needle of many"]))

    def found(self, line, source):
        _, output, errors = self.run_kestrix("find", line, "--in", self.tree, "--source", source, "--no-history")
        self.assertEqual(errors, "", line)
        return sorted(os.path.basename(path) for path in output.splitlines())

    def build(self, *arguments):
        code, _, errors = self.run_kestrix("catalog", *arguments)
        self.assertEqual(code, 0, errors)

    def failed(self):
        return dict(line.split("\t") for line in self.run_kestrix("catalog", "failed", "tree")[1].splitlines())

    def test_walk_and_catalog_find_the_same_and_the_catalog_also_when_the_disk_is_away(self):
        subprocess.run([sys.executable, "-B", SCRIPTS + "/formats_samples.py", self.tree], check=True)
        os.mkfifo(self.tree + "/pipe.pdf")
        os.mkfifo(self.tree + "/pipe.txt")
        if os.geteuid() == 0:
            os.mknod(self.tree + "/device.txt", 0o020600, os.makedev(1, 5))
        self.build("add", self.tree, "--words")
        readable = sorted([f"plain.{kind}" for kind in formats.FORMATS] + ["plain.emlx", "two_pages.pdf", "latin.html", "rich.doc"])
        lines = [': content "yearly total"', ': content "CAFE" whole words', ': content "total, naive" all words',
                 ': content "nothere, year" without "budget"']
        for line in lines:
            for source in ("walk", "catalog"):
                self.assertEqual(self.found(line, source), readable, source + line)
        self.assertEqual(self.found(': content "yearly" without "ends here"', "catalog"), [])
        self.assertEqual(self.found(': content "\u010daj"', "catalog"), ["latin.html"])
        self.assertEqual(self.found(': content "total" all files', "walk"),
                         self.found(': content "total" all files', "catalog"))
        reasons = {os.path.basename(path): reason for path, reason in self.failed().items()}
        self.assertEqual(sorted(reasons), sorted(
            [f"bomb_by_{way}.docx" for way in ("depth", "entities", "lie", "size", "tag")] + ["torn.docx", "wrapped.docx"] +
            [f"locked.{kind}" for kind in ("docx", "epub", "odt", "pdf")]))
        for kind in ("docx", "odt", "pdf"):
            self.assertIn("password", reasons["locked." + kind])
        os.rename(self.tree, self.tree + "-away")
        for line in lines:
            self.assertEqual(self.found(line, "catalog"), readable, line)
        self.assertEqual(self.found(': content "yearly" content "\u010daj"', "catalog"), ["latin.html"])
        _, output, _ = self.run_kestrix("find", lines[0], "--in", self.tree, "--source", "catalog", "--format", "json")
        self.assertEqual({json.loads(record)["presence"] for record in output.splitlines()}, {"offline"})

    def test_an_ocr_catalog_finds_the_text_in_pictures_and_a_long_document_can_be_stopped(self):
        subprocess.run([sys.executable, "-B", SCRIPTS + "/formats_samples.py", self.tree], check=True)
        for name in os.listdir(self.tree):
            if not name.startswith("scan."):
                os.remove(f"{self.tree}/{name}")
        self.build("add", self.tree, "--ocr")
        self.assertEqual(self.found(': content "file"', "catalog"), ["scan.pdf", "scan.png"])
        self.assertEqual(self.found(': content "little" use OCR', "walk"), ["scan.png"])
        self.assertEqual(self.found(': content "little"', "walk"), [])
        self.write("long.pdf", formats.pdf("Long", ["a line of a long document"] * 10_000, lines_a_page=20))
        for command in (["find", ': content "nothere" use OCR', "--in", self.tree, "--source", "walk"],
                        ["catalog", "update", "tree"]):
            program = self.start(*command)
            while not helpers_of(program):
                self.assertIsNone(program.poll(), command)
            time.sleep(0.5)  # into its 500 pages
            begun = time.monotonic()
            program.send_signal(signal.SIGINT)
            program.communicate(timeout=100)
            self.assertLess(time.monotonic() - begun, SECONDS_TO_STOP, command)
            self.assertEqual(program.returncode, 130, command)
        self.assertEqual(self.failed(), {})

    def test_a_helper_killed_now_and_then_costs_the_documents_it_was_reading_until_the_next_update(self):
        self.write_many(1000)
        kills = 0
        build = self.start("catalog", "add", self.tree, "--words")
        while build.poll() is None:
            time.sleep(random.uniform(0.005, 0.05))
            for helper in helpers_of(build)[:1]:
                try:
                    os.kill(helper, signal.SIGKILL)
                    kills += 1
                except ProcessLookupError:
                    pass
        build.communicate()
        self.assertEqual(build.returncode, 0)
        self.assertGreater(kills, 0)
        failed = self.failed()
        self.assertLessEqual(len(failed), kills, failed)
        self.assertEqual(len(self.found(': content "needle"', "catalog")), 1000 - len(failed))
        self.build("update", "tree")
        self.assertEqual(self.failed(), {})
        self.assertEqual(len(self.found(': content "needle"', "catalog")), 1000)

    def test_a_mirror_of_names_gets_its_words_also_when_that_was_stopped(self):
        self.write_many(1000)
        mirror = self.tree + "-mirror"
        self.build("add", self.tree, "--name", "names", "--mirror", mirror)
        self.build("remove", "names")
        for stop in (signal.SIGINT, signal.SIGKILL):
            copy = f"{mirror}-{stop}"
            shutil.copy(mirror, copy)
            build = self.start("catalog", "add", self.tree, "--words", "--mirror", copy)
            while not helpers_of(build):
                self.assertIsNone(build.poll())
            build.send_signal(stop)
            build.communicate()
            self.assertEqual(len(self.found(': content "needle"', "catalog")), 1000)
            self.build("update", "tree")
            os.rename(self.tree, self.tree + "-away")
            self.assertEqual(len(self.found(': content "needle"', "catalog")), 1000)
            os.rename(self.tree + "-away", self.tree)
            self.build("remove", "tree")

    def test_documents_that_grow_or_are_replaced_while_they_are_read_are_right_after_the_next_update(self):
        self.write_many(200)
        ended = threading.Event()

        def change():
            for number in itertools.count():
                self.write("new", formats.docx("New", [f"changed {number}"]))
                os.replace(self.tree + "/new", f"{self.tree}/{random.randrange(200)}.docx")
                for name, mode, content in (("growing.txt", "ab", b"grown needle\n" * 1000),
                                            (f"{random.randrange(200)}.html", "wb", b"<p>cut")):
                    with open(f"{self.tree}/{name}", mode) as file:
                        file.write(content)
                if ended.is_set():
                    return
        changer = threading.Thread(target=change)
        changer.start()
        try:
            self.build("add", self.tree, "--words")
            self.build("update", "tree")
            self.assertIn("growing.txt", self.found(': content "grown"', "walk"))
        finally:
            ended.set()
            changer.join()
        self.build("update", "tree")
        for word in ("needle", "changed", "grown needle", "title"):
            self.assertEqual(self.found(f': content "{word}"', "catalog"), self.found(f': content "{word}"', "walk"), word)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
