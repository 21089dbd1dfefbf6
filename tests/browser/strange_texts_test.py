"""Texts of add-ons that are markup, controls, directions or names with a meaning elsewhere."""

from form_documents import make_column, make_form, make_item
from page_fixture import PageTest
from selenium.webdriver.common.keys import Keys

_MARKUP = "<img src=x onerror=\"window.harmed = true\"><script>window.harmed = true</script>&amp;"
_MIXED = "\u202eabc\u202c \u05e9\u05dc\u05d5\u05dd \u200f(1)"
_CONTROLS = "a\u0007b\u001bc"
_UIDS = ["__proto__", "constructor", "\"]'\\<b>", "a b/c~1", " "]


class StrangeTexts(PageTest):
    def test_a_uid_may_be_any_text(self):
        form = make_form("T", "Uids", [300, 50, 328, 206])
        for at, uid in enumerate(_UIDS):
            form["items"][uid] = make_item("edit", [5, 5 + at * 20, 100, 14], text=str(at))
        form["order"] = list(_UIDS)
        form["sources"] = {"__proto__": {"type": 9, "size": 1, "value": "x"}}
        self.open_form("__proto__", form)
        for at, uid in enumerate(_UIDS):
            self.assertEqual(str(at), self.item("__proto__", uid, "input").get_property("value"))
        self.host.change(lambda state: [
            state["forms"]["__proto__"]["items"][uid].update(text="new " + uid) for uid in _UIDS])
        for uid in _UIDS:
            self.until_equal("new " + uid, lambda: self.item(
                "__proto__", uid, "input").get_property("value"))
        self.item("__proto__", "__proto__", "input").click()
        self.keys(Keys.END, "!")
        self.until_equal("new __proto__!", lambda: self.host.desk.state["forms"]["__proto__"][
            "items"]["__proto__"]["text"])
        self.assertIsNone(self.run_script("return ({}).text ?? null;"))

    def test_texts_are_never_markup(self):
        for text in (_MARKUP, _MIXED, _CONTROLS):
            with self.subTest(text=text):
                self.host.reset()
                self.load()
                self._show_everywhere(text)
                self.assertIsNone(self.run_script("return window.harmed ?? null;"))
                self.assertEqual([], self.all("img, #desk script"))

    def _show_everywhere(self, text):
        form = make_form("T", text, [300, 50, 328, 206])
        form["items"] = {
            "S": make_item("static", [5, 5, 100, 14], caption=text, description=text),
            "B": make_item("button", [5, 150, 65, 19], caption=text, description=text),
            "E": make_item("edit", [110, 5, 150, 14], text=text),
            "C": make_item("combo", [110, 25, 150, 14], values=[[text, text]], chosen=0,
                           shown=text),
            "M": make_item("matrix", [5, 45, 300, 100], columns=[make_column("1", text, 200)])}
        form["order"] = list(form["items"])

        def change(state):
            self.host.desk.open("A", form)
            self.host.desk.fill_matrix("A", "M", [[text]])
            state["menus"][0]["text"] = text
            state["menus"][0]["children"][0]["text"] = text
            self.host.desk.show_message(text, "error")
            state["client"].update(company=text, user=text)

        self.host.change(change)
        self.one_form("A")
        self.until_equal([text], lambda: self.texts(".grid .row:not([hidden]) .cell"))
        for selector in (".form .title", ".static .label", ".button button", ".combo .shown",
                         ".grid .head .cell", "#statusBar .message bdi:last-child"):
            self.assertEqual([text], self.texts(selector), selector)
        self.assertEqual(text, self.item("A", "E", "input").get_property("value"))
        self.assertEqual(text, self.texts("#menuBar .bar button")[0])
        self.host.change(lambda state: state.update(
            box={"number": 1, "text": text, "buttons": [text, "", ""], "default": 1}))
        self.until_equal([text], lambda: self.texts("dialog.box .text"))
        self.host.say({"is": "log", "text": text + "\n"})
        self.host.say({"is": "statements", "list": [
            {"number": 1, "text": text, "rows": 1, "microseconds": 1, "error": text}]})
