"""The page of "zantir log --html" in a real browser; skipped without one, unless ZANTIR_TEST_BROWSER names it."""
import os
import re
import shutil
import struct
import subprocess
import tempfile
import unittest

from cases import FolderCase
from program import run

HERE = os.path.dirname(os.path.abspath(__file__))
DEMANDED = os.environ.get("ZANTIR_TEST_BROWSER")
CHROMIUM = DEMANDED or shutil.which("chromium")
QUIET = ["--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-background-networking",
         "--disable-component-update", "--disable-sync", "--virtual-time-budget=4000"]


@unittest.skipUnless(CHROMIUM, "no chromium")
class PageTest(FolderCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        if not shutil.which(CHROMIUM):
            raise AssertionError(f"{CHROMIUM} is not there")
        cls.page = cls.path("day.html")
        run(cls.folder, "log", "20261120", "--pasta", os.path.join(HERE, "samples", "mode2"), "--html", cls.page)

    def browse(self, *arguments, page=None):
        profile = tempfile.mkdtemp(dir=self.folder)
        return subprocess.run([CHROMIUM, *QUIET, f"--user-data-dir={profile}", *arguments, "file://" + (page or self.page)],
                              capture_output=True, timeout=120)

    def dom(self, page=None):
        return self.browse("--dump-dom", page=page).stdout.decode("utf-8")

    def with_script(self, script):
        """The page after a script that stands for the technician's hand."""
        with open(self.page, encoding="utf-8") as file:
            text = file.read()
        changed = self.path("changed.html")
        with open(changed, "w", encoding="utf-8") as file:
            file.write(text.replace("</body>", f"<script>{script}</script></body>"))
        return self.dom(changed)

    def test_every_exchange_is_drawn_and_listed(self):
        dom = self.dom()
        self.assertEqual(8, len(re.findall("<article", dom)))
        self.assertEqual(8, len(re.findall("<rect", dom)))
        self.assertIn("Registros do SAT, 20/11/2026", dom)
        self.assertNotIn("12345678|", dom)

    def test_filters_leave_what_fits(self):
        refused = self.with_script("""
            for (const box of document.querySelectorAll("#outcomes input")) box.checked = box.value === "recusado";
            document.getElementById("filters").dispatchEvent(new Event("input"));""")
        self.assertEqual(1, len(re.findall("<article", refused)))
        sale = self.with_script("""
            document.getElementById("command").value = "EnviarDadosVenda";
            document.getElementById("filters").dispatchEvent(new Event("input"));""")
        self.assertEqual(1, len(re.findall("<article", sale)))
        found = self.with_script("""
            document.getElementById("search").value = "NENHUMA resposta dentro";
            document.getElementById("filters").dispatchEvent(new Event("input"));""")
        self.assertEqual(1, len(re.findall("<article", found)))

    def test_lines_are_one_click_away(self):
        self.assertNotIn("<pre>", self.dom())
        opened = self.with_script('document.querySelector("summary").click();')
        self.assertIn("PC-&gt;SAT &gt;&gt;", opened.split("<pre>")[1].split("</pre>")[0])

    def test_picture_shows_more_than_one_colour(self):
        picture = self.path("page.png")
        self.browse(f"--screenshot={picture}", "--window-size=1200,1600")
        with open(picture, "rb") as file:
            data = file.read()
        self.assertEqual(b"\x89PNG", data[:4])
        self.assertEqual((1200, 1600), struct.unpack(">II", data[16:24]))
        # An empty page compresses to a few thousand bytes.
        self.assertGreater(len(data), 30000)


if __name__ == "__main__":
    unittest.main()
