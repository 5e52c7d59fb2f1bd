"""Every command of the manual is run as the reader would, and prints what the page says.

ZANTIR_TEST_LANGUAGES names the examples' toolchains that must be there; commands of others are left out where something
is missing. ZANTIR_TEST_PAGES limits the run to the pages whose names contain it.
"""
import os
import sys
import tempfile
import unittest

import pages
from session import BLOCK_SECONDS, CommandPrompt, Folder, Shell, WINDOWS, matches, waiting

sys.path.insert(0, os.path.join(pages.TOP, "tests", "examples"))
from languages import LANGUAGES  # noqa: E402

MISSING = {language.name: language.missing() for language in LANGUAGES}
DEMANDED = os.environ.get("ZANTIR_TEST_LANGUAGES", "").split(",")
ONLY = os.environ.get("ZANTIR_TEST_PAGES", "")


class PatternTest(unittest.TestCase):
    def test_an_output_is_matched_line_by_line(self):
        self.assertTrue(matches("a\nb\n", "a\nb\n"))
        self.assertFalse(matches("a\nb\n", "a\nc\n"))
        self.assertFalse(matches("a\n", "a\nb\n"))

    def test_dots_stand_for_characters_and_for_lines(self):
        self.assertTrue(matches("a ... z\n...\nend\n", "a b c z\n1\n2\nend\n"))
        self.assertFalse(matches("a ... z\nend\n", "a b c z\n1\nend\n"))

    def test_times_may_differ_and_codes_may_not(self):
        self.assertTrue(matches("12:00:00 08000 em 10 ms\n", "18:30:01 08000 em 7 ms\n"))
        self.assertFalse(matches("12:00:00 08000 em 10 ms\n", "18:30:01 08098 em 7 ms\n"))


class PageCase:
    """The commands of one page; a class for each is made below."""

    page = None

    def test_its_commands_print_what_it_says(self):
        blocks = self.page.commands()
        if any(block.language == "bat" for block in blocks) and not os.path.exists(os.path.join(WINDOWS, "zantir.exe")):
            blocks = [block for block in blocks if block.language != "bat"]
        with tempfile.TemporaryDirectory(prefix="zantir-docs-") as path:
            folder, terminals = Folder(path), {}
            try:
                for block in blocks:
                    if self.wanted(block):
                        terminal = {"sh": Shell, "bat": CommandPrompt}[block.language]
                        if block.language not in terminals:
                            terminals[block.language] = terminal(folder)
                        self.check(folder, terminals[block.language], block)
            finally:
                for terminal in terminals.values():
                    terminal.close()

    def wanted(self, block):
        language = block.directives.get("needs")
        missing = MISSING[language] if language else []
        if missing and language in DEMANDED:
            self.fail(f"{language} needs {missing}")
        return not missing

    def check(self, folder, terminal, block):
        status, output = terminal.run(block)
        where = f"{self.page.name}:{block.line}"
        self.assertIsNotNone(status, f"{where}: not at an end after {BLOCK_SECONDS} s\n{block.text}")
        printed = self.wait_for(folder, block, output)
        self.assertEqual(int(block.directives.get("exit", 0)), status, f"{where}\n{block.text}\n{printed}")
        if block.output is not None and not matches(block.output, printed):
            self.fail(f"{where}: printed\n{printed}\ninstead of\n{block.output}")

    def wait_for(self, folder, block, output):
        """What was printed; a program in the background may not have come so far at once."""
        deadline = waiting.Deadline(waiting.SOON)
        while True:
            with open(output, encoding="utf-8", errors="replace") as file:
                printed = folder.shown(file.read())
            if block.output is None or matches(block.output, printed) or deadline.passed():
                return printed
            if not self.in_background(block):
                return printed
            waiting.time.sleep(0.02)

    @staticmethod
    def in_background(block):
        return any(line.rstrip().endswith("&") or line.startswith("start ") for line in block.text.splitlines())

    def test_what_runs_in_the_background_says_when_it_is_ready(self):
        """Nothing else tells the next command that it may begin."""
        silent = [f"{self.page.name}:{block.line}" for block in self.page.commands()
                  if self.in_background(block) and block.output is None]
        self.assertEqual([], silent)


for _name, _page in pages.manual().items():
    if _page.commands() and ONLY in _name:
        _class = "Page_" + _name[len("docs/"):-len(".md")].replace("/", "_").replace("-", "_")
        globals()[_class] = type(_class, (PageCase, unittest.TestCase), {"page": _page})


if __name__ == "__main__":
    unittest.main()
