"""The connection: patches, gaps, the end of the client; boxes, busy add-ons and two pages."""

from page_fixture import PageTest
from selenium.webdriver.common.keys import Keys


class Link(PageTest):
    def test_the_end_of_the_client_is_said_and_the_button_connects_again(self):
        self.keys(Keys.F10, "f", Keys.ENTER)
        self.until_equal(["The client has ended."], lambda: self.texts(".linkNotice .what"))
        self.assertEqual(["The client was shut down."], self.texts(".linkNotice .why"))
        self.host.desk.ended = None
        self.one(".linkNotice button").click()
        self.until(lambda: not self.all(".linkNotice.shown"), "the notice is gone")
        self.open_order()

    def test_a_lost_connection_comes_back_by_itself(self):
        self.host.drop()
        self.until(lambda: self.all(".linkNotice.shown"), "the loss is said")
        self.until(lambda: not self.all(".linkNotice.shown"), "the page has connected again")
        self.open_order()

    def test_actions_without_an_answer_are_said_to_be_lost(self):
        self.open_order()
        self.host.hold()
        self.item("F_1", "5", "input").click()
        self.until_equal(1, lambda: len(self.host.sent("press")))
        self.host.held = None
        self.host.drop()
        self.until_equal(["Click: the connection was lost before the answer came"],
                         lambda: self.texts("#statusBar .notice"))
        self.until_equal([], lambda: self.all(".item.waiting"))

    def test_a_gap_in_the_numbers_brings_the_whole_state(self):
        self.host.desk.state["client"]["user"] = "someone"
        self.host.say({"is": "patch", "number": self.host.number + 2, "ops": []})
        self.until_equal(["Orders – someone"], lambda: self.texts(".who"))

    def test_a_patch_that_does_not_fit_brings_the_whole_state(self):
        self.host.desk.state["client"]["user"] = "someone"
        self.host.say({"is": "patch", "number": self.host.number + 1,
                       "ops": [{"op": "replace", "path": "/client/nothing", "value": 1}]})
        self.until_equal(["Orders – someone"], lambda: self.texts(".who"))

    def test_each_kind_of_patch_is_drawn(self):
        self.open_order()
        self.host.change(lambda state: state["forms"]["F_1"].update(title="Replaced"))
        self.until_equal(["Replaced"], lambda: self.texts(".form .title"))
        self.host.change(lambda state: state["menus"][0]["children"].append(
            {"uid": "9", "text": "Added", "type": "string", "enabled": True, "checked": False,
             "children": []}))
        self.until(lambda: "Added" in self.texts(".mainMenu .entry"), "the entry is added")
        self.host.change(lambda state: state["menus"][0]["children"].pop())
        self.until(lambda: "Added" not in self.texts(".mainMenu .entry"), "the entry is removed")
        self.host.change(lambda state: self.host.desk.close("F_1"))
        self.until_equal([], lambda: self.all(".form"))

    def test_two_pages_show_the_same(self):
        first = self.browser.current_window_handle
        self.browser.switch_to.new_window("window")
        try:
            self.load()
            self.open_order()
            self.host.change(lambda state: state["forms"]["F_1"]["items"]["4"].update(text="C1"))
            self.until_equal("C1", lambda: self.item("F_1", "4", "input").get_property("value"))
        finally:
            self.browser.close()
            self.browser.switch_to.window(first)
        self.until_equal("C1", lambda: self.item("F_1", "4", "input").get_property("value"))
        self.until_equal(1, lambda: len(self.host.pages))


class Boxes(PageTest):
    def setUp(self):
        super().setUp()
        self.open_order()
        self.until_equal("4", self.focused)

    def show(self, **fields):
        box = {"number": 2, "text": "Save?", "buttons": ["Yes", "No", ""], "default": 1, **fields}
        self.host.change(lambda state: state.update(box=box))
        self.one("dialog.box")

    def test_a_box_has_the_buttons_with_captions_and_the_focus_on_its_default(self):
        self.show(default=2)
        self.assertEqual(["Yes", "No"], self.texts("dialog.box button"))
        self.until_equal("No", self.focused)
        self.assertEqual("alertdialog", self.one("dialog.box").aria_role)

    def test_enter_answers_with_the_default_button(self):
        self.show()
        self.until_equal("Yes", self.focused)
        self.keys(Keys.ENTER)
        self.until_equal([{"do": "answer", "box": 2, "button": 1}],
                         lambda: self.host.sent("answer"))
        self.until_equal([], lambda: self.all("dialog"))
        self.until_equal("4", self.focused)

    def test_escape_answers_with_the_last_button(self):
        self.show()
        self.keys(Keys.ESCAPE)
        self.until_equal([{"do": "answer", "box": 2, "button": 2}],
                         lambda: self.host.sent("answer"))

    def test_a_box_whose_answer_was_refused_can_be_answered_again(self):
        self.host.desk.refusals["answer"] = "Not now."
        self.show()
        self.keys(Keys.ENTER)
        self.until_equal(["Answer: refused (-7023). Not now."],
                         lambda: self.texts("#statusBar .notice"))
        self.host.desk.refusals.clear()
        self.keys(Keys.ENTER)
        self.until_equal([], lambda: self.all("dialog"))

    def test_the_focus_stays_in_the_box(self):
        self.show()
        for _ in range(4):
            self.keys(Keys.TAB)
        self.assertTrue(self.run_script(
            "const at = document.activeElement;"
            "return at === document.body || at.closest('dialog') !== null;"))
        self.keys(Keys.F10)
        self.assertEqual([], self.all("#menuBar .bar button:focus"))

    def test_an_answer_from_elsewhere_closes_the_box(self):
        self.show()
        self.host.change(lambda state: state.update(box=None))
        self.until_equal([], lambda: self.all("dialog"))

    def test_the_next_box_takes_the_place_of_the_last(self):
        self.show()
        self.host.change(lambda state: state.update(
            box={"number": 3, "text": "Sure?", "buttons": ["OK", "", ""], "default": 1}))
        self.until_equal(["Sure?"], lambda: self.texts("dialog.box .text"))
        self.keys(Keys.ENTER)
        self.until_equal([{"do": "answer", "box": 3, "button": 1}],
                         lambda: self.host.sent("answer"))


class Busy(PageTest):
    def test_a_busy_add_on_is_said_and_the_page_stays_usable(self):
        window = self.open_order()
        self.host.hold()
        self.item("F_1", "5", "input").click()
        self.host.say({"is": "busy", "busy": True})
        self.until_equal(["The add-on is working … Actions that wait: 1"],
                         lambda: self.texts(".busyNotice.shown"))
        self.assertIn("waiting", self.item("F_1", "5").get_attribute("class"))
        self.keys("x")
        self.until_equal(["The add-on is working … Actions that wait: 2"],
                         lambda: self.texts(".busyNotice.shown"))
        self.assertEqual("x", self.item("F_1", "5", "input").get_property("value"))
        self.chord(Keys.ALT, "-")
        self.keys(Keys.ENTER, Keys.ARROW_DOWN)
        self.until_equal(48, lambda: window.rect["y"] - self.one("#desk").rect["y"])
        self.keys(Keys.ENTER)
        self.host.release()
        self.host.say({"is": "busy", "busy": False})
        self.until_equal([], lambda: self.all(".busyNotice.shown"))
        self.until_equal([], lambda: self.all(".item.waiting"))


    def test_no_more_actions_are_sent_than_a_busy_host_takes(self):
        self.open_order()
        self.host.hold()
        self.run_script(
            "const field = arguments[0]; for (let at = 0; at < 300; at += 1) {"
            "field.value += 'x'; field.dispatchEvent(new Event('input')); }",
            self.item("F_1", "6", "input"))
        self.until_equal(["Key: not sent, since too many actions wait for the add-on"],
                         lambda: self.texts("#statusBar .notice"))
        self.until_equal(200, lambda: len(self.host.sent("key")))
        self.host.release()
        self.until_equal("x" * 200,
                         lambda: self.item("F_1", "6", "input").get_property("value"))


class Status(PageTest):
    def test_each_kind_of_message_has_its_word_and_urgent_ones_are_alerts(self):
        for kind, shown, role in (("none", "Done.", "status"), ("info", "Information: Done.",
                                                                "status"),
                                  ("warning", "Warning: Done.", "alert"),
                                  ("error", "Error: Done.", "alert")):
            self.host.change(lambda state: self.host.desk.show_message("Done.", kind))
            self.until_equal([shown], lambda: self.texts(f"#statusBar [role={role}].message"))

    def test_the_last_messages_are_listed(self):
        self.host.change(lambda state: self.host.desk.show_message("First", "error"))
        self.host.change(lambda state: self.host.desk.show_message("Second"))
        self.one("#statusBar .history").click()
        self.until_equal(["✖ErrorFirst", "MessageSecond"],
                         lambda: ["".join(text.split()) for text in self.texts(".messageList li")])
        self.keys(Keys.ESCAPE)
        self.until_equal([], lambda: self.all(".messageList"))

    def test_the_progress_bar_says_its_value(self):
        self.host.change(lambda state: state.update(progress={
            "number": 1, "text": "Loading", "value": 3, "maximum": 10, "stoppable": False}))
        bar = self.one("[role=progressbar]")
        self.until_equal(["Loading", "3", "10"], lambda: [bar.get_attribute(name) for name in (
            "aria-label", "aria-valuenow", "aria-valuemax")])
        self.host.change(lambda state: state.update(progress=None))
        self.until(lambda: self.all(".progress.empty"), "the bar is gone")

    def test_a_progress_bar_that_can_be_stopped_has_a_button_in_reach_of_the_keys(self):
        self.host.change(lambda state: state.update(progress={
            "number": 7, "text": "Loading", "value": 3, "maximum": 10, "stoppable": True}))
        self.until_equal(["Stop"], lambda: self.texts(".progress button"))
        self.keys(Keys.F6)
        self.until_equal("Stop", self.focused)
        self.keys(Keys.ENTER)
        self.until_equal([{"do": "stop", "progress": 7}], lambda: self.host.sent("stop"))
        self.until(lambda: self.all(".progress.empty"), "the bar is gone")
        self.until_equal("Messages", self.focused)

    def test_a_progress_bar_that_cannot_be_stopped_has_no_button(self):
        self.host.change(lambda state: state.update(progress={
            "number": 7, "text": "Loading", "value": 3, "maximum": 10, "stoppable": False}))
        self.until(lambda: not self.all(".progress.empty"), "the bar is shown")
        self.assertFalse(self.one(".progress .stop").is_displayed())
        self.keys(Keys.F6)
        self.until_equal("Messages", self.focused)
