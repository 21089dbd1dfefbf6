"""Runs the tests of the page in one Chromium. Arguments name modules or tests, as for unittest."""

import sys
import unittest

import page_fixture
from timed_result import TimedResult

_MODULES = ["modules_test", "drawing_test", "keyboard_test", "typing_test", "matrix_test",
            "connection_test", "strange_texts_test", "panel_test", "pictures_test"]


if __name__ == "__main__":
    names = sys.argv[1:] or _MODULES
    try:
        suite = unittest.defaultTestLoader.loadTestsFromNames(names)
        result = unittest.TextTestRunner(verbosity=2, resultclass=TimedResult).run(suite)
    finally:
        page_fixture.stop_browser()
    sys.exit(0 if result.wasSuccessful() and result.testsRun > 0 else 1)
