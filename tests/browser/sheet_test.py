"""A sheet of `qxdesk form` in Chromium, opened from disk.

  sheet_test.py PROGRAM MODULE FORM

PROGRAM is `qxdesk`, MODULE has the texts of the document FORM.
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

from page_fixture import start_browser
from road import until

_ARGUMENTS = []


class Sheet(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = start_browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()

    def run_script(self, script):
        return self.browser.execute_script(script)

    def test_every_language_is_drawn_and_what_is_wide_is_marked(self):
        program, module, form = _ARGUMENTS
        with tempfile.TemporaryDirectory(prefix="sheet-") as folder:
            # A narrower button than the document's has no room for the longer words.
            source = pathlib.Path(form).read_text(encoding="latin-1")
            narrow = pathlib.Path(folder) / "form.xml"
            narrow.write_text(source.replace('width="65"', 'width="50"'), encoding="latin-1")
            sheet = pathlib.Path(folder) / "sheet.html"
            done = subprocess.run([program, "form", str(narrow), "--module", module,
                                   "--sheet", str(sheet)], capture_output=True, text=True,
                                  encoding="utf-8", check=False)
            self.assertEqual(1, done.returncode, done.stderr)
            self.assertIn("in German the text 'Abbrechen' takes", done.stderr)
            self.browser.get(sheet.as_uri())
            until(lambda: self.run_script("return document.querySelector('.sheet') !== null;"),
                  "the sheet is drawn")
        self.assertEqual(26, self.run_script("return document.querySelectorAll('.form').length;"))
        marked = self.run_script(
            "return [...document.querySelectorAll('.sheetForm')].filter("
            "(one) => one.querySelector('.item.wide') !== null)"
            ".map((one) => one.querySelector('h2').textContent);")
        self.assertIn("German (1031)", marked)
        self.assertNotIn("English (1033)", marked)
        self.assertEqual("rtl", self.run_script(
            "return document.querySelector('.sheetForm[aria-label^=Hebrew] .sheetDesk').dir;"))
        # No form lies over another one.
        self.assertTrue(self.run_script(
            "const boxes = [...document.querySelectorAll('.form')].map("
            "(one) => one.getBoundingClientRect());"
            "return boxes.every((a, i) => boxes.every((b, j) => i === j || a.right <= b.left ||"
            " b.right <= a.left || a.bottom <= b.top || b.bottom <= a.top));"))


if __name__ == "__main__":
    _ARGUMENTS = [sys.argv.pop(1) for _ in range(3)]
    unittest.main(verbosity=2)
