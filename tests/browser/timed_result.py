"""What the programs that run tests print."""

import time
import unittest


class TimedResult(unittest.TextTestResult):
    """Prints the seconds of each test."""

    def startTest(self, test):
        self._begin = time.monotonic()
        super().startTest(test)

    def addSuccess(self, test):
        self.stream.write(f"{time.monotonic() - self._begin:.2f} s ")
        super().addSuccess(test)
