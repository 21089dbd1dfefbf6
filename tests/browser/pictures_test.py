"""Pictures of the stock forms, to be looked at: three languages, light and dark."""

from form_documents import stock_form
from page_fixture import PageTest
from selenium.webdriver.common.keys import Keys

_LOCALES = {"English": ("en", "ltr", 3), "German": ("de", "ltr", 9), "Hebrew": ("he", "rtl", 1)}
_SEVERITIES = [["No Logging", "0"], ["Errors Only", "1"], ["All Messages", "5"]]
_CUSTOMERS = [["1", "C1000", "Hillside Tools"], ["2", "C2000", "Harbour Supplies"],
              ["3", "S1000", "Steel and Sons"]]


class Pictures(PageTest):
    def test_stock_forms_are_drawn_in_three_languages_light_and_dark(self):
        for language in _LOCALES:
            for name in ("log_settings", "choose_list", "progress"):
                uid = self._show(name, language)
                self.assertEqual([], self._cut_texts())
                for scheme in ("light", "dark"):
                    self.emulate(prefers_color_scheme=scheme)
                    self.picture(f"{name}.{language}.{scheme}")
                self.host.change(lambda state: self.host.desk.close(uid))

    def test_the_parts_of_the_page_are_drawn_light_and_dark(self):
        for scheme in ("light", "dark"):
            self.emulate(prefers_color_scheme=scheme)
            self.host.reset()
            self.load()
            self._work()
            self.picture(f"desk.{scheme}")
            self.keys(Keys.F10, "s", Keys.ARROW_UP, Keys.ARROW_RIGHT)
            self.until_equal("Turnover", self.focused)
            self.picture(f"menu.{scheme}")
            self.keys(Keys.ESCAPE, Keys.ESCAPE)
            self.host.change(lambda state: state["forms"]["F_1"].update(focus="7"))
            self.until_equal("7", self.focused)
            self.keys(Keys.ARROW_DOWN)
            self._show_tab(3)
            self.host.say({"is": "busy", "busy": True})
            self.one(".busyNotice.shown")
            self.picture(f"combo.{scheme}")
            self.host.change(lambda state: state.update(box={
                "number": 2, "text": "The order has changed.\nSave it before it is closed?",
                "buttons": ["Yes", "No", "Cancel"], "default": 1}))
            self.one("dialog.box")
            self.picture(f"box.{scheme}")
            self.host.desk.ended = "The client was shut down."
            self.host.say({"is": "bye", "why": self.host.desk.ended})
            self.host.drop()
            self.one(".linkNotice.shown")
            self.picture(f"ended.{scheme}")
        self.run_script("sessionStorage.clear();")

    def test_forced_colours_and_a_narrow_window_are_drawn(self):
        self._work()
        self.emulate(forced_colors="active")
        self.picture("desk.forced")
        self.emulate()
        size = self.browser.get_window_size()
        self.addCleanup(self.browser.set_window_size, size["width"], size["height"])
        self.browser.set_window_size(900, 700)
        self.picture("desk.narrow")

    def _cut_texts(self):
        return self.run_script(
            "return [...document.querySelectorAll('.form button, .form .label, .form .title')]"
            ".filter((one) => one.scrollWidth > one.clientWidth).map((one) => one.textContent);")

    def _show_tab(self, number):
        self.run_script("document.querySelectorAll('#panel [role=tab]')[arguments[0]].click();",
                        number)

    def _work(self):
        self._show_tab(0)
        self.open_order()
        rows = [[str(row), f"A{row}", str(row % 90), "1.50"] for row in range(1, 1001)]
        self.host.desk.vetoed_keys.add(("4", ord("x")))
        self.host.change(lambda state: self.host.desk.fill_matrix("F_1", "20", rows))
        self.item("F_1", "5", "input").click()
        self.keys("Hillside")
        self.item("F_1", "4", "input").click()
        self.keys("C1x")
        self.until_equal("C1", lambda: self.item("F_1", "4", "input").get_property("value"))
        self.host.change(lambda state: self.host.desk.show_message(
            "The customer is blocked.", "warning"))
        self.until(lambda: "A9" in self.texts(".grid .cell"), "the rows are drawn")
        self.until(lambda: self.all(".vetoedEvent"), "the veto is listed")

    def _show(self, name, language):
        locale, direction, number = _LOCALES[language]
        uid, form = stock_form(name, language)
        fill = getattr(self, "_fill_" + name)

        def change(state):
            state["progress"] = None
            state["client"].update(locale=locale, direction=direction, language=number)
            self.host.desk.open(uid, form)
            fill(state, uid, form)

        self.host.change(change)
        self.one_form(uid)
        if name == "choose_list":
            self.until(lambda: "Steel and Sons" in self.texts(".grid .cell"), "the rows are drawn")
        return uid

    def _fill_log_settings(self, state, uid, form):
        for item in ("315", "314"):
            form["items"][item].update(values=_SEVERITIES, chosen=2, shown="All Messages")
        form["items"]["313"]["text"] = "5"
        form["items"]["312"]["text"] = "10"
        self.host.desk.show_message("The settings were read.", "info")

    def _fill_choose_list(self, state, uid, form):
        self.host.desk.fill_matrix(uid, "10805", _CUSTOMERS)
        self.host.desk.rows[uid, "10805"][1]["selected"] = True
        self.host.desk.show_message("Choose the customer of the order.", "error")

    def _fill_progress(self, state, uid, form):
        for item in form["order"][1:8]:
            form["items"][item]["visible"] = True
        state["progress"] = {"number": 1, "text": "Loading", "value": 7, "maximum": 15, "stoppable": False}
