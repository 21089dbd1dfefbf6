"""Runs the tests of the whole desk, which need the built programs but no browser.

Arguments name modules or tests, as for unittest. QX_RECORDED_ORDERS is the built program.
"""

import os
import sys
import unittest

from timed_result import TimedResult

if "QX_RECORDED_ORDERS" not in os.environ:
    sys.exit("QX_RECORDED_ORDERS is missing; run these tests with ctest")
_MODULES = ["desk_load_test", "desk_refusals_test", "desk_nonsense_test", "desk_pages_test"]

if __name__ == "__main__":
    suite = unittest.defaultTestLoader.loadTestsFromNames(sys.argv[1:] or _MODULES)
    result = unittest.TextTestRunner(verbosity=2, resultclass=TimedResult).run(suite)
    sys.exit(0 if result.wasSuccessful() and result.testsRun > 0 else 1)
