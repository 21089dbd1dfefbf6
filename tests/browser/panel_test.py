"""The author's panel."""

from page_fixture import PageTest
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys


def _event(number, **fields):
    return {"number": number, "kind": "item", "type": 1, "name": "et_ITEM_PRESSED", "form": "F_1",
            "formType": "3101", "item": "1", "column": "", "row": 0, "char": 0, "menu": "",
            "before": True, "depth": 0, "microseconds": 118,
            "sinks": [{"sink": 2, "microseconds": 112, "veto": False}], "veto": False, **fields}


class AuthorsPanel(PageTest):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.run_script, "sessionStorage.clear();")

    def records(self):
        return self.run_script(
            "return [...document.querySelectorAll('.tab:not([hidden]) .record:not([hidden])')]"
            ".map((row) => [...row.children].map((one) => one.textContent))"
            ".sort((a, b) => a[0] - b[0]);")

    def tab(self, name):
        [button] = [one for one in self.all("#panel [role=tab]") if one.text == name]
        button.click()

    def counter(self):
        return self.one(".tab:not([hidden]) .counter").text

    def test_the_host_is_asked_for_what_the_panel_shows(self):
        self.until_equal([{"do": "panel", "shown": True}], lambda: self.host.sent("panel"))
        self.one(".panelToggle").click()
        self.until_equal(False, lambda: self.host.sent("panel")[-1]["shown"])
        self.assertFalse(self.one("#panel").is_displayed())
        self.load()
        self.assertFalse(self.one("#panel").is_displayed())
        self.assertEqual([True, False], [one["shown"] for one in self.host.sent("panel")])

    def test_events_are_listed_with_who_vetoed(self):
        self.host.say({"is": "events", "list": [
            _event(1), _event(2, before=False, depth=1, item="20", column="1", row=3),
            _event(3, name="et_KEY_DOWN", char=65, veto=True,
                   sinks=[{"sink": 2, "microseconds": 1, "veto": True}])]})
        self.until_equal([
            ["1", "et_ITEM_PRESSED", "F_1 (3101)", "1", "before", "", "118"],
            ["2", "\u2007\u2007et_ITEM_PRESSED", "F_1 (3101)", "20 1 3", "after", "", "118"],
            ["3", "et_KEY_DOWN", "F_1 (3101)", "1 'A'", "before", "veto 2", "118"],
        ], self.records)

    def test_the_time_of_each_of_several_sinks_is_listed(self):
        self.host.say({"is": "events", "list": [_event(1, sinks=[
            {"sink": 1, "microseconds": 6, "veto": False},
            {"sink": 2, "microseconds": 112, "veto": False}])]})
        self.until_equal([["1", "et_ITEM_PRESSED", "F_1 (3101)", "1", "before", "",
                           "118 (1: 6, 2: 112)"]], self.records)

    def test_an_event_is_listed_before_those_that_its_handlers_raised(self):
        self.host.say({"is": "events", "list": [_event(7)]})
        self.host.say({"is": "events", "list": [
            _event(1), _event(4, depth=2), _event(3, depth=1), _event(2), _event(5)]})
        self.until_equal("6 of 6", self.counter)
        self.assertEqual(["7", "1", "2", "3", "4", "5"], self.run_script(
            "return [...document.querySelectorAll('.record:not([hidden])')].sort("
            "(a, b) => a.getBoundingClientRect().top - b.getBoundingClientRect().top)"
            ".map((row) => row.firstElementChild.textContent);"))

    def test_events_are_filtered_held_and_cleared(self):
        self.host.say({"is": "events", "list": [_event(1), _event(2, name="et_CLICK")]})
        self.until_equal("2 of 2", self.counter)
        self.one("#panel input[type=search]").send_keys("click")
        self.until_equal(["2"], lambda: [row[0] for row in self.records()])
        pause = self.all(".tab:not([hidden]) .recordTools button")[0]
        pause.click()
        self.host.say({"is": "events", "list": [_event(3, name="et_CLICK")]})
        self.until_equal("1 of 2, 1 waiting", self.counter)
        pause.click()
        self.until_equal(["2", "3"], lambda: [row[0] for row in self.records()])
        self.all(".tab:not([hidden]) .recordTools button")[1].click()
        self.until_equal("0 of 0", self.counter)

    def test_the_last_1000_events_are_kept(self):
        for first in range(1, 3000, 500):
            self.host.say({"is": "events", "list": [
                _event(number) for number in range(first, first + 500)]})
        self.until_equal("1000 of 1000", self.counter)
        self.until_equal("3000", lambda: self.records()[-1][0])
        self.assertLess(len(self.all(".record")), 100)

    def test_statements_and_log_are_listed(self):
        self.tab("Statements")
        self.host.say({"is": "statements", "list": [
            {"number": 1, "text": "SELECT  1\nFROM T", "rows": 4, "microseconds": 210,
             "error": ""},
            {"number": 2, "text": "DROP", "rows": -1, "microseconds": 5, "error": "no"}]})
        self.until_equal([["1", "4", "210", "SELECT 1 FROM T"],
                          ["2", "–", "5", "error: no – DROP"]], self.records)
        self.tab("Log")
        self.host.say({"is": "log", "text": "one\ntw"})
        self.host.say({"is": "log", "text": "o\n"})
        self.until_equal([["one"], ["two"]], self.records)

    def test_an_item_is_found_from_the_desk_and_from_the_tree(self):
        self.open_order()
        ActionChains(self.browser, duration=0).key_down(Keys.ALT).click(
            self.item("F_1", "5")).key_up(Keys.ALT).perform()
        selected = ("return [...document.querySelectorAll('.treeRow[aria-selected=true]')]"
                    ".map((row) => row.place.item);")
        self.until_equal(["5"], lambda: self.run_script(selected))
        outlined = ("return [...document.querySelectorAll('.item.outlined')]"
                    ".map((one) => one.dataset.item);")
        self.until_equal(["5"], lambda: self.run_script(outlined))
        self.assertEqual([], self.host.sent("press"))
        self.run_script("document.querySelector('.treeRow[aria-selected=true]').focus();")
        self.keys(Keys.ARROW_DOWN, Keys.ARROW_DOWN)
        self.until_equal(["6"], lambda: self.run_script(outlined))

    def test_the_tree_shows_what_a_form_holds_now(self):
        def change(state):
            state["forms"]["F_1"]["items"]["4"].update(text="C20000", source="DS1")
            state["forms"]["F_1"]["sources"] = {"DS1": {"type": 9, "size": 20, "value": "C20000"}}

        self.open_order()
        self.tab("Forms")
        self.one(".formRow .twisty")
        self.run_script("[...document.querySelectorAll('.formRow')].find("
                        "(row) => row.place.form === 'F_1').querySelector('.twisty').click();")
        self.host.change(change)
        self.until_equal([["4", "edit", "110 5 150 14", "C20000", "DS1"]], lambda: self.run_script(
            "return [...document.querySelectorAll('.treeRow')].filter("
            "(row) => row.place.item === '4').map("
            "(row) => [...row.querySelectorAll('.part')].map((one) => one.textContent));"))
        self.assertEqual(["DS19/20C20000"], self.texts(".sourceRow"))

    def test_the_panel_remembers_its_width_and_tab(self):
        self.tab("Log")
        self.run_script("document.querySelector('#divider').focus();")
        self.keys(Keys.ARROW_LEFT)
        self.until_equal("436", lambda: self.one("#divider").get_attribute("aria-valuenow"))
        self.load()
        self.assertEqual("436", self.one("#divider").get_attribute("aria-valuenow"))
        self.assertEqual(["Log"], self.texts("#panel [role=tab][aria-selected=true]"))
