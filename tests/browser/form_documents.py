"""Reads the XML documents of forms into the state of the desk, as the host's form reader does."""

import pathlib
import xml.etree.ElementTree as ElementTree

_ROOT = pathlib.Path(__file__).resolve().parents[2]
_TYPES = {"4": "button", "8": "static", "16": "edit", "113": "combo", "127": "matrix"}
_FRAME = (8, 26)
_SELECTIONS = {"0": "none", "1": "many", "2": "one"}


def stock_form(name, language):
    """Returns one of the three stock forms as its approved document has it."""
    return read_form(_ROOT / "qxframework" / "stock" / "testdata" / f"{name}.{language}.xml")


def read_form(path):
    """Returns (uid, form) of the only form in a document."""
    node = ElementTree.parse(path).getroot().find(".//form")
    sources = {source.get("uid"): make_source(source) for source in node.iter("datasource")}
    items = {}
    for child in node.iter():
        if child.tag.lower() == "item":
            items[child.get("uid")] = _read_item(child)
    left, top, width, height = _numbers(node, "left", "top", "width", "height")
    form = make_form(node.get("type"), node.get("title"), [left, top, width, height])
    form.update(items=items, order=list(items), sources=sources,
                color=int(node.get("color")), default=node.get("default_button"))
    if form["default"] not in items:
        form["default"] = ""
    form["focus"] = next((uid for uid, item in items.items()
                          if item["type"] in ("edit", "combo") and item["usable"]), "")
    return node.get("uid"), form


def make_form(kind, title, rect):
    """Returns a form without items."""
    client = [rect[2] - _FRAME[0], rect[3] - _FRAME[1]]
    return {"type": kind, "title": title, "system": False, "visible": True, "frozen": False,
            "rect": rect, "client": client, "mode": "ok", "pane": 0, "color": 0, "border": 0,
            "default": "", "focus": "", "objectType": "", "updates": 0, "sources": {},
            "order": [], "items": {}}


def make_item(kind, rect, **fields):
    """Returns an item of that type with the fields that its type has."""
    item = {"type": kind, "rect": rect, "visible": True, "enabled": True, "usable": True,
            "panes": [0, 0], "description": "", "link": ""}
    if kind in ("button", "static"):
        item["caption"] = ""
    elif kind == "edit":
        item.update(text="", limit=0, source="", right=False, changed=False,
                    style={"fore": -1, "back": -1, "text": 0, "size": 0})
    elif kind == "combo":
        item.update(values=[], chosen=-1, shown="", source="")
    elif kind == "matrix":
        item.update(selection="none", rows=0, revision=1, columns=[])
    item.update(fields)
    return item


def make_column(uid, title, width, **fields):
    """Returns a column of a matrix."""
    return {"uid": uid, "title": title, "width": width, "type": "edit", "visible": True,
            "editable": False, "right": False, "description": "", "limit": 0, **fields}


def make_source(node):
    """Returns a data source of a document."""
    return {"type": int(node.get("type")), "size": int(node.get("size")), "value": ""}


def _numbers(node, *names):
    return [int(node.get(name, "0")) for name in names]


def _read_item(node):
    specific = next((child for child in node if child.tag.lower() == "specific"), None)
    enabled, visible = node.get("enabled") != "0", node.get("visible") != "0"
    panes = [int(node.get("from_pane", "0")), int(node.get("to_pane", "0"))]
    item = make_item(_TYPES[node.get("type")], _numbers(node, "left", "top", "width", "height"),
                     visible=visible, enabled=enabled, usable=visible and enabled, panes=panes,
                     description=node.get("description", ""), link=node.get("linkto") or "")
    if item["type"] in ("button", "static"):
        item["caption"] = specific.get("caption", "")
    elif item["type"] == "edit":
        item["style"]["size"] = int(specific.get("font_size", "0"))
    elif item["type"] == "matrix":
        item["selection"] = _SELECTIONS[specific.get("SelectionMode", "0")]
        item["columns"] = [_read_column(column) for column in specific.iter("column")]
    return item


def _read_column(node):
    return make_column(node.get("uid"), node.get("title"), int(node.get("width")),
                       editable=node.get("editable") != "0", right=node.get("right_just") == "1",
                       description=node.get("description", ""))
