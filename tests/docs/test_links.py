"""Every link of every page leads somewhere, and every file that a page names is there."""
import fnmatch
import os
import posixpath
import re
import unittest
import urllib.parse

import pages

unittest.TestCase.maxDiff = None

FOREIGN = re.compile(r"[a-z]+:", re.I)
# A path in code: it begins with a folder of the project.
PATH = re.compile(r"^[\w.*-]+(/[\w.*-]+)*/?$")
# Made by building, and what a reader makes.
MADE = ("build/",)


def exists(path):
    """A file or folder that is committed, or a pattern of such files."""
    path = path.rstrip("/")
    return any(name == path or name.startswith(path + "/") or fnmatch.fnmatch(name, path) for name in pages.tracked())


def targets(page):
    """Links that lead into the project: (line, file, anchor)."""
    for line, target in page.links:
        if FOREIGN.match(target):
            continue
        path, _, anchor = urllib.parse.unquote(target).partition("#")
        name = posixpath.normpath(posixpath.join(page.folder, path)) if path else page.name
        yield line, name, anchor


class LinkTest(unittest.TestCase):
    def test_there_are_pages_with_links(self):
        self.assertGreater(sum(len(page.links) for page in pages.all_pages()), 5)

    def test_each_link_leads_to_a_committed_file(self):
        dead = [f"{page.name}:{line}: {name}" for page in pages.all_pages() for line, name, _ in targets(page)
                if not exists(name)]
        self.assertEqual([], dead)

    def test_each_anchor_is_a_heading_of_its_page(self):
        known = {page.name: pages.anchors(page) for page in pages.all_pages()}
        dead = [f"{page.name}:{line}: {name}#{anchor}" for page in pages.all_pages()
                for line, name, anchor in targets(page) if anchor and anchor not in known.get(name, ())]
        self.assertEqual([], dead)

    def test_links_to_other_places_are_secure(self):
        plain = [f"{page.name}:{line}: {target}" for page in pages.all_pages() for line, target in page.links
                 if FOREIGN.match(target) and not target.startswith(("https:", "mailto:"))]
        self.assertEqual([], plain)

    def test_each_page_of_the_manual_is_reached_from_its_index(self):
        reached, ahead = set(), ["docs/README.md"]
        while ahead:
            name = ahead.pop()
            page = pages.manual().get(name)
            if name not in reached and page:
                reached.add(name)
                ahead += [target for _, target, _ in targets(page)]
        self.assertEqual(set(pages.manual()), reached)

    def test_the_readme_leads_to_the_manual(self):
        readme = next(page for page in pages.all_pages() if page.name == "README.md")
        self.assertIn("docs/README.md", [name for _, name, _ in targets(readme)])


class PathTest(unittest.TestCase):
    """What looks like a file of the project, in code."""

    folders = {name.split("/")[0] for name in pages.tracked() if "/" in name}

    def named(self, page):
        for line, code in page.inline_code:
            yield line, code
        for block in page.blocks:
            for word in re.findall(r"[\w./*-]+", block.text if block.language in ("", "sh", "bat", "ini") else ""):
                yield block.line, word

    def test_each_path_in_code_is_there(self):
        missing = []
        for page in pages.all_pages():
            for line, text in self.named(page):
                inside = PATH.match(text) and text.split("/")[0] in self.folders and "/" in text
                if inside and not text.startswith(MADE) and not exists(text):
                    missing.append(f"{page.name}:{line}: {text}")
        self.assertEqual([], missing)


if __name__ == "__main__":
    unittest.main()
