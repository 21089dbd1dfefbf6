"""Menus, tab order and the keys of a form."""

from page_fixture import PageTest
from selenium.webdriver.common.keys import Keys


class Menus(PageTest):
    def test_an_entry_is_picked_by_arrows_and_enter(self):
        self.keys(Keys.F10)
        self.until_equal("File", self.focused)
        self.keys(Keys.ARROW_RIGHT, Keys.ARROW_RIGHT, Keys.ARROW_DOWN)
        self.until_equal("Sales Order", self.focused)
        self.keys(Keys.ARROW_DOWN, Keys.ENTER)
        self.until_equal([{"do": "menu", "uid": "3002"}], lambda: self.host.sent("menu"))
        self.one_form("F_1")
        self.assertEqual([], self.all(".menuPopup"))

    def test_an_entry_is_picked_by_its_first_letters(self):
        self.keys(Keys.F10, "s", "c")
        self.until_equal("Customer", self.focused)
        self.keys(Keys.ENTER)
        self.until_equal([{"do": "menu", "uid": "3002"}], lambda: self.host.sent("menu"))

    def test_arrows_open_and_leave_a_popup_within_a_popup(self):
        self.keys(Keys.F10, "s", Keys.ARROW_UP)
        self.until_equal("Reports", self.focused)
        self.keys(Keys.ARROW_RIGHT)
        self.until_equal("Turnover", self.focused)
        self.keys(Keys.ARROW_LEFT)
        self.until_equal("Reports", self.focused)
        self.keys(Keys.ESCAPE)
        self.until(lambda: not self.all(".menuPopup"), "the menu is closed")

    def test_separators_and_checks_and_disabled_entries_are_shown(self):
        self.keys(Keys.F10, "d")
        roles = ("return [...document.querySelectorAll('.menuPopup > *')].map((one) => ["
                 "one.role, one.textContent, one.ariaChecked, one.ariaDisabled]);")
        self.until_equal([
            ["menuitem", "Find", None, None], ["menuitem", "Add", None, None],
            ["menuitem", "Delete", None, "true"], ["separator", "", None, None],
            ["menuitemcheckbox", "Next Record", "true", None]], lambda: self.run_script(roles))

    def test_a_disabled_entry_is_not_picked(self):
        self.keys(Keys.F10, "d", "d", Keys.ENTER)
        self.until_equal("Delete", self.focused)
        self.assertEqual([], self.host.sent("menu"))

    def test_alt_alone_goes_to_the_menu_bar_and_back(self):
        self.open_order()
        self.until_equal("4", self.focused)
        self.keys(Keys.ALT)
        self.until_equal("File", self.focused)
        self.keys(Keys.ALT)
        self.until_equal("4", self.focused)

    def test_f6_goes_through_the_parts_of_the_page(self):
        self.open_order()
        self.until_equal("4", self.focused)
        seen = []
        for _ in range(4):
            self.keys(Keys.F6)
            seen.append(self.focused())
        self.assertEqual(["Messages", "Events", "File", "4"], seen)

    def test_ctrl_f6_selects_the_next_form(self):
        self.open_order()
        self.until_equal("4", self.focused)
        self.chord(Keys.CONTROL, Keys.F6)
        self.until_equal([{"do": "select", "form": "F_0"}], lambda: self.host.sent("select"))

    def test_the_page_speaks_the_language_of_the_client(self):
        self.open_order()
        self.host.change(lambda state: self.host.desk.perform(
            {"do": "language", "language": 9, "id": 0}))
        self.until_equal("Tasten", lambda: self.one(".tool:nth-of-type(3)").text)
        self.assertEqual(["Meldungen"], self.texts("#statusBar .history"))
        self.assertEqual(["Schließen"], self.run_script(
            "return [...document.querySelectorAll('.form .closeButton')].map("
            "(one) => one.ariaLabel);"))
        self.host.desk.vetoed_actions.add("press")
        self.item("F_1", "5", "input").click()
        self.until_equal(["Klick: vom Add-on abgelehnt"], lambda: self.texts("#statusBar .notice"))
        self.host.change(lambda state: state["forms"]["F_1"].update(mode="update"))
        self.until_equal(["Aktualisieren"], lambda: self.texts(".form .mode"))
        self.host.change(lambda state: self.host.desk.perform(
            {"do": "language", "language": 31, "id": 0}))
        self.until_equal(["Update"], lambda: self.texts(".form .mode"))
        self.assertEqual(["Messages"], self.texts("#statusBar .history"))

    def test_the_language_is_chosen_by_keys(self):
        self.one(".tool.language").click()
        self.until_equal("English (US)", self.focused)
        self.keys(Keys.HOME, Keys.ENTER)
        self.until_equal("rtl", lambda: self.one("#client").get_attribute("dir"))
        self.assertEqual([{"do": "language", "language": 1}], self.host.sent("language"))


class FormKeys(PageTest):
    def setUp(self):
        super().setUp()
        self.open_order()
        self.until_equal("4", self.focused)

    def test_tab_goes_where_the_host_puts_the_focus(self):
        seen = []
        for expected in ("5", "6", "7", "20", "1", "2", "4"):
            self.keys(Keys.TAB)
            self.until_equal(expected, self.focused)
            seen.append(expected)
        self.assertEqual([{"do": "tab", "form": "F_1"}] * len(seen), self.host.sent("tab"))

    def test_shift_tab_goes_the_same_way_back(self):
        for expected in ("2", "1", "20", "7", "6"):
            self.chord(Keys.SHIFT, Keys.TAB)
            self.until_equal(expected, self.focused)
        self.assertEqual([{"do": "tab", "form": "F_1", "shift": True}] * 5, self.host.sent("tab"))
        self.assertEqual([], self.host.sent("press"))

    def test_shift_tab_leaves_a_cell_that_is_edited(self):
        self.host.change(lambda state: state["forms"]["F_1"].update(focus="20"))
        self.until_equal("20", self.focused)
        self.keys(Keys.ARROW_RIGHT, Keys.F2)
        self.until_equal(["cellEditor"], lambda: [
            self.run_script("return document.activeElement.className;")])
        self.chord(Keys.SHIFT, Keys.TAB)
        self.until_equal("7", self.focused)

    def test_enter_is_the_key_of_the_default_button(self):
        self.keys(Keys.ENTER)
        self.until_equal([{"do": "key", "form": "F_1", "item": "4", "key": 13}],
                         lambda: self.host.sent("key"))
        self.until(lambda: not self.all(".form"), "the form is closed")

    def test_escape_presses_the_cancel_button(self):
        self.keys(Keys.ESCAPE)
        self.until_equal([{"do": "press", "form": "F_1", "item": "2"}],
                         lambda: self.host.sent("press"))

    def test_a_new_focus_of_the_host_does_not_take_the_user_from_the_panel(self):
        self.run_script("document.querySelector('#panel input').focus();")
        self.host.change(lambda state: state["forms"]["F_1"].update(focus="6"))
        self.host.change(lambda state: state["forms"]["F_1"].update(title="Changed"))
        self.until_equal(["Changed"], lambda: self.texts(".form .title"))
        self.assertEqual("INPUT", self.run_script("return document.activeElement.tagName;"))
        self.assertTrue(self.run_script(
            "return document.activeElement.closest('#panel') !== null;"))
