"""The plots of the page. Without matplotlib they are skipped, by exit status 77."""

import importlib.util
import pathlib
import re
import sys
import tempfile
import unittest

import made_up

import page
from results import Results

if importlib.util.find_spec("matplotlib") is None:
    sys.exit(77)

import plots


class PlotsTest(unittest.TestCase):
    def setUp(self):
        self.measured = Results([made_up.document(*made_up.complete())])

    def drawn(self):
        """The files by their names."""
        with tempfile.TemporaryDirectory() as folder:
            plots.write(self.measured, pathlib.Path(folder))
            self.measured.check()
            return {path.name: path.read_bytes() for path in pathlib.Path(folder).iterdir()}

    def test_are_those_of_the_page(self):
        text = page.page(self.measured, made_up.MACHINE, made_up.COUNTS)
        self.assertEqual(sorted(re.findall(r"!\[.*\]\((.*)\)", text)), sorted(self.drawn()))

    def test_are_the_same_for_the_same_results(self):
        self.assertEqual(self.drawn(), self.drawn())

    def test_are_small(self):
        for name, content in self.drawn().items():
            self.assertLess(len(content), 100_000, name)


if __name__ == "__main__":
    unittest.main()
