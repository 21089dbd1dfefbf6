"""Typing into fields, and choosing from combo boxes."""

from page_fixture import PageTest
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys


class Typing(PageTest):
    def setUp(self):
        super().setUp()
        self.open_order()
        self.until_equal("4", self.focused)

    def value(self, uid="4"):
        return self.item("F_1", uid, "input").get_property("value")

    def model(self, uid="4"):
        return self.host.desk.state["forms"]["F_1"]["items"][uid]["text"]

    def changes(self):
        return [action.get("text", action.get("key"))
                for action in self.host.sent("key", "type")]

    def test_keys_at_the_end_are_sent_one_by_one(self):
        self.keys("A", "b", "9")
        self.until_equal("Ab9", self.model)
        self.assertEqual([65, 98, 57], self.changes())
        self.assertEqual("Ab9", self.value())
        self.until_equal(["Update"], lambda: self.texts(".form .mode"))

    def test_other_changes_send_the_whole_text(self):
        self.keys("ab", Keys.BACKSPACE)
        self.until_equal("a", self.model)
        self.keys(Keys.HOME, "x")
        self.until_equal("xa", self.model)
        self.assertEqual([97, 98, "a", "xa"], self.changes())

    def test_a_pasted_text_is_sent_as_a_whole(self):
        self.run_script("document.execCommand('insertText', false, 'C20000');")
        self.until_equal("C20000", self.model)
        self.assertEqual(["C20000"], self.changes())

    def test_a_composed_text_is_sent_at_its_end(self):
        self.browser.execute_cdp_cmd("Input.imeSetComposition", {
            "text": "にほ", "selectionStart": 2, "selectionEnd": 2})
        self.until_equal("にほ", self.value)
        self.browser.execute_cdp_cmd("Input.insertText", {"text": "日本"})
        self.until_equal("日本", self.model)
        self.assertEqual(["日本"], self.changes())

    def test_the_same_text_over_a_selection_is_sent_as_a_whole(self):
        self.keys("a")
        self.until_equal("a", self.model)
        self.chord(Keys.CONTROL, "a")
        self.keys("a")
        self.until_equal([97, "a"], self.changes)
        self.until_equal("a", self.model)

    def test_a_longer_text_over_a_selection_is_no_key_at_its_end(self):
        self.keys("a")
        self.until_equal("a", self.model)
        self.chord(Keys.CONTROL, "a")
        self.browser.execute_cdp_cmd("Input.insertText", {"text": "ab"})
        self.until_equal([97, "ab"], self.changes)
        self.until_equal("ab", self.model)

    def test_the_same_text_composed_over_a_selection_is_sent_as_a_whole(self):
        self.run_script("document.execCommand('insertText', false, '日本');")
        self.until_equal("日本", self.model)
        self.chord(Keys.CONTROL, "a")
        self.browser.execute_cdp_cmd("Input.imeSetComposition", {
            "text": "にほ", "selectionStart": 2, "selectionEnd": 2})
        self.until_equal("にほ", self.value)
        self.browser.execute_cdp_cmd("Input.insertText", {"text": "日本"})
        self.until_equal(["日本", "日本"], self.changes)

    def test_a_key_without_an_effect_is_not_sent(self):
        self.keys("abc", Keys.END, Keys.DELETE, Keys.HOME, Keys.BACKSPACE)
        self.host.change(lambda state: state["forms"]["F_1"]["items"]["4"].update(limit=3))
        self.until_equal("3", lambda: self.item("F_1", "4", "input").get_attribute("maxlength"))
        self.keys(Keys.END, "d")
        self.chord(Keys.CONTROL, "a")
        self.keys(Keys.HOME, Keys.DELETE)
        self.until_equal([97, 98, 99, "bc"], self.changes)

    def test_typing_while_replies_wait_is_not_disturbed(self):
        self.host.hold()
        self.keys("abc")
        self.until_equal([97, 98, 99], self.changes)
        self.assertEqual("abc", self.value())
        self.host.change(lambda state: state["forms"]["F_1"]["items"]["5"].update(text="other"))
        self.until_equal("other", lambda: self.value("5"))
        self.assertEqual("abc", self.value())
        self.host.release(1)
        self.host.change(lambda state: state["forms"]["F_1"].update(title="One key"))
        self.until_equal(["One key"], lambda: self.texts(".form .title"))
        self.assertEqual(["a", "abc"], [self.model(), self.value()])
        self.host.release()
        self.until_equal("abc", self.model)
        self.until_equal([], lambda: self.all(".item.waiting"))
        self.assertEqual("abc", self.value())

    def test_a_reply_that_comes_before_its_change_does_not_flicker(self):
        self.host.reply_first = True
        self.run_script(
            "const field = arguments[0]; window.seen = [];"
            "const descriptor = Object.getOwnPropertyDescriptor("
            "HTMLInputElement.prototype, 'value');"
            "Object.defineProperty(field, 'value', { get() { return descriptor.get.call(this); },"
            "set(text) { window.seen.push(text); descriptor.set.call(this, text); } });",
            self.item("F_1", "4", "input"))
        self.keys("ab")
        self.until_equal("ab", self.model)
        self.until_equal([], lambda: self.all(".item.waiting"))
        self.host.change(lambda state: state["forms"]["F_1"].update(title="After it"))
        self.until_equal(["After it"], lambda: self.texts(".form .title"))
        self.assertEqual([], self.run_script("return window.seen;"))

    def test_a_vetoed_key_is_taken_back_and_said(self):
        self.host.desk.vetoed_keys.add(("4", ord("x")))
        self.keys("axb")
        self.until_equal("ab", self.model)
        self.until_equal("ab", self.value)
        self.keys("x")
        self.until_equal(["Key: vetoed by the add-on"], lambda: self.texts("#statusBar .notice"))
        self.until_equal("ab", self.value)
        self.assertEqual("4", self.focused())

    def test_the_text_of_the_host_wins(self):
        self.keys("a")
        self.until_equal("a", self.model)
        self.host.change(lambda state: state["forms"]["F_1"]["items"]["4"].update(text="HOST"))
        self.until_equal("HOST", self.value)
        self.keys("!")
        self.until_equal("HOST!", self.model)

    def test_no_more_is_typed_than_the_limit(self):
        self.host.change(lambda state: state["forms"]["F_1"]["items"]["4"].update(limit=3))
        self.until_equal("3", lambda: self.item("F_1", "4", "input").get_attribute("maxlength"))
        self.keys("abcd")
        self.until_equal("abc", self.model)
        self.assertEqual("abc", self.value())

    def test_a_refused_action_is_said_in_words(self):
        self.host.desk.refusals["press"] = "The item is hidden or disabled."
        self.item("F_1", "5", "input").click()
        self.until_equal(["Click: refused (-7023). The item is hidden or disabled."],
                         lambda: self.texts("#statusBar .notice"))

    def test_a_double_click_into_a_field_is_one_action_and_selects_the_word(self):
        self.host.change(lambda state: state["forms"]["F_1"]["items"]["6"].update(text="C20000"))
        self.until_equal("C20000", lambda: self.value("6"))
        ActionChains(self.browser, duration=0).double_click(self.item("F_1", "6", "input")).perform()
        self.keys("x")
        self.until_equal("x", lambda: self.model("6"))
        self.assertEqual(["double", "type"],
                         [action["do"] for action in self.host.sent("press", "double", "type")])

    def test_a_click_into_a_field_is_sent_before_what_is_typed_after_it(self):
        self.item("F_1", "6", "input").click()
        self.keys("x")
        self.until_equal("x", lambda: self.model("6"))
        self.assertEqual(["press", "key"],
                         [action["do"] for action in self.host.sent("press", "key")])

    def test_a_vetoed_click_into_a_field_leaves_the_focus_where_the_host_has_it(self):
        self.host.desk.vetoed_actions.add("press")
        self.item("F_1", "6", "input").click()
        self.until_equal(["Click: vetoed by the add-on"],
                         lambda: self.texts("#statusBar .notice"))
        self.until_equal("4", self.focused)

    def test_a_letter_on_a_button_is_a_key_of_the_button_and_space_presses_it(self):
        self.host.change(lambda state: state["forms"]["F_1"].update(focus="2"))
        self.until_equal("2", self.focused)
        self.keys("q", " ")
        self.until_equal([{"do": "key", "form": "F_1", "item": "2", "key": 113},
                          {"do": "press", "form": "F_1", "item": "2"}],
                         lambda: self.host.sent("key", "press"))

    def test_a_vetoed_click_leaves_the_focus_where_the_host_has_it(self):
        self.host.desk.vetoed_actions.add("press")
        self.item("F_1", "5", "input").click()
        self.until_equal(["Click: vetoed by the add-on"],
                         lambda: self.texts("#statusBar .notice"))
        self.until_equal("4", self.focused)


class ComboBoxes(PageTest):
    def setUp(self):
        super().setUp()
        self.open_order()
        self.host.change(lambda state: state["forms"]["F_1"].update(focus="7"))
        self.until_equal("7", self.focused)

    def shown(self):
        return self.item("F_1", "7", ".shown").text

    def test_an_entry_is_chosen_by_keys(self):
        self.keys(Keys.ARROW_DOWN)
        self.until_equal(["OpenO", "ClosedC", "CancelledX"], lambda: self.texts(".option"))
        self.keys(Keys.ARROW_DOWN, Keys.ENTER)
        self.until_equal([{"do": "choose", "form": "F_1", "item": "7", "key": "C"}],
                         lambda: self.host.sent("choose"))
        self.until_equal("Closed", self.shown)
        self.assertEqual([], self.host.sent("press", "key"))

    def test_an_entry_is_found_by_its_first_letters(self):
        self.keys("c", "a", Keys.ENTER)
        self.until_equal("Cancelled", self.shown)

    def test_an_entry_is_chosen_by_clicks(self):
        self.item("F_1", "7", ".box").click()
        self.all(".option")[2].click()
        self.until_equal("Cancelled", self.shown)
        self.assertEqual([], self.all(".comboList"))

    def test_escape_closes_the_list_and_not_the_form(self):
        self.keys(Keys.ARROW_DOWN, Keys.ESCAPE)
        self.until_equal([], lambda: self.all(".comboList"))
        self.assertEqual([], self.host.sent("choose", "press"))
        self.assertEqual("Open", self.shown())
