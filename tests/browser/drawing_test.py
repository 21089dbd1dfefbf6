"""What the page draws: items at their places, windows, panes, modes, colours, directions."""

from form_documents import make_form, make_item
from page_fixture import PageTest
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

_KINDS = {"B": "button", "S": "static", "E": "edit", "C": "combo", "M": "matrix"}
_PLACES = {"B": [5, 150, 65, 19], "S": [5, 5, 100, 14], "E": [110, 5, 150, 14],
           "C": [110, 25, 150, 14], "M": [5, 45, 300, 100]}


def _form_of_all_kinds():
    form = make_form("T", "All kinds", [300, 50, 328, 206])
    form["items"] = {uid: make_item(kind, _PLACES[uid]) for uid, kind in _KINDS.items()}
    form["items"]["S"].update(caption="Name", link="E")
    form["items"]["B"]["caption"] = "Press"
    form["items"]["E"].update(text="42", right=True,
                              style={"fore": 0x0000ff, "back": 0x00ff00, "text": 1, "size": 12})
    form["order"] = list(form["items"])
    return form


class Drawing(PageTest):
    def place(self, form, uid):
        """Returns the place of an item inside its form's frame."""
        return self.run_script(
            "const item = arguments[0].getBoundingClientRect();"
            "const inside = arguments[0].parentElement.getBoundingClientRect();"
            "const rtl = getComputedStyle(arguments[0]).direction === 'rtl';"
            "return [rtl ? inside.right - item.right : item.left - inside.left,"
            "item.top - inside.top, item.width, item.height];", self.item(form, uid))

    def test_each_type_of_item_is_at_its_place(self):
        self.open_form("A", _form_of_all_kinds())
        self.assertEqual(_PLACES, {uid: self.place("A", uid) for uid in _KINDS})

    def test_the_inside_of_a_form_has_the_size_of_its_model(self):
        window = self.open_form("A", _form_of_all_kinds())
        self.assertEqual([320, 180], self.run_script(
            "const inside = arguments[0].querySelector('.formClient');"
            "return [inside.clientWidth, inside.clientHeight];", window))
        self.assertEqual([300, 50, 328, 206], self.run_script(
            "const form = arguments[0]; return [form.offsetLeft, form.offsetTop,"
            "form.offsetWidth, form.offsetHeight];", window))

    def test_items_are_mirrored_from_right_to_left(self):
        self.host.desk.state["client"].update(direction="rtl", locale="he")
        self.load()
        window = self.open_form("A", _form_of_all_kinds())
        self.assertEqual("rtl", self.run_script(
            "return getComputedStyle(arguments[0]).direction;", window))
        self.assertEqual(_PLACES, {uid: self.place("A", uid) for uid in _KINDS})

    def test_style_and_justification_of_an_edit_are_drawn(self):
        self.open_form("A", _form_of_all_kinds())
        css = self.run_script(
            "const css = getComputedStyle(arguments[0]); return [css.color, css.backgroundColor,"
            "css.fontWeight, css.fontSize, css.textAlign];", self.item("A", "E", "input"))
        self.assertEqual(["rgb(255, 0, 0)", "rgb(0, 255, 0)", "700", "12px", "end"], css)

    def test_a_label_names_its_item(self):
        self.open_form("A", _form_of_all_kinds())
        self.assertEqual("Name", self.item("A", "E", "input").accessible_name)

    def test_an_item_that_a_user_cannot_use_is_disabled(self):
        form = _form_of_all_kinds()
        for item in form["items"].values():
            item.update(enabled=False, usable=False)
        self.open_form("A", form)
        self.assertFalse(self.item("A", "B", "button").is_enabled())
        self.assertFalse(self.item("A", "E", "input").is_enabled())
        self.assertEqual("true", self.item("A", "C", ".box").get_attribute("aria-disabled"))
        self.assertEqual("true", self.item("A", "M", ".grid").get_attribute("aria-disabled"))

    def test_hidden_items_and_those_of_other_panes_are_not_drawn(self):
        form = _form_of_all_kinds()
        form["pane"] = 1
        form["items"]["S"]["visible"] = False
        form["items"]["E"]["panes"] = [1, 2]
        form["items"]["C"]["panes"] = [2, 2]
        self.open_form("A", form)
        drawn = ("return [...document.querySelectorAll('.form .item')]"
                 ".map((one) => one.dataset.item);")
        self.until_equal(["B", "E", "M"], lambda: self.run_script(drawn))
        self.host.change(lambda state: state["forms"]["A"].update(pane=2))
        self.until_equal(["B", "E", "C", "M"], lambda: self.run_script(drawn))

    def test_the_default_button_is_marked(self):
        form = _form_of_all_kinds()
        form["default"] = "B"
        self.open_form("A", form)
        self.assertIn("default", self.item("A", "B").get_attribute("class"))

    def test_the_mode_of_a_form_is_in_its_title(self):
        self.open_form("A", _form_of_all_kinds())
        for mode, word in (("find", "Find"), ("add", "Add"), ("update", "Update"), ("ok", "OK")):
            self.host.change(lambda state: state["forms"]["A"].update(mode=mode))
            self.until_equal([word], lambda: self.texts(".form .mode"))

    def test_a_window_grows_for_items_that_would_be_cut(self):
        form = _form_of_all_kinds()
        form["items"]["B"]["rect"] = [5, 172, 65, 14]
        form["items"]["C"]["rect"] = [5, 400, 65, 14]
        window = self.open_form("A", form)
        self.assertEqual([328, 206 + 6 + 3], self.run_script(
            "return [arguments[0].offsetWidth, arguments[0].offsetHeight];", window))

    def test_a_form_that_opens_out_of_sight_is_scrolled_to(self):
        form = _form_of_all_kinds()
        form["rect"][:2] = [1500, 900]
        window = self.open_form("A", form)
        self.until(lambda: self.run_script(
            "const form = arguments[0].getBoundingClientRect();"
            "const desk = document.getElementById('desk').getBoundingClientRect();"
            "return form.left >= desk.left && form.right <= desk.right &&"
            "form.top >= desk.top && form.bottom <= desk.bottom;", window), "the form is visible")

    def test_a_hidden_form_is_not_drawn(self):
        self.open_form("A", _form_of_all_kinds())
        self.host.change(lambda state: state["forms"]["A"].update(visible=False))
        self.until(lambda: not self.all(".form"), "the form is gone")

    def test_the_form_that_was_selected_last_is_on_top(self):
        first = self.open_form("A", _form_of_all_kinds())
        second = self.open_form("B", _form_of_all_kinds())
        order = "return arguments[0].style.zIndex - arguments[1].style.zIndex;"
        self.assertLess(self.run_script(order, first, second), 0)
        self.host.change(lambda state: self.host.desk.select("A"))
        self.until(lambda: self.run_script(order, first, second) > 0, "the first form is on top")

    def test_a_window_is_dragged_by_its_title_and_says_its_place_once(self):
        window = self.open_form("A", _form_of_all_kinds())
        title = self.one(".form .title")
        ActionChains(self.browser, duration=0).click_and_hold(title).move_by_offset(
            5, 5).move_by_offset(25, 15).release().perform()
        moves = [{"do": "move", "form": "A", "left": 330, "top": 70}]
        self.until_equal(moves, lambda: self.host.sent("move"))
        self.until_equal([330, 70], lambda: self.run_script(
            "return [arguments[0].offsetLeft, arguments[0].offsetTop];", window))

    def test_the_host_does_not_move_a_window_that_is_being_dragged(self):
        window = self.open_form("A", _form_of_all_kinds())
        chain = ActionChains(self.browser, duration=0)
        chain.click_and_hold(self.one(".form .title")).move_by_offset(30, 20).perform()
        self.host.change(lambda state: state["forms"]["A"].update(
            title="Moved", rect=[10, 10, 328, 206]))
        self.until_equal(["Moved"], lambda: self.texts(".form .title"))
        place = "return [arguments[0].offsetLeft, arguments[0].offsetTop];"
        self.assertEqual([330, 70], self.run_script(place, window))
        ActionChains(self.browser, duration=0).release().perform()
        self.until_equal([{"do": "move", "form": "A", "left": 330, "top": 70}],
                         lambda: self.host.sent("move"))
        self.until_equal([330, 70], lambda: self.run_script(place, window))

    def test_a_window_is_moved_by_keys(self):
        self.open_form("A", _form_of_all_kinds())
        self.chord(Keys.ALT, "-")
        self.until_equal("Move", self.focused)
        self.keys(Keys.ENTER, Keys.ARROW_RIGHT, Keys.ARROW_DOWN, Keys.ENTER)
        moves = [{"do": "move", "form": "A", "left": 308, "top": 58}]
        self.until_equal(moves, lambda: self.host.sent("move"))

    def test_a_click_on_what_is_no_action_selects_the_form(self):
        form = _form_of_all_kinds()
        form["items"]["E"].update(enabled=False, usable=False)
        self.open_form("A", form)
        for uid, inner in (("E", ""), ("C", ".box")):
            self.open_form("B", make_form("T", "Other", [700, 50, 100, 80]))
            self.item("A", uid, inner).click()
            self.until_equal("A", lambda: self.host.desk.state["selected"])
            self.host.change(lambda state: self.host.desk.close("B"))
            self.until_equal(1, lambda: len(self.all(".form")))
        self.assertEqual([], self.host.sent("press"))

    def test_a_form_is_closed_by_its_button(self):
        self.open_form("A", _form_of_all_kinds())
        self.one(".form .closeButton").click()
        self.until(lambda: not self.all(".form"), "the form is closed")

    def test_a_click_beside_the_items_leaves_the_item_that_was_changed(self):
        form = _form_of_all_kinds()
        form["focus"] = "E"
        form["items"]["E"]["changed"] = True
        self.open_form("A", form)
        inside = self.one(".formClient")
        ActionChains(self.browser, duration=0).move_to_element_with_offset(
            inside, 155, 85).click().perform()
        self.until_equal([{"do": "validate", "form": "A", "item": "E"}],
                         lambda: self.host.sent("validate"))

    def test_a_right_click_names_the_item(self):
        self.open_form("A", _form_of_all_kinds())
        ActionChains(self.browser, duration=0).context_click(self.item("A", "E")).perform()
        self.until_equal([{"do": "right", "form": "A", "item": "E"}],
                         lambda: self.host.sent("right"))

    def test_colours_follow_the_system_and_the_switch(self):
        back = "return getComputedStyle(document.body).backgroundColor;"
        self.emulate(prefers_color_scheme="light")
        light = self.run_script(back)
        self.emulate(prefers_color_scheme="dark")
        dark = self.run_script(back)
        self.assertNotEqual(light, dark)
        self.one(".tool.theme").click()
        self.until_equal("As the system", self.focused)
        self.keys(Keys.ARROW_DOWN, Keys.ENTER)
        self.until_equal(light, lambda: self.run_script(back))
        self.load()
        self.until_equal(light, lambda: self.run_script(back))
        self.run_script("sessionStorage.clear();")
