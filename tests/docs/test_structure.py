"""The two languages of the manual say the same in the same order, and show no program that is not run."""
import os
import unittest

import pages

unittest.TestCase.maxDiff = None

# What a block may hold. sh and bat are run; text is their output or a file's content.
RUN = {"sh", "bat"}
DATA = {"text", "ini", "json", "xml"}
PROGRAMS = {"c", "cpp", "csharp", "pascal", "python", "js", "java"}


def translated():
    """The pages in Portuguese with those in English; each links to the other in its first lines."""
    manual = pages.manual()
    for name in sorted(manual):
        if name.startswith("docs/pt/"):
            yield manual[name], partner(manual[name])


def partner(page):
    other = "../en/" if page.name.startswith("docs/pt/") else "../pt/"
    for line, target in page.links:
        if line <= 5 and target.startswith(other):
            return pages.manual().get(os.path.normpath(os.path.join(page.folder, target)))
    return None


def shape(page):
    return {
        "headings": [level for level, _ in page.headings],
        "tables": [[len(row) for row in table] for table in page.tables],
        "blocks": [block.language for block in page.blocks],
        "programs": [block.directives.get("file") or block.directives.get("excerpt") for block in page.blocks],
        "outputs": [block.output is not None for block in page.commands()],
    }


class TranslationTest(unittest.TestCase):
    def test_each_page_has_its_partner_and_is_its_partners(self):
        alone = []
        for name, page in pages.manual().items():
            if name == "docs/README.md":
                continue
            other = partner(page)
            if other is None or partner(other) is not page:
                alone.append(name)
        self.assertEqual([], alone)

    def test_both_have_the_same_headings_tables_and_blocks(self):
        for portuguese, english in translated():
            if english is None:
                continue
            with self.subTest(page=portuguese.name):
                self.assertEqual(shape(portuguese), shape(english))


class BlockTest(unittest.TestCase):
    def test_each_block_of_the_manual_says_what_it_holds(self):
        wrong = [f"{page.name}:{block.line}: {block.language or 'no language'}" for page in pages.manual().values()
                 for block in page.blocks if not block.fenced or block.language not in RUN | DATA | PROGRAMS]
        self.assertEqual([], wrong)

    def test_each_program_stands_in_an_example(self):
        for page in pages.all_pages():
            for block in page.blocks:
                if block.language not in PROGRAMS:
                    continue
                with self.subTest(page=page.name, line=block.line):
                    whole, part = block.directives.get("file"), block.directives.get("excerpt")
                    self.assertTrue((whole or part) in pages.tracked(), whole or part or "no example is named")
                    if whole:
                        self.assertEqual(pages.read(whole), block.text)
                    else:
                        self.assertTrue("\n" + block.text in "\n" + pages.read(part), f"{part} has no\n{block.text}")


if __name__ == "__main__":
    unittest.main()
