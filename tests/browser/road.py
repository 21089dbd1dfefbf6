"""The steps of a play script, done by clicks and keys in Chromium.

A script plays the user by calls of the host's interface. Here a real browser does the same to a
client that shows its desk in a page, so one scenario runs both ways and its events can be compared.
"""

import subprocess
import threading
import time

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

_SECONDS = 30
_PAUSE = 0.01  # the pace of asking, not a time to wait


class Client:
    """An add-on with its client, and the lines that it prints."""

    def __init__(self, program, connection, environment):
        self.process = subprocess.Popen([program, connection], env=environment, text=True,
                                        encoding="utf-8", stdout=subprocess.PIPE)
        self.lines = []
        self._reader = threading.Thread(target=self._read)
        self._reader.start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))

    def address(self):
        """Waits for the line that says where the page is."""
        until(lambda: self._addresses() or self.process.poll() is not None, "the client started")
        if not self._addresses():
            raise AssertionError(f"the client ended and printed {self.lines}")
        return self._addresses()[0]

    def _addresses(self):
        return [line.split()[1] for line in list(self.lines) if line.startswith("open http://")]

    def events(self):
        return [line for line in self.lines if line.startswith("event ")]

    def wait(self):
        """Returns the exit code when the client has ended and all of its lines are read."""
        code = self.process.wait(_SECONDS)
        self._reader.join(_SECONDS)
        self.process.stdout.close()
        return code

    def kill(self):
        self.process.kill()
        self.wait()


def until(condition, what):
    """Waits until the condition holds; fails with `what` if it never does."""
    end = time.monotonic() + _SECONDS
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"in vain waited until {what}")
        time.sleep(_PAUSE)


def menu_paths(tree):
    """Returns the UIDs from the menu bar down to each entry, by its UID, of a printed menu tree.
    Separators are no entries.
    """
    paths, above = {}, []
    for line in tree:
        if " separator" in line and '"' not in line:
            continue
        depth = (len(line) - len(line.lstrip())) // 2
        uid = line.strip().partition(" ")[0]
        above[depth:] = [uid]
        paths[uid] = list(above)
    return paths


class Road:
    """Does the steps in a browser that shows the page. `menus` is what menu_paths() returns."""

    def __init__(self, browser, menus):
        self.browser = browser
        self.menus = menus

    def walk(self, script):
        for line in script.splitlines():
            step = line.strip()
            if step and not step.startswith("#"):
                self.do(step)

    def do(self, step):
        verb, _, rest = step.partition(" ")
        if verb in ("start", "say", "print", "draw"):
            return
        words = rest.split(" ")
        getattr(self, f"_{verb}")(words, rest)
        until(self._is_quiet, f"'{step}' was done")

    # Replies are in and the page has drawn them, or a box waits for the user.
    def _is_quiet(self):
        return self._run(
            "if (document.querySelector('dialog.box') !== null) return true;"
            "const client = document.getElementById('client');"
            "return client.getAttribute('aria-busy') === null ||"
            " client.classList.contains('offline');")

    def _run(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def _one(self, find, what, *arguments):
        script = find if "return" in find else f"return {find};"
        until(lambda: self._run(script, *arguments) is not None, f"{what} is on the page")
        return self._run(script, *arguments)

    def _form(self, name):
        if name != "*":
            return name
        return self._one("document.querySelector('.form.selected')?.dataset.form ?? null",
                         "the selected form")

    def _item(self, form, uid, inner="*"):
        return self._one(
            "const [form, item, inner] = arguments;"
            "const found = [...document.querySelectorAll('.item')].find("
            "(one) => one.dataset.form === form && one.dataset.item === item);"
            "return found?.querySelector(inner) ?? null;",
            f"item {uid} of {form}", self._form(form), uid, inner)

    def _hit(self, target):
        target.click()

    def _keys(self, *keys):
        chain = ActionChains(self.browser, duration=0)
        for key in keys:
            chain.send_keys(key)
        chain.perform()

    def _menu(self, words, _rest):
        first, *others = self.menus[words[0]]
        self._hit(self._menu_part("#menuBar [role=menuitem]", first))
        for uid in others:
            entry = self._menu_part(".menuEntry", uid)
            ActionChains(self.browser, duration=0).move_to_element(entry).perform()
        self._hit(entry)

    def _menu_part(self, selector, uid):
        return self._one(
            "const [selector, uid] = arguments;"
            "return [...document.querySelectorAll(selector)].find("
            "(one) => one.dataset.menu === uid) ?? null;", f"menu {uid}", selector, uid)

    def _press(self, words, _rest):
        self._hit(self._item(words[0], words[1]))

    def _click(self, words, _rest):
        self._hit(self._cell(words))

    def _doubleclick(self, words, _rest):
        target = self._cell(words) if len(words) > 2 else self._item(words[0], words[1])
        ActionChains(self.browser, duration=0).double_click(target).perform()

    # The columns of the page are those that are visible; the script names one by its UID, which the
    # heads have.
    def _cell(self, words):
        form, item, column, row = words[:4]
        return self._one(
            "const [grid, column, row] = arguments;"
            "const at = [...grid.querySelectorAll('.head .cell')].findIndex("
            "(one) => one.dataset.column === column);"
            "const line = row === 0 ? grid.querySelector('.head') :"
            " grid.querySelector(`.row[aria-rowindex='${row + 1}']:not(.missing)`);"
            "return line?.children[at] ?? null;",
            f"cell {column}, {row}", self._item(form, item, ".grid"), column, int(row))

    # The item has the focus already, by a step before. What it holds is selected and so replaced.
    def _type(self, words, rest):
        self._has_focus(words)
        if self._run("return document.activeElement.value;"):
            ActionChains(self.browser, duration=0).key_down(Keys.CONTROL).send_keys("a").key_up(
                Keys.CONTROL).perform()
        self._keys(rest.split(" ", 2)[2])

    def _has_focus(self, words):
        form = self._form(words[0])
        until(lambda: self._run(
            "const at = document.activeElement?.closest('.item');"
            "return at?.dataset.form === arguments[0] && at.dataset.item === arguments[1];",
            form, words[1]), f"item {words[1]} of {form} has the focus")

    def _key(self, words, _rest):
        self._has_focus(words)
        self._keys({9: Keys.TAB, 13: Keys.ENTER}.get(int(words[2]), chr(int(words[2]))))

    def _tab(self, _words, _rest):
        self._keys(Keys.TAB)

    def _choose(self, words, _rest):
        self._hit(self._item(words[0], words[1], ".box"))
        option = self._one(
            "return [...document.querySelectorAll('.comboList .option')].find("
            "(one) => one.querySelector('.key')?.textContent === arguments[0]) ?? null;",
            f"entry {words[2]}", words[2])
        self._hit(option)

    def _rightclick(self, words, _rest):
        target = self._item(words[0], words[1])
        ActionChains(self.browser, duration=0).context_click(target).perform()

    def _close(self, words, _rest):
        self._hit(self._in_window(words[0], ".closeButton"))

    def _select(self, words, _rest):
        self._hit(self._in_window(words[0], ".title"))

    def _in_window(self, form, part):
        return self._one(
            "const [form, part] = arguments;"
            "return [...document.querySelectorAll('.form')].find("
            "(one) => one.dataset.form === form)?.querySelector(part) ?? null;",
            f"form {form}", self._form(form), part)

    def _answer(self, words, _rest):
        self._one("document.querySelector('dialog.box')", "the box")
        buttons = self.browser.find_elements(By.CSS_SELECTOR, "dialog.box .buttons button")
        self._hit(buttons[int(words[0]) - 1])
        until(lambda: self._run("return document.querySelector('dialog.box') === null;"),
              "the box has closed")

    def _language(self, words, _rest):
        self._one("document.querySelector('.tool.language')", "the list of languages").click()
        self._menu_part(".menuEntry", words[0]).click()

    def _backtab(self, _words, _rest):
        self._chord(Keys.SHIFT, lambda chain: chain.send_keys(Keys.TAB))

    def _ctrlclick(self, words, _rest):
        self._chord(Keys.CONTROL, lambda chain: chain.click(self._cell(words)))

    def _shiftclick(self, words, _rest):
        self._chord(Keys.SHIFT, lambda chain: chain.click(self._cell(words)))

    def _progress(self, _words, _rest):
        self._one("document.querySelector('.progress:not(.empty) .stop:not([hidden])')",
                  "the stop of the progress bar").click()

    def _chord(self, key, act):
        act(ActionChains(self.browser, duration=0).key_down(key)).key_up(key).perform()
