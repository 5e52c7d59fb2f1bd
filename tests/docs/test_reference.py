"""The reference pages: drawings, return codes and the words to look for in a log are those of the project."""
import functools
import json
import os
import re
import subprocess
import tempfile
import unittest

import pages

unittest.TestCase.maxDiff = None

BUILD = os.environ.get("ZANTIR_TEST_BUILD", os.path.join(pages.TOP, "build", "linux"))
DRAWINGS = os.path.join(pages.TOP, "docs", "drawings")
ERRORS = {"pt": "docs/pt/erros.md", "en": "docs/en/errors.md"}
LOGS = {"pt": "docs/pt/logs.md", "en": "docs/en/logs.md"}
# What the page says where the tool has no advice.
ACCEPTED = {"pt": "(aceito)", "en": "(accepted)"}
MESSAGE_SAYS = {"pt": "(a mensagem diz o motivo)", "en": "(the message says why)"}


def svg_files(folder):
    return sorted(name for name in os.listdir(folder) if name.endswith(".svg"))


class DrawingTest(unittest.TestCase):
    def draw(self, folder, sources=None):
        script = os.path.join(pages.TOP, "scripts", "docs-drawings")
        if sources is not None:
            # The script draws what stands beside it.
            top = os.path.join(folder, "top")
            os.makedirs(os.path.join(top, "docs", "drawings"))
            os.makedirs(os.path.join(top, "scripts"))
            with open(script, encoding="utf-8") as file, \
                    open(os.path.join(top, "scripts", "docs-drawings"), "w", encoding="utf-8") as copy:
                copy.write(file.read())
            with open(os.path.join(top, "docs", "drawings", "x.txt"), "w", encoding="utf-8") as file:
                file.write(sources)
            script = os.path.join(top, "scripts", "docs-drawings")
        return subprocess.run(["/usr/bin/python3", "-B", script, folder], capture_output=True, text=True, check=False)

    def test_each_drawing_is_what_its_source_gives(self):
        with tempfile.TemporaryDirectory() as folder:
            done = self.draw(folder)
            self.assertEqual((0, ""), (done.returncode, done.stderr))
            self.assertEqual(svg_files(DRAWINGS), svg_files(folder))
            self.assertEqual(6, len(svg_files(folder)))
            for name in svg_files(folder):
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    self.assertEqual(pages.read(f"docs/drawings/{name}"), file.read(), f"{name}: run scripts/docs-drawings")

    def test_a_label_without_room_is_refused(self):
        actors = "actor a A\nactor b B\n"
        for line in ("a > b " + "x" * 200, "a > c y", "nonsense"):
            with self.subTest(line=line), tempfile.TemporaryDirectory() as folder:
                done = self.draw(folder, actors + line + "\n")
                self.assertEqual(1, done.returncode)
                self.assertIn("x.txt:", done.stderr)

    def test_each_drawing_stands_in_the_page_of_its_language(self):
        shown = {}
        for page in pages.manual().values():
            for _, target in page.links:
                if target.endswith(".svg"):
                    shown[os.path.basename(target)] = page.name.split("/")[1]
        self.assertEqual({name: name.split(".")[1] for name in svg_files(DRAWINGS)}, shown)


class ReturnCodeTest(unittest.TestCase):
    @functools.cache
    def catalogue(self):
        source = pages.read("src/vko_sat_utils/return_codes.cpp")
        return [int(code) for code in re.findall(r'\{"\w+", (\d+), TO_AC,', source)]

    def explained(self, code, language):
        done = subprocess.run([os.path.join(BUILD, "zantir"), "codigo", str(code), "--json", "--lang", language],
                              capture_output=True, text=True, check=True)
        said = json.loads(done.stdout)
        advice = ACCEPTED[language] if said["sucesso"] else said["providencia"] or MESSAGE_SAYS[language]
        return [f"{code:05d}", said["mensagem"].strip(), advice]

    def test_each_code_of_the_catalogue_is_explained_as_the_tool_does(self):
        self.assertGreater(len(self.catalogue()), 100)
        for language, name in ERRORS.items():
            with self.subTest(language=language):
                rows = [row for table in pages.manual()[name].tables for row in table if re.fullmatch(r"\d{5}", row[0])]
                shown = [[cell.replace("\\*", "*").strip() for cell in row] for row in rows]
                self.assertEqual([self.explained(code, language) for code in self.catalogue()], shown)

    def test_each_command_has_its_heading(self):
        commands = set(re.findall(r"^EXPORTS?|\b([A-Z]\w+SAT|[A-Z]\w+)\s*$", pages.read("src/api/ZANTIR64.def"), re.M))
        commands -= {"", "VersaoDllZantir"}
        for name in ERRORS.values():
            headings = {text for level, text in pages.manual()[name].headings if level == 3 and not text.startswith("L[")}
            self.assertEqual(set(), headings - commands)
            self.assertEqual(16, len(headings))

    def test_what_the_endings_mean(self):
        """The rows about 000 to 099 hold for every command but those that they name."""
        for name in ERRORS.values():
            endings = {row[0]: row[1] for table in pages.manual()[name].tables for row in table if re.fullmatch(r"\d{3}", row[0])}
            self.assertEqual({"000", "001", "097", "098", "099"}, set(endings))
            for ending, meaning in endings.items():
                with self.subTest(page=name, ending=ending):
                    without = [prefix for prefix in range(4, 20) if prefix * 1000 + int(ending) not in self.catalogue()]
                    named = re.findall(r"`(\w+)`", meaning)
                    # 04001 exists, and means something else.
                    self.assertEqual(len(without) + (ending == "001"), len(named))


class LogWordTest(unittest.TestCase):
    """What a technician is told to look for is written somewhere, at the level that is shown."""

    def statements(self):
        for name in pages.tracked():
            if name.startswith("src/api/") and name.endswith(".cpp"):
                text = re.sub(r'"\s*\n\s*"', "", pages.read(name))
                for found in re.finditer(r"(?:_LOG\w*|LogWrite)\s*\(([^;]*);", text):
                    yield found.group(1)

    def test_each_word_is_written_at_its_level(self):
        statements = list(self.statements())
        self.assertGreater(len(statements), 50)
        for name in LOGS.values():
            table = next(table for table in pages.manual()[name].tables if len(table[0]) == 4)
            self.assertGreater(len(table), 10)
            for word, level, *_ in table[1:]:
                with self.subTest(page=name, word=word):
                    written = [text for text in statements if word.strip("`") in text]
                    self.assertNotEqual([], written)
                    self.assertEqual([], [text for text in written if f"VKO_LOG_{level}" not in text])


if __name__ == "__main__":
    unittest.main()
