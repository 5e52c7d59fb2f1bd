"""The Markdown pages of the project, parsed: headings, links, tables, code.

A comment in front of a code block tells the tests what the reader need not know:

    <!-- file examples/c/consulta.c -->     the block is this whole file
    <!-- excerpt examples/c/venda.c -->     the block stands in this file, line by line
    <!-- needs pascal -->                   the toolchain of this example; the block is left out where it is missing
    <!-- exit 5 -->                         what the last command that fails in the block ends with
"""
import dataclasses
import functools
import os
import re
import subprocess
import unicodedata

from markdown_it import MarkdownIt

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
DIRECTIVE = re.compile(r"<!--\s*(file|excerpt|needs|exit)\s+(\S+)\s*-->")


@dataclasses.dataclass
class Block:
    """A block of code. `output` is that of the ```text block behind commands."""

    language: str
    text: str
    line: int
    fenced: bool
    directives: dict
    output: str = None


@dataclasses.dataclass
class Page:
    name: str  # from the top of the project
    headings: list  # (level, text)
    links: list  # (line, target), images too
    tables: list  # of rows, which are lists of cells as they are written
    blocks: list
    inline_code: list  # (line, text)

    @property
    def folder(self):
        return os.path.dirname(self.name)

    def commands(self):
        """The blocks that the reader types, in order."""
        return [block for block in self.blocks if block.language in ("sh", "bat")]


@functools.cache
def tracked():
    """The files of the project: what is committed, and what is about to be."""
    listed = subprocess.run(["git", "-C", TOP, "ls-files", "--cached", "--others", "--exclude-standard"],
                            check=True, capture_output=True, text=True)
    return frozenset(name for name in listed.stdout.splitlines() if os.path.exists(os.path.join(TOP, name)))


@functools.cache
def all_pages():
    return tuple(parse(name) for name in sorted(tracked()) if name.endswith(".md"))


def manual():
    """The pages of the documents, by name."""
    return {page.name: page for page in all_pages() if page.name.startswith("docs/")}


def read(name):
    with open(os.path.join(TOP, name), encoding="utf-8") as file:
        return file.read()


def plain(inline):
    """The text of a heading or a cell without its marks."""
    return "".join(child.content for child in inline.children or () if child.type in ("text", "code_inline"))


def anchors(page):
    """What may stand behind a "#": a heading in small letters, blanks as hyphens, punctuation dropped."""
    found = set()
    for _, text in page.headings:
        kept = [c for c in text.lower() if c in " -_" or unicodedata.category(c)[0] in "LN"]
        slug = "".join(kept).replace(" ", "-")
        count = 0
        while (f"{slug}-{count}" if count else slug) in found:
            count += 1
        found.add(f"{slug}-{count}" if count else slug)
    return found


def parse(name):
    page = Page(name, [], [], [], [], [])
    directives = {}
    tokens = MarkdownIt("commonmark").enable("table").parse(read(name))
    for at, token in enumerate(tokens):
        if token.type == "html_block":
            directives = dict(DIRECTIVE.findall(token.content))
            continue
        if token.type == "inline":
            take_inline(page, token, tokens[at - 1])
        elif token.type == "tr_open":
            page.tables[-1].append([])
        elif token.type == "table_open":
            page.tables.append([])
        elif token.type in ("fence", "code_block"):
            take_block(page, token, directives)
        directives = {}
    return page


def take_inline(page, token, opening):
    line = token.map[0] + 1 if token.map else 0
    if opening.type == "heading_open":
        page.headings.append((int(opening.tag[1:]), plain(token)))
    elif opening.type in ("th_open", "td_open"):
        page.tables[-1][-1].append(token.content)
    for child in token.children or ():
        if child.type == "code_inline":
            page.inline_code.append((line, child.content))
        target = child.attrGet("href") if child.type == "link_open" else child.attrGet("src")
        if target:
            page.links.append((line, target))


def take_block(page, token, directives):
    language = token.info.split()[0] if token.info.strip() else ""
    block = Block(language, token.content, token.map[0] + 1, token.type == "fence", directives)
    if language == "text" and page.blocks and page.blocks[-1].language in ("sh", "bat"):
        page.blocks[-1].output = block.text
    page.blocks.append(block)
