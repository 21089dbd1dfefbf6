"""The steps of a test program (testing/walk.h), done by clicks and keys in Chromium while it runs.

A program that walks prints its steps, their results and the events of its clients. In a walk by
clicks it also asks for each step, and this process does the step on the page of the newest client.
The outcome is what the host has answered to the page. A test's handler may ask for a step during
a step, so waiting for one serves the next.
"""

import json
import os
import pathlib
import re
import select
import subprocess
import tempfile
import time

from road import Road, menu_paths
from selenium.common.exceptions import WebDriverException
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

_SECONDS = 30
_VERBS = {"menu", "press", "click", "doubleclick", "rightclick", "type", "key", "tab", "validate",
          "choose", "close", "select", "language"}
_TEST_LINE = re.compile(r"\[ RUN      \] (\S+)")

# Notes what the page says and what the host answers, before any script of the page runs. A fence is
# a harmless request of this process: its answer means that the page has got all that was sent
# before. The page never sees that answer.
_WITNESS = """
(() => {
  const witness = { actions: [], answered: new Map(), fence: 1e9, passed: 1e9, socket: null,
    clicksTwice: false };
  window.witness = witness;
  const answer = (event) => {
    const message = JSON.parse(event.data);
    if (message.re === undefined) return;
    if (message.re > 1e9) {
      witness.passed = message.re;
      event.stopImmediatePropagation();
      return;
    }
    const refused = message.result === "refused" ? "refused " + message.code : message.result;
    witness.answered.set(message.re, message.is === "rows" ? "done" : refused);
  };
  window.WebSocket = class extends WebSocket {
    constructor(...all) {
      super(...all);
      witness.socket = this;
      this.addEventListener("message", answer);
    }
    send(text) {
      const action = JSON.parse(text);
      if (action.id <= 1e9) witness.actions.push([action.id, action.do]);
      super.send(text);
    }
  };
  // While a hand is clicking twice, no timer of the page ends: a slow machine is no slow hand.
  const timers = new Map();
  const { setTimeout, clearTimeout } = window;
  let lastTimer = 0;
  window.setTimeout = (call, milliseconds, ...rest) => {
    const id = (lastTimer += 1);
    const end = () => {
      if (witness.clicksTwice) return timers.set(id, setTimeout(end, 5));
      timers.delete(id);
      return call(...rest);
    };
    timers.set(id, setTimeout(end, milliseconds));
    return id;
  };
  window.clearTimeout = (id) => {
    clearTimeout(timers.get(id));
    timers.delete(id);
  };
  const newest = (known) => witness.actions.filter(([id]) => !known.includes(id));
  const isQuiet = (fence, known) => witness.passed >= fence &&
    newest(known).every(([id]) => witness.answered.has(id));
  const build = () => {
    witness.fence += 1;
    witness.socket.send(JSON.stringify({ do: "panel", id: witness.fence, shown: false }));
    return witness.fence;
  };
  // Waits a moment at most, since the program may ask for another step meanwhile. A fence that is 0
  // is built first.
  witness.look = (built, known, done) => {
    const fence = built || build();
    const end = performance.now() + 100;
    const look = () => {
      const quiet = isQuiet(fence, known);
      if (!quiet && performance.now() < end) return setTimeout(look, 2);
      return done([fence, quiet,
        newest(known).map(([id, what]) => [id, what, witness.answered.get(id) ?? null])]);
    };
    look();
  };
  // Waits for an action, but no longer than a click waits for the second one of a double click. Of
  // two timers of a page the one that is due first ends first, however slow the machine is.
  witness.await = (known, done) => {
    let isOver = false;
    setTimeout(() => { isOver = true; }, 300);
    const look = () => {
      if (newest(known).length > 0 || isOver) done(null);
      else setTimeout(look, 5);
    };
    look();
  };
  witness.known = () => witness.actions.map(([id]) => id);
})();
"""


class Absent(Exception):
    """The page does not offer what the step acts on."""


class StepRoad(Road):
    """A road whose page has drawn all that the host has sent, so what is not there is absent."""

    settle = None  # waits until the host has answered

    def _hit(self, target, clicks=1):
        place = self._place(target)
        if place is None and (title := self._seen_of_title(target)) is not None:
            # A person brings the window to the front first, which is what the click would do.
            self._click_at(*title)
            self.settle()
            place = self._place(target)
        if place is None:
            raise Absent("other windows cover it")
        if clicks == 2:
            self._click_twice_at(*place)
        else:
            self._click_at(*place)

    def _click_twice_at(self, x, y):
        self._run("window.witness.clicksTwice = true;")
        self._click_at(x, y)
        self._click_at(x, y, 2)
        self._run("window.witness.clicksTwice = false;")

    # A click is the first of its kind or the second one, however fast it follows another.
    def _click_at(self, x, y, count=1):
        for kind, button in (("mouseMoved", "none"), ("mousePressed", "left"),
                             ("mouseReleased", "left")):
            self.browser.execute_cdp_cmd("Input.dispatchMouseEvent", {
                "type": kind, "x": x, "y": y, "button": button, "clickCount": count})

    # Returns a place of the title bar of the target's window that no other window covers, or null.
    def _seen_of_title(self, target):
        return self._run(
            "const title = arguments[0].closest('.form')?.querySelector('.titleBar');"
            "if (!title) return null;"
            "const box = title.getBoundingClientRect(), y = box.top + box.height / 2;"
            "for (let x = box.left + 3; x < box.right; x += 5) {"
            "  const hit = document.elementFromPoint(x, y);"
            "  if (title.contains(hit) && hit.closest('button') === null) return [x, y];"
            "}"
            "return null;", target)

    # Returns the middle of the target, or null if something covers it there.
    def _place(self, target):
        return self._run(
            "const [target] = arguments;"
            "target.scrollIntoView({ block: 'nearest', inline: 'nearest' });"
            "const box = target.getBoundingClientRect();"
            "const at = [box.left + box.width / 2, box.top + box.height / 2];"
            "const hit = document.elementFromPoint(...at);"
            "return target.contains(hit) || hit?.contains(target) ? at : null;", target)

    def do(self, step):
        verb, _, rest = step.partition(" ")
        if verb not in _VERBS:
            raise Absent("no page does this")
        getattr(self, f"_{verb}")(rest.split(" "), rest)

    def _one(self, find, what, *arguments):
        script = find if "return" in find else f"return {find};"
        found = self._run(script, *arguments)
        if found is None:
            raise Absent(f"{what} is not on the page")
        return found

    # A popup of the menu bar opens, which is no action.
    def _menu(self, words, rest):
        path = self.menus[words[0]]
        if len(path) > 1:
            super()._menu(words, rest)
        else:
            self._hit(self._menu_part("#menuBar [role=menuitem]", path[0]))
            self._keys(Keys.ESCAPE)

    def _has_focus(self, words):
        if not self._run(
                "const at = document.activeElement?.closest('.item');"
                "return at?.dataset.form === arguments[0] && at.dataset.item === arguments[1];",
                *words[:2]):
            raise Absent(f"item {words[1]} of {words[0]} has no focus")

    def _doubleclick(self, words, _rest):
        is_cell = len(words) > 2 and words[2] != ""
        self._hit(self._cell(words) if is_cell else self._item(words[0], words[1]), 2)

    def _type(self, words, rest):
        self._has_focus(words)
        now, text = self._run("return document.activeElement.value;"), rest.split(" ", 2)[2]
        if now:
            ActionChains(self.browser, duration=0).key_down(Keys.CONTROL).send_keys("a").key_up(
                Keys.CONTROL).perform()
        # A letter in place of an equal text is no change, so that text is removed first.
        if now and (not text or text[0] == now):
            self._keys(Keys.DELETE)
        if text:
            self._keys(text)

    # A click beside all items leaves the item that has the focus.
    def _validate(self, words, _rest):
        self._has_focus(words)
        client = self._in_window(words[0], ".formClient")
        place = self._run(
            "const [client] = arguments, box = client.getBoundingClientRect();"
            "for (let y = box.bottom - 3; y > box.top; y -= 4)"
            " for (let x = box.right - 3; x > box.left; x -= 4)"
            "  if (document.elementFromPoint(x, y) === client)"
            "   return [x - box.left - box.width / 2, y - box.top - box.height / 2];"
            "return null;", client)
        if place is None:
            raise Absent(f"{words[0]} has no empty place")
        ActionChains(self.browser, duration=0).move_to_element_with_offset(
            client, round(place[0]), round(place[1])).click().perform()


class Program:
    """A program that walks. Its lines are read as they come."""

    def __init__(self, command, environment):
        self.process = subprocess.Popen(command, env=environment, stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE)
        self._read = b""
        os.set_blocking(self.process.stdout.fileno(), False)

    def line(self, seconds):
        """Waits so long for the next line and returns it, None if none came, or "" at the end."""
        while b"\n" not in self._read:
            if not select.select([self.process.stdout], [], [], seconds)[0]:
                return None
            data = os.read(self.process.stdout.fileno(), 65536)
            if not data:
                return ""
            self._read += data
        line, _, self._read = self._read.partition(b"\n")
        return line.decode(errors="replace") + "\n"

    def answer(self, text):
        self.process.stdin.write((text + "\n").encode())
        self.process.stdin.flush()

    def end(self):
        """Ends the program if it runs, and returns its exit code."""
        if self.process.poll() is None:
            self.process.kill()
        code = self.process.wait(_SECONDS)
        self.process.stdin.close()
        self.process.stdout.close()
        return code


class Walk:
    """Runs a test program. `walked` are the lines of each test that has made a step."""

    def __init__(self, command, browser, language):
        self._folder = tempfile.TemporaryDirectory(prefix="walk-")
        self._results = pathlib.Path(self._folder.name) / "results.json"
        environment = dict(os.environ, QX_WALK="calls" if browser is None else "clicks",
                           QX_WALK_LANGUAGE=str(language))
        self._program = Program([*command, f"--gtest_output=json:{self._results}"], environment)
        self._browser = browser
        self._road = None
        self._address = None
        self._tree = []
        self._of_other_steps = []
        self._test = None
        self._lines = {}
        self.absences = []

    def run(self):
        """Runs the program to its end."""
        try:
            while (line := self._program.line(None)) != "":
                self._take(line.rstrip("\n"))
            self.code = self._program.process.wait(_SECONDS)
            self.failures = _failures(self._results)
        finally:
            self._program.end()
            self._folder.cleanup()
        self.walked = {test: lines for test, lines in self._lines.items()
                       if any(line.startswith("> ") for line in lines)}

    def _take(self, line):
        if started := _TEST_LINE.match(line):
            self._test = started[1]
            self._lines[self._test] = []
        elif line.startswith("open http://"):
            self._address = line.split()[1]
        elif line.startswith("walk tree "):
            self._tree.append(line.removeprefix("walk tree "))
        elif line.startswith("walk ask "):
            number, _, step = line.removeprefix("walk ask ").partition(" ")
            self._program.answer(f"{number} {self._outcome(step)}")
        elif line.startswith("walk "):
            self._lines[self._test].append(line.removeprefix("walk "))

    def _outcome(self, step):
        try:
            return self._do(step)
        except Absent as missing:
            self.absences.append(f"{self._test}: '{step}': {missing}")
            return "absent"
        except (AssertionError, LookupError, WebDriverException) as error:
            self._keep_picture()
            return "failed " + " ".join(str(error).split())

    def _keep_picture(self):
        if pictures := os.environ.get("QX_PICTURES"):
            name = f"walk-failed-{self._test}.png"
            self._browser.save_screenshot(str(pathlib.Path(pictures) / name))

    def _do(self, step):
        verb, _, rest = step.partition(" ")
        self._enter()
        known = self._run("return window.witness.known();")
        self._until_quiet(known)
        if self._tree:
            self._road.menus, self._tree = menu_paths(self._tree), []
        self._road.settle = lambda: self._until_quiet(known)
        self._road.do(step)
        if verb in ("click", "press"):
            self._until_sent(known)
        actions = self._until_quiet(known)
        if not actions and not self._is_idle(verb, rest):
            raise Absent("the page sends nothing")
        failed = [outcome for outcome in actions if outcome != "done"]
        return failed[-1] if failed else "done"

    # A step that changes nothing is no action of a page.
    def _is_idle(self, verb, rest):
        words = rest.split(" ", 2)
        if verb == "select":
            return self._road._form("*") == words[0]
        return verb == "type" and words[2] == ""

    # Opens the page of a client that has not been seen yet.
    def _enter(self):
        if self._address is None:
            return
        self._browser.get(self._address)
        self._address = None
        self._of_other_steps = []
        self._road = StepRoad(self._browser, {})
        self._until(lambda: self._run(
            "return document.querySelector('#menuBar [role=menuitem]') !== null;"),
            "the page is drawn")

    def _run(self, script, *arguments):
        return self._browser.execute_script(script, *arguments)

    # Some clicks wait in the page for a second one, which would make a double click of them.
    def _until_sent(self, known):
        self._browser.execute_async_script("window.witness.await(...arguments);",
                                           known + self._of_other_steps)

    def _until_quiet(self, known):
        """Waits until the page has got all that the host has sent so far, and the answer to each
        action that is not known; all of them are known then.

        Returns the outcomes of those of the user. The actions of a step that was made meanwhile
        belong to that step.
        """
        fence, new = 0, []

        def is_quiet():
            nonlocal fence, new
            fence, quiet, new = self._browser.execute_async_script(
                "window.witness.look(...arguments);", fence, known + self._of_other_steps)
            return quiet

        self._until(is_quiet, "the page is quiet")
        known += [id_ for id_, _, _ in new]
        self._of_other_steps += [id_ for id_, _, _ in new]
        return [outcome for _, what, outcome in new if what not in ("rows", "panel")]

    def _until(self, condition, what):
        end = time.monotonic() + _SECONDS
        while not condition():
            if time.monotonic() > end:
                raise AssertionError(f"in vain waited until {what}")
            line = self._program.line(0)
            if line == "":
                raise AssertionError(f"the program ended before {what}")
            if line is not None:
                self._take(line.rstrip("\n"))


def witness(browser):
    """Makes each page that the browser loads from now on note its actions and their outcomes."""
    browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": _WITNESS})


def _failures(results):
    """Returns the failures of each test that has one, without the numbers in them."""
    failures = {}
    for suite in json.loads(results.read_text(encoding="utf-8"))["testsuites"]:
        for test in suite["testsuite"]:
            if "failures" in test:
                failures[f"{suite['name']}.{test['name']}"] = [
                    re.sub(r"_\d+", "_#", one["failure"]) for one in test["failures"]]
    return failures
