"""The state of a desk and what the user's actions do to it: enough of the host to test the page.

A test sets the tables of refusals and vetoes, or replaces a method.
"""

from form_documents import make_column, make_form, make_item

_TEXTS = {1: 1037, 9: 1031}
_FORMS = {"3001": "3101", "3002": "1001"}
_BACKSPACE, _ENTER, _FIRST_PRINTABLE = 8, 13, 32


class Refused(Exception):
    """An action that the host refuses with a code."""

    def __init__(self, code, why):
        super().__init__(why)
        self.code = code


class FakeDesk:
    """`vetoed_keys` are (item, unit); `refusals` are sentences by the name of an action."""

    def __init__(self):
        self.vetoed_keys = set()
        self.vetoed_actions = set()
        self.refusals = {}
        self.panel_shown = False
        self.events = []
        self.event_number = 0
        self.ended = None
        self.opened = 0
        self.anchor = 0
        self.rows = {}
        self.state = {
            "client": {"company": "Orders", "user": "manager", "language": 3, "locale": "en",
                       "direction": "ltr", "started": True, "texts": 1033},
            "menus": make_menus(), "order": [], "stack": [], "selected": "", "forms": {},
            "status": {"number": 0, "text": "", "kind": "none", "time": 0}, "messages": [],
            "progress": None, "box": None,
        }
        main = make_form("169", "Main Menu", [0, 0, 240, 600])
        main["system"] = True
        self.open("F_0", main)

    def open(self, uid, form):
        """Opens a form and selects it."""
        self.state["forms"][uid] = form
        self.state["order"].append(uid)
        self.select(uid)

    def select(self, uid):
        stack = self.state["stack"]
        if uid in stack:
            stack.remove(uid)
        stack.append(uid)
        self.state["selected"] = uid

    def close(self, uid):
        del self.state["forms"][uid]
        self.state["order"].remove(uid)
        self.state["stack"].remove(uid)
        self.state["selected"] = self.state["stack"][-1] if self.state["stack"] else ""

    def show_message(self, text, kind="none"):
        status = self.state["status"]
        self.state["status"] = {"number": status["number"] + 1, "text": text, "kind": kind,
                                "time": 0}
        self.state["messages"] = (self.state["messages"] + [{"text": text, "kind": kind}])[-50:]

    def fill_matrix(self, form, item, rows):
        """Gives a matrix its rows, lists of texts."""
        self.rows[form, item] = [{"cells": cells, "selected": False} for cells in rows]
        matrix = self.state["forms"][form]["items"][item]
        matrix["rows"] = len(rows)
        matrix["revision"] += 1

    def perform(self, action):
        """Carries an action out and returns the reply."""
        try:
            return self._perform(action)
        except Refused as refused:
            return {"is": "reply", "re": action["id"], "result": "refused", "code": refused.code,
                    "why": str(refused)}

    def _perform(self, action):
        name = action["do"]
        if self.state["box"] is not None and name not in ("answer", "rows", "panel"):
            raise Refused(-7023, "A message box is open.")
        if name in self.refusals:
            raise Refused(-7023, self.refusals[name])
        if name == "rows":
            return self._rows(action)
        if "form" in action and action["form"] not in self.state["forms"]:
            raise Refused(-7000, "The form is not open.")
        done = name not in self.vetoed_actions and self._run(name, action) is not False
        if name != "panel":
            self._record(action, done)
        return {"is": "reply", "re": action["id"], "result": "done" if done else "vetoed"}

    def _run(self, name, action):
        return getattr(self, "_do_" + name)(action)

    def _record(self, action, done):
        self.event_number += 1
        self.events.append({
            "number": self.event_number, "kind": "item", "type": 1, "name": action["do"],
            "form": action.get("form", ""), "formType": "", "item": action.get("item", ""),
            "column": action.get("column", ""), "row": action.get("row", 0),
            "char": action.get("key", 0) if action["do"] == "key" else 0, "menu": "",
            "before": True, "depth": 0, "microseconds": 100 + self.event_number,
            "sinks": [{"sink": 1, "microseconds": 100, "veto": not done}], "veto": not done})

    def _rows(self, action):
        rows = self.rows.get((action["form"], action["item"]), [])
        first = action["from"] - 1
        item = self.state["forms"][action["form"]]["items"][action["item"]]
        return {"is": "rows", "re": action["id"], "form": action["form"], "item": action["item"],
                "revision": item["revision"], "from": action["from"],
                "rows": rows[first:first + action["count"]]}

    def _item(self, action):
        form = self.state["forms"][action["form"]]
        if action["item"] not in form["items"]:
            raise Refused(-7001, "The form has no such item.")
        item = form["items"][action["item"]]
        if not item["usable"]:
            raise Refused(-7023, "The item is hidden or disabled.")
        return form, item

    def _enter(self, action):
        form, item = self._item(action)
        self.select(action["form"])
        if item["type"] != "static":
            form["focus"] = action["item"]
        return form, item

    def _do_press(self, action):
        form, item = self._enter(action)
        if item["type"] == "matrix" and action.get("row", 0) > 0 and item["selection"] != "none":
            self._select_rows(action, item)
        if item["type"] == "button":
            self._press_button(action["form"], form, action["item"])

    def _select_rows(self, action, item):
        many = item["selection"] == "many"
        ctrl, shift = many and action.get("ctrl"), many and action.get("shift")
        pressed = action["row"] - 1
        start = self.anchor if shift else pressed
        rows = self.rows[action["form"], action["item"]]
        for at, row in enumerate(rows):
            if ctrl and not shift:
                row["selected"] ^= at == pressed
            else:
                within = min(start, pressed) <= at <= max(start, pressed)
                row["selected"] = within or bool(ctrl and row["selected"])
        if not shift:
            self.anchor = pressed
        item["revision"] += 1

    def _press_button(self, uid, form, button):
        if button == "2" or (button == "1" and form["mode"] == "ok"):
            self.close(uid)
        elif button == "1":
            form["mode"] = "ok"

    def _do_double(self, action):
        self._do_press(action)

    def _do_key(self, action):
        form, item = self._enter(action)
        key = action["key"]
        if (action["item"], key) in self.vetoed_keys:
            return False
        if key == _ENTER:
            if form["default"]:
                self._do_press({"form": action["form"], "item": form["default"]})
        elif key == _BACKSPACE:
            self._set_text(action, form, item, "")
        elif key >= _FIRST_PRINTABLE and (item["type"] == "edit" or action.get("column")):
            self._set_text(action, form, item, self._text(action, item) + chr(key))
        return True

    def _do_type(self, action):
        form, item = self._enter(action)
        kept = [one for one in action["text"] if (action["item"], ord(one)) not in self.vetoed_keys]
        self._set_text(action, form, item, "".join(kept))
        return len(kept) == len(action["text"])

    def _cell(self, action, item):
        at = [column["uid"] for column in item["columns"]].index(action["column"])
        return self.rows[action["form"], action["item"]][action["row"] - 1]["cells"], at

    def _text(self, action, item):
        if item["type"] == "edit":
            return item["text"]
        cells, at = self._cell(action, item)
        return cells[at]

    def _set_text(self, action, form, item, text):
        if item["type"] == "edit":
            item.update(text=text, changed=True)
        else:
            cells, at = self._cell(action, item)
            cells[at] = text
            item["revision"] += 1
        if form["mode"] == "ok":
            form["mode"] = "update"

    def _do_tab(self, action):
        form = self.state["forms"][action["form"]]
        stops = [uid for uid in form["order"] if form["items"][uid]["usable"]
                 and form["items"][uid]["type"] != "static"]
        at = stops.index(form["focus"]) if form["focus"] in stops else -1
        step = -1 if action.get("shift") else 1
        form["focus"] = stops[(at + step) % len(stops)] if stops else ""

    def _do_validate(self, action):
        self._item(action)[1]["changed"] = False

    def _do_choose(self, action):
        form, item = self._enter(action)
        keys = [key for _, key in item["values"]]
        if action["key"] not in keys:
            raise Refused(-7010, "The combo box has no such entry.")
        item["chosen"] = keys.index(action["key"])
        item["shown"] = item["values"][item["chosen"]][0]

    def _do_right(self, action):
        pass

    _do_print = _do_report = _do_right

    def _do_select(self, action):
        self.select(action["form"])

    def _do_close(self, action):
        self.close(action["form"])

    def _do_move(self, action):
        self.state["forms"][action["form"]]["rect"][:2] = [action["left"], action["top"]]

    def _do_menu(self, action):
        if action["uid"] == "101":
            self._do_shutdown(action)
        elif action["uid"] in _FORMS:
            self.opened += 1
            self.open(f"F_{self.opened}", make_system_form(_FORMS[action["uid"]]))
            if action["uid"] == "3001":
                self.fill_matrix(f"F_{self.opened}", "20", [["", "", "", ""]])

    def _do_answer(self, action):
        if self.state["box"] is None or action["box"] != self.state["box"]["number"]:
            raise Refused(-7023, "The box is not open.")
        self.state["box"] = None

    def _do_language(self, action):
        hebrew = action["language"] == 1
        self.state["client"].update(language=action["language"], locale="he" if hebrew else "en",
                                    direction="rtl" if hebrew else "ltr",
                                    texts=_TEXTS.get(action["language"], 1033))

    def _do_shutdown(self, action):
        self.ended = "The client was shut down."

    def _do_stop(self, action):
        progress = self.state["progress"]
        if progress is None or progress["number"] != action["progress"]:
            raise Refused(-7023, "The progress bar is gone.")
        self.state["progress"] = None

    def _do_panel(self, action):
        self.panel_shown = action["shown"]


def make_menu(uid, text, children=None, **fields):
    """Returns an entry of the menu bar: a popup if it has children, a separator without a text."""
    kind = "separator" if text == "" else "string" if children is None else "popup"
    return {"uid": uid, "text": text, "type": kind, "enabled": True, "checked": False,
            "children": children or [], **fields}


def make_menus():
    """Returns the menus of a host that has just started."""
    return [
        make_menu("100", "File", [make_menu("101", "Quit")]),
        make_menu("1280", "Data", [
            make_menu("1281", "Find"), make_menu("1282", "Add"),
            make_menu("1283", "Delete", enabled=False), make_menu("1284", ""),
            make_menu("1288", "Next Record", checked=True)]),
        make_menu("3000", "Sales", [
            make_menu("3001", "Sales Order"), make_menu("3002", "Customer"),
            make_menu("3010", "Reports", [make_menu("3011", "Turnover")])]),
        make_menu("4000", "Add-Ons", []),
    ]


def make_system_form(kind):
    """Returns one of the host's own forms."""
    return _make_order() if kind == "3101" else _make_customer()


def _labelled(form, uid, label, top, item):
    form["items"]["L" + uid] = make_item("static", [5, top, 100, 14], caption=label, link=uid)
    form["items"][uid] = item


def _finish(form, top):
    buttons = {"1": make_item("button", [5, top, 65, 19], caption="OK"),
               "2": make_item("button", [75, top, 65, 19], caption="Cancel")}
    form["items"] = {**buttons, **form["items"]}
    form.update(order=list(form["items"]), default="1", system=True)
    return form


def _make_order():
    form = make_form("3101", "Sales Order", [260, 40, 520, 360])
    for top, uid, label in ((5, "4", "Customer"), (20, "5", "Name"), (35, "6", "Posting Date")):
        _labelled(form, uid, label, top, make_item("edit", [110, top, 150, 14], limit=20))
    _labelled(form, "7", "Status", 50, make_item(
        "combo", [110, 50, 150, 14], values=[["Open", "O"], ["Closed", "C"], ["Cancelled", "X"]],
        chosen=0, shown="Open"))
    form["items"]["20"] = make_item(
        "matrix", [5, 75, 500, 215], selection="one",
        columns=[make_column("0", "#", 40, right=True),
                 make_column("1", "Item No.", 120, editable=True),
                 make_column("2", "Quantity", 80, editable=True, right=True),
                 make_column("3", "Unit Price", 80, editable=True, right=True)])
    form["focus"] = "4"
    return _finish(form, 300)


def _make_customer():
    form = make_form("1001", "Customer", [300, 60, 400, 200])
    _labelled(form, "5", "Code", 5, make_item("edit", [110, 5, 150, 14]))
    _labelled(form, "7", "Name", 20, make_item("edit", [110, 20, 150, 14]))
    form["focus"] = "5"
    return _finish(form, 140)
