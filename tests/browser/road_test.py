"""Scenarios that run both ways: by calls of the host's interface, and by clicks and keys in Chromium
on the page of the same add-on. The add-on gets the same events in the same order.

  road_test.py PROGRAM

PROGRAM is the add-on `recorded_orders`, which prints its events.
"""

import os
import pathlib
import re
import sys
import tempfile
import unittest

from page_fixture import start_browser
from road import Client, Road, menu_paths, until

_SCENARIOS = pathlib.Path(__file__).parent / "scenarios"
_ORDERS = pathlib.Path(__file__).parents[1] / "media" / "testdata"  # the user tests of the example
_LANGUAGES = {"English": 3, "Hebrew": 1}
_MENU_LINE = re.compile(r' *\S+ (".*"( popup| checked| disabled)*|separator.*)')
_PROGRAM = ""


class BothWays(unittest.TestCase):
    """Each test starts the add-on twice, on a new company each time."""

    maxDiff = None
    browser = None

    @classmethod
    def setUpClass(cls):
        cls.browser = start_browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="road-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.environment = dict(os.environ, QX_RUNTIME_DIR=str(self.folder / "run"),
                                QX_LOG_DIR=str(self.folder))

    # The log settings are what a scenario may change, so each run has its own.
    def start(self, company, more):
        connection = f"embedded:?db={self.folder / company}&{more}"
        settings = {"QX_LOG_SETTINGS": str(self.folder / f"{company}.toml")}
        client = Client(_PROGRAM, connection, self.environment | settings)
        self.addCleanup(client.kill)
        return client

    def by_calls(self, script, language):
        """Returns the events of a script that the host plays, and the tree of its menus."""
        play = self.folder / "script.play"
        play.write_text("start\nprint menus\n" + script, encoding="utf-8")
        client = self.start(f"calls{language}.db", f"language={language}&play={play}")
        self.assertEqual(0, client.wait())
        return client.events(), menu_paths(menu_lines(client.lines))

    def by_clicks(self, script, language, menus):
        client = self.start(f"clicks{language}.db", f"language={language}&web=127.0.0.1:0")
        self.browser.get(client.address())
        # Until the add-on has added its entries: that would close the menu that a step opens.
        until(lambda: self.browser.execute_script(
            "return document.querySelectorAll('.mainMenu .entry, .mainMenu .group').length;"
            ) == len(menus), "the page shows all menus")
        try:
            Road(self.browser, menus).walk(script)
        except Exception:
            print("the last events before the failure:", *client.events()[-12:], sep="\n  ")
            pictures = os.environ.get("QX_PICTURES")
            if pictures is not None:
                self.browser.save_screenshot(str(pathlib.Path(pictures) / "road-failed.png"))
            raise
        self.assertEqual(0, client.wait())
        return client.events()

    def check(self, scenario, folder=_SCENARIOS, least=20):
        script = (folder / f"{scenario}.play").read_text(encoding="utf-8")
        script = as_by_a_person(script.removeprefix("start\n"))
        for name, language in _LANGUAGES.items():
            with self.subTest(language=name):
                calls, menus = self.by_calls(script, language)
                self.assertGreaterEqual(len(calls), least)
                self.assertEqual(calls, self.by_clicks(script, language, menus))

    def test_an_order_is_vetoed_chosen_added_and_changed(self):
        self.check("orders")

    def test_a_customer_is_sought_sorted_and_chosen_from_the_list(self):
        self.check("choose_list")

    def test_the_log_settings_and_the_language_are_changed(self):
        self.check("settings")

    def test_the_forms_of_the_client_are_filled_in(self):
        self.check("client_forms")

    def test_an_order_is_added_with_a_customer_from_the_list(self):
        self.check("orders_form", _ORDERS)

    def test_a_double_number_is_asked_about(self):
        self.check("orders_again", _ORDERS)

    def test_a_rise_is_tried_out_twice(self):
        self.check("orders_rise", _ORDERS, least=7)


def as_by_a_person(script):
    """Returns the script with a click into each item before something is typed into it, unless the
    user comes there by the step before; and the client is ended by its menu. What the script prints
    is left out.
    """
    steps = []
    for step in script.splitlines():
        words = step.split(" ")
        if words[0] in ("print", "draw"):
            continue
        before = steps[-1].split(" ")[0] if steps else ""
        comes = before == "tab" or (steps and steps[-1] == " ".join(["press", *words[1:3]]))
        if words[0] == "type" and not comes:
            steps.append(f"press {words[1]} {words[2]}")
        steps.append("menu 101" if step == "shutdown" else step)
    return "\n".join(steps) + "\n"


def menu_lines(lines):
    """Returns the lines of the printed menus: a UID and a text in quotes, or "separator"."""
    return [line for line in lines if _MENU_LINE.fullmatch(line)]


if __name__ == "__main__":
    _PROGRAM = sys.argv.pop(1)
    unittest.main(verbosity=2)
