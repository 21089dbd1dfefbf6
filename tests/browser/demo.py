"""The demonstration in a browser, unattended: what a person would do on the page of the add-on
`orders`, with a screenshot of each step.

  demo.py PROGRAM CONNECTION MENUS PICTURES

MENUS is a file with the printed menus of the client. Prints what it has seen, one line each, and
exits with 1 at the first thing that is missing.
"""

import os
import pathlib
import sys

from page_fixture import start_browser
from road import Client, Road, menu_paths, until

# Each step: what it shows, the actions, and a text that the page must then have.
_STEPS = [
    ("the menu entry opens the form", "menu ORD_OPEN", "Orders"),
    ("the add-on vetoes an order without a customer", """
press * 221
type * 221 A-3
press * 1
""", "Choose the customer of the order."),
    ("the user opens the choose list", "press * 226", "Steel and Sons"),
    ("the user chooses a customer from it", """
press * 10804
type * 10804 S1
press * 1
""", "A-3"),
    ("the order is stored", """
press * 224
type * 224 1250.75
press * 1
""", "1250.750000"),
    ("the add-on asks before it changes an order", """
press * 221
type * 221 A-1
press * 222
type * 222 C1000
press * 1
""", "Order A-1 is there already. Change it?"),
    ("the box is answered, and the order changes", "answer 1", "C1000"),
    ("the log settings open", "menu QX_551", "Log Settings"),
    ("the log settings close", "press * 2", "Orders"),
    ("the language changes", """
press * 2
language 9
menu ORD_OPEN
""", "Aufträge"),
    ("the client ends", """
press * 2
menu 101
""", "The client has ended"),
]


def page_text(browser):
    return browser.execute_script(
        "const values = [...document.querySelectorAll('input')].map((one) => one.value);"
        "return [document.body.innerText, ...values].join('\\n');")


def demonstrate(browser, client, road, pictures):
    browser.get(client.address())
    until(lambda: browser.execute_script(
        "return document.querySelector('#menuBar [role=menuitem]') !== null;"), "the page is drawn")
    print("ok: the page shows the desk")
    browser.save_screenshot(str(pictures / "00.png"))
    for number, (what, actions, text) in enumerate(_STEPS, 1):
        road.walk(actions)
        until(lambda: text in page_text(browser), f"the page shows '{text}' ({what})")
        print(f"ok: {what}")
        browser.save_screenshot(str(pictures / f"{number:02}.png"))


def main(program, connection, menus, pictures):
    folder = pathlib.Path(pictures)
    folder.mkdir(parents=True, exist_ok=True)
    tree = pathlib.Path(menus).read_text(encoding="utf-8").splitlines()
    client = Client(program, connection, dict(os.environ))
    browser = start_browser()
    try:
        demonstrate(browser, client, Road(browser, menu_paths(tree)), folder)
        code = client.wait()
        print(f"ok: the add-on ended with {code}" if code == 0 else f"MISSING: exit code {code}")
        return code
    except AssertionError as missing:
        browser.save_screenshot(str(folder / "failed.png"))
        print(f"MISSING: {missing}")
        return 1
    finally:
        browser.quit()
        if client.process.poll() is None:
            client.kill()


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
