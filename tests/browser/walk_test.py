"""The user tests of the stock forms, walked by calls of the host's interface and by clicks and keys in
Chromium: the same tests hold, and each gives the same steps, results and events.

  walk_test.py PROGRAM LANGUAGE

PROGRAM is the test program of the stock forms and LANGUAGE English or Hebrew. An assertion on an
English text fails in Hebrew; then it has to fail by clicks as it does by calls, and the events have
to be those in English.
"""

import os
import sys
import unittest

import walk
from page_fixture import start_browser

_LANGUAGES = {"English": 3, "Hebrew": 1}
_PROGRAM = ""
_LANGUAGE = ""

# Tests that are not walked.
_LEFT_OUT = {
    "RefusedFormCall.*": "the host refuses one call after the other, those of this walk, too; its"
                         " users only close what is left",
}

# Tests that take too long to be walked twice.
_ONLY_IN_ENGLISH = {
    "ChooseListRows.OfAHundredThousandRowsSortsFindsAndChooses":
        "the sort alone takes as long as the walks of many other tests",
}

# Tests with a step that a page keeps from its user although the host would take it by a call.
_NOT_OFFERED = {
    "ChooseListRows.EveryRecordCommandLeavesItInOkMode":
        "a popup of the menu bar opens, which is no choice of an entry",
    "ChooseListRows.ThatItsUserClosesWhileItOpensIsReportedToTheCaller":
        "a form that has not been shown yet has no close box",
    "InitProgress.EveryOperationAfterTheUserClosedTheFormOpensANewOne":
        "a form that has been hidden has no close box",
    "LogSettingsForm.LeavesOtherValidationsAlone":
        "a page sends no validation of a combo box, which the user leaves by the tab key",
}
_BY_A_CALL = "< only by a call"


class Walks(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.browser = start_browser()
        walk.witness(cls.browser)
        left_out = _LEFT_OUT if _LANGUAGE == "English" else _LEFT_OUT | _ONLY_IN_ENGLISH
        cls.calls = cls.walk(None, "English", ["*"], left_out)
        cls.english = cls.calls.walked
        tests = sorted(cls.english)
        if _LANGUAGE != "English":
            cls.calls = cls.walk(None, _LANGUAGE, tests)
        cls.clicks = cls.walk(cls.browser, _LANGUAGE, tests)
        steps = sum(line.startswith("> ") for lines in cls.clicks.walked.values() for line in lines)
        print(f"walked {len(cls.clicks.walked)} tests with {steps} steps", file=sys.stderr)

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()

    @staticmethod
    def walk(browser, language, tests, left_out=()):
        filters = ":".join(tests) + ("-" + ":".join(left_out) if left_out else "")
        one = walk.Walk([_PROGRAM, f"--gtest_filter={filters}"], browser, _LANGUAGES[language])
        one.run()
        return one

    def test_the_same_assertions_hold_by_clicks(self):
        self.assertEqual(self.calls.failures, self.clicks.failures)
        self.assertEqual(self.calls.code, self.clicks.code)

    def test_all_assertions_hold_in_english(self):
        if _LANGUAGE == "English":
            self.assertEqual({}, self.calls.failures)

    def test_each_test_has_the_same_events_by_clicks(self):
        self.assertGreater(len(self.calls.walked), 70)
        self.assertEqual(set(self.calls.walked), set(self.clicks.walked))
        for test, calls in self.calls.walked.items():
            with self.subTest(test=test):
                clicks = self.clicks.walked[test]
                if test in _NOT_OFFERED:
                    clicks = with_calls(clicks, calls)
                self.assert_equal_lines(calls, clicks, test, ("by calls", "by clicks"))

    def test_each_test_has_the_same_events_in_every_language(self):
        for test, lines in self.calls.walked.items():
            with self.subTest(test=test):
                self.assert_equal_lines(without_texts(self.english[test]), without_texts(lines),
                                        test, ("in English", f"in {_LANGUAGE}"))

    def test_each_step_that_is_not_offered_is_listed_and_no_other(self):
        found = {test for test, lines in self.clicks.walked.items() if _BY_A_CALL in lines}
        self.assertEqual(set(_NOT_OFFERED), found, "\n".join(self.clicks.absences))

    def assert_equal_lines(self, first, second, test, names):
        """Fails with the first line that differs and the lines before it."""
        for at in range(max(len(first), len(second))):
            pair = [lines[at] if at < len(lines) else "nothing more" for lines in (first, second)]
            if pair[0] != pair[1]:
                before = "".join(f"\n  {line}" for line in first[max(0, at - 8):at])
                self.fail(f"{test}: after{before}\n{names[0]}: {pair[0]}\n{names[1]}: {pair[1]}")


def with_calls(clicks, calls):
    """Returns the lines with the results by calls of the steps that only a call has done."""
    results = [line for line in calls if line.startswith("< ")]
    out = []
    for line in clicks:
        result = results.pop(0) if line.startswith("< ") and results else line
        out.append(result if line == _BY_A_CALL else line)
    return out


def without_texts(lines):
    """Returns the lines without the texts that are in the user's language."""
    return ["event status" if line.startswith("event status ") else line for line in lines]


if __name__ == "__main__":
    _LANGUAGE = sys.argv.pop()
    _PROGRAM = sys.argv.pop()
    if _LANGUAGE not in _LANGUAGES or not os.access(_PROGRAM, os.X_OK):
        sys.exit("usage: walk_test.py PROGRAM English|Hebrew")
    unittest.main(verbosity=2)
