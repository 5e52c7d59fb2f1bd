"""The reference is there and whole, and a symbol without its text makes none."""
import html.parser
import os
import re
import shutil
import subprocess
import tempfile
import unittest

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PAGES = os.path.join(TOP, "build", "reference")


class Text(html.parser.HTMLParser):
    """What a page shows, and where its links lead."""

    def __init__(self, path):
        super().__init__()
        self.shown, self.links = "", []
        with open(path, encoding="utf-8") as file:
            self.feed(file.read())
        self.shown = re.sub(r"\s+", " ", self.shown)

    def handle_data(self, data):
        self.shown += data

    def handle_starttag(self, tag, attrs):
        if tag == "a":
            self.links += [value for name, value in attrs if name == "href"]


class PagesTest(unittest.TestCase):
    def test_every_function_has_its_entry(self):
        with open(os.path.join(TOP, "include", "zantir.h"), encoding="utf-8") as file:
            functions = re.findall(r"ZANTIR_CALL (\w+)\(", file.read())
        self.assertEqual(17, len(functions))
        page = Text(os.path.join(PAGES, "zantir_8h.html"))
        for name in functions:
            with self.subTest(name):
                self.assertRegex(page.shown, rf"◆ {name}\(\) char \* {name} \( ")
        self.assertIn("the activation code that the shop chooses, 8 to 32 characters", page.shown)
        self.assertIn("Copy the text before the next call", page.shown)

    def test_first_page_leads_to_the_header_and_says_what_else_is_public(self):
        page = Text(os.path.join(PAGES, "index.html"))
        self.assertIn("zantir_8h.html", page.links)
        for public in ("SAT.ini", "sat-emulator --help", "zantir --help", "ZANTIR64.dll"):
            self.assertIn(public, page.shown)

    def test_links_lead_somewhere(self):
        for name in filter(lambda name: name.endswith(".html"), os.listdir(PAGES)):
            for link in Text(os.path.join(PAGES, name)).links:
                if not re.match(r"https?:|javascript:|#", link):
                    self.assertTrue(os.path.exists(os.path.join(PAGES, link.split("#")[0])), f"{name}: {link}")


class MissingTextTest(unittest.TestCase):
    def make(self, old="", new=""):
        """Makes the reference of a copy of the header in which one text is another."""
        folder = tempfile.TemporaryDirectory(prefix="zantir-reference-")
        self.addCleanup(folder.cleanup)
        for name in ("include", "reference"):
            shutil.copytree(os.path.join(TOP, name), os.path.join(folder.name, name))
        os.makedirs(os.path.join(folder.name, "build"))
        header = os.path.join(folder.name, "include", "zantir.h")
        with open(header, encoding="utf-8") as file:
            text = file.read()
        self.assertIn(old, text)
        with open(header, "w", encoding="utf-8") as file:
            file.write(text.replace(old, new, 1))
        return subprocess.run(["doxygen", "reference/Doxyfile"], cwd=folder.name, capture_output=True, text=True,
                              env={**os.environ, "ZANTIR_VERSION": "1"}, check=False)

    def assert_refused(self, reason, *change):
        done = self.make(*change)
        self.assertNotEqual(0, done.returncode)
        self.assertRegex(done.stderr, reason)

    def test_unchanged_copy_is_accepted(self):
        done = self.make()
        self.assertEqual((0, ""), (done.returncode, done.stderr))

    def test_function_without_a_comment(self):
        with open(os.path.join(TOP, "include", "zantir.h"), encoding="utf-8") as file:
            comment = re.search(r"/\*\*(?:(?!\*/).)*\*/\n(?=char\* ZANTIR_CALL ExtrairLogs)", file.read(), re.DOTALL)
        self.assert_refused(r"Member ExtrairLogs.* is not documented", comment.group(), "")

    def test_parameter_without_a_text(self):
        self.assert_refused(r"parameter 'subComando'", " * @param subComando ", " * ")

    def test_text_of_a_parameter_that_is_not_there(self):
        self.assert_refused("argument 'cUf' of command @param is not found", "@param cUF", "@param cUf")

    def test_result_without_a_text(self):
        self.assert_refused("return type of member VersaoDllZantir is not documented", '@return "ZANTIR', '"ZANTIR')

    def test_constant_without_a_text(self):
        self.assert_refused("Member ZANTIR_LIMIT .* is not documented", "#ifdef __cplusplus\n}",
                            "#define ZANTIR_LIMIT 1\n#ifdef __cplusplus\n}")


if __name__ == "__main__":
    unittest.main()
