"""What the tests of the page share: one Chromium, one fake host, and waiting on conditions."""

import os
import pathlib
import shutil
import sys
import tempfile
import time
import unittest

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
except ImportError:
    sys.exit("python3-selenium is missing; run scripts/setup.sh")

from fake_host import FakeHost

_SECONDS = 10


def start_browser():
    """Returns a new headless Chromium."""
    browser = shutil.which("chromium")
    driver = shutil.which("chromedriver")
    if browser is None or driver is None:
        raise RuntimeError("chromium or chromedriver is missing; run scripts/setup.sh")
    options = webdriver.ChromeOptions()
    options.binary_location = browser
    for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu",
                     "--window-size=1280,800", "--force-device-scale-factor=1",
                     "--disable-extensions", "--disable-background-networking",
                     "--disable-component-update", "--no-first-run"):
        options.add_argument(argument)
    options.page_load_strategy = "eager"
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service(driver), options=options)


class PageTest(unittest.TestCase):
    """A test with an open page and its host."""

    browser = None
    host = None

    @classmethod
    def setUpClass(cls):
        if PageTest.browser is None:
            PageTest.host = FakeHost()
            PageTest.browser = start_browser()

    def setUp(self):
        self.host.reset()
        self.load()

    def tearDown(self):
        self.emulate()
        severe = [entry["message"] for entry in self.browser.get_log("browser")
                  if entry["level"] == "SEVERE" and "WebSocket connection" not in entry["message"]]
        self.assertEqual([], severe)

    def load(self):
        """Loads the page and waits for the state."""
        self.browser.get(self.host.address)
        self.until(lambda: self.all(".mainMenu"), "the page shows the desk")

    def until(self, condition, what):
        """Waits until the condition gives a value and returns it; fails with `what` if not."""
        end = time.monotonic() + _SECONDS
        while not (value := condition()):
            if time.monotonic() > end:
                self.fail(f"in vain waited until {what}")
            time.sleep(0.01)  # the pace of asking, not a time to wait
        return value

    def until_equal(self, expected, function):
        """Waits until a function gives a value; compares at the end, so that a failure shows it."""
        end = time.monotonic() + _SECONDS
        while (value := function()) != expected and time.monotonic() < end:
            time.sleep(0.01)
        self.assertEqual(expected, value)

    def run_script(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def run_async(self, script, *arguments):
        """Runs the body of an async function and returns its result."""
        result = self.browser.execute_async_script(
            "const done = arguments[arguments.length - 1];"
            "(async (...a) => {" + script + "})(...arguments)"
            ".then((value) => done({value}), (error) => done({error: String(error.stack)}));",
            *arguments)
        self.assertIsNone(result.get("error"))
        return result.get("value")

    def all(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def one(self, selector):
        return self.until(lambda: self.all(selector), f"'{selector}' is on the page")[0]

    def item(self, form, uid, inner=""):
        """Returns the element of an item, by its UIDs and not by a selector made of them."""
        find = ("const [form, item, inner] = arguments;"
                "const found = [...document.querySelectorAll('.item')].find("
                "(one) => one.dataset.form === form && one.dataset.item === item);"
                "return found && inner ? found.querySelector(inner) : found ?? null;")
        return self.until(lambda: self.run_script(find, form, uid, inner),
                          f"item {uid} of {form} is drawn")

    def texts(self, selector):
        return self.run_script("return [...document.querySelectorAll(arguments[0])]"
                               ".map((one) => one.textContent);", selector)

    def focused(self):
        """Returns the UID of the item that has the focus of the page, or the focused text."""
        return self.run_script(
            "const at = document.activeElement;"
            "return at.closest('.item')?.dataset.item ?? at.textContent;")

    def keys(self, *keys):
        """Presses keys, one after the other."""
        chain = ActionChains(self.browser, duration=0)
        for key in keys:
            chain.send_keys(key)
        chain.perform()

    def chord(self, modifier, key):
        ActionChains(self.browser, duration=0).key_down(modifier).send_keys(key).key_up(
            modifier).perform()

    def open_form(self, uid, form):
        """Opens a form of the add-on."""
        self.host.change(lambda state: self.host.desk.open(uid, form))
        return self.one_form(uid)

    def one_form(self, uid):
        find = ("return [...document.querySelectorAll('.form')].find("
                "(one) => one.dataset.form === arguments[0]) ?? null;")
        return self.until(lambda: self.run_script(find, uid), f"form {uid} is drawn")

    def open_order(self):
        """Opens the sales order, which gets the UID F_1."""
        self.host.change(lambda state: self.host.desk.perform(
            {"do": "menu", "uid": "3001", "id": 0}))
        return self.one_form("F_1")

    def emulate(self, **features):
        """Sets media features such as prefers_color_scheme="dark"; none without arguments."""
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
            {"name": name.replace("_", "-"), "value": value} for name, value in features.items()]})

    def picture(self, name):
        """Keeps a screenshot in the folder that QX_PICTURES names."""
        folder = pathlib.Path(os.environ.get("QX_PICTURES") or tempfile.mkdtemp(prefix="pictures-"))
        folder.mkdir(parents=True, exist_ok=True)
        self.browser.save_screenshot(str(folder / f"{name}.png"))


def stop_browser():
    """Ends what the first test has started."""
    if PageTest.browser is not None:
        PageTest.browser.quit()
    if PageTest.host is not None:
        PageTest.host.stop()
