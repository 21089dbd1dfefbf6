"""Pages that say what no page says: each ends or is refused, and the desk notices nothing."""

import json

from desk_client import RULES, Connection, Page
from desk_fixture import FORM, DeskTest

_RANGE = (-2147024809, "A number or a text of the action is outside of its range.")
_FORM = (-7000, "Invalid form")
_ITEM = (-7001, "Invalid item")
_TARGET = (-7023, "Not valid target")

_NO_MESSAGES = [
    "", "nonsense", "null", "7", '"menu"', "[]", '[{"do":"shutdown"}]', "{}",
    '{"do":"fly"}', '{"do":7}', '{"do":null}', '{"DO":"shutdown"}', '{"do":"menu"}',
    '{"do":"menu","uid":7}', '{"do":"menu","uid":null}', '{"do":"menu","uid":{"uid":"101"}}',
    '{"do":"menu","uid":"ORD_OPEN","uid":"ORD_OPEN"}', '{"do":"menu","do":"shutdown"}',
    '{"do":"menu","uid":"\\ud800"}', '{"do":"menu","id":"1","uid":"ORD_OPEN"}',
    '{"do":"answer","box":1.5,"button":1}', '{"do":"answer","box":1e400,"button":1}',
    '{"do":"panel","shown":1}', '{"do":"shutdown"', '{"do":"shutdown"}{"do":"shutdown"}',
    '{"do":"shutdown","id":null}', '{"do":"shutdown","more":[]}', "[" * 60_000, '{"a":' * 9_000,
    '{"do":"type","form":"ORDERS_1","item":"221","text":"' + "x" * 65_300,
]

# The kind of a frame, its bytes, and the code and reason with which it ends the page.
_FRAMES = [
    (1, b"x" * 65_537, (1009, "A message has more than 65536 bytes.")),
    (1, b'{"do":"shutdown","x":"' + b"x" * 200_000, (1009, "A message has more than 65536 bytes.")),
    (2, b'{"do":"shutdown"}', (1003, "Only texts are understood.")),
    (1, b'{"do":"\xff\xfe"}', (1007, "")),
    (3, b"a kind that there is not", (1002, "")),
    (9, b"a ping that is too long" * 10, (1002, "")),
]

# The bytes of frames that break the rules of WebSockets.
_BROKEN = [
    b"\x81\x02{}",  # without a mask
    b"\xf1\x80\0\0\0\0",  # with bits that are reserved
    b"\x80\x80\0\0\0\0",  # a continuation of nothing
    b"\x88\x81\0\0\0\0a",  # a farewell with half a code
    b"GET / HTTP/1.1\r\n\r\n",
]

_REFUSED = [
    ("menu", {"uid": "nope"}, (-7026, "Invalid menu item")),
    ("menu", {"uid": ""}, (-7026, "Invalid menu item")),
    ("press", {"form": "F_99", "item": "1"}, _FORM),
    ("press", {"form": "", "item": ""}, _FORM),
    ("press", {"form": FORM, "item": "99"}, _ITEM),
    ("press", {"form": FORM, "item": "201", "column": "99", "row": 1}, (-7015, "Invalid column")),
    ("press", {"form": FORM, "item": "201", "row": 3}, (-7028, "Illegal offset")),
    ("press", {"form": FORM, "item": "201", "row": -1}, _RANGE),
    ("press", {"form": FORM, "item": "201", "row": 2**31}, _RANGE),
    ("press", {"form": FORM, "item": "201", "row": 2**63}, _RANGE),
    ("double", {"form": FORM, "item": "201", "column": "211", "row": 99},
     (-7028, "Illegal offset")),
    ("key", {"form": FORM, "item": "221", "key": 0}, _RANGE),
    ("key", {"form": FORM, "item": "221", "key": 65_536}, _RANGE),
    ("type", {"form": FORM, "item": "221", "text": "x" * 10_001}, _RANGE),
    ("type", {"form": FORM, "item": "1", "text": "a button"}, _TARGET),
    ("type", {"form": FORM, "item": "201", "column": "211", "row": 1, "text": "x"}, _TARGET),
    ("choose", {"form": FORM, "item": "225", "key": "X"}, (-7018, "Invalid field value")),
    ("choose", {"form": FORM, "item": "221", "key": "I"}, _TARGET),
    ("validate", {"form": FORM, "item": "99"}, _ITEM),
    ("right", {"form": FORM, "item": "99"}, _ITEM),
    ("tab", {"form": "F_99"}, _FORM),
    ("select", {"form": "F_99"}, _FORM),
    ("close", {"form": "F_99"}, _FORM),
    ("close", {"form": "F_0"}, (-7002, "Function not supported")),
    ("print", {"form": "F_99"}, _FORM),
    ("report", {"form": "F_99"}, _FORM),
    ("move", {"form": "F_99", "left": 1, "top": 1}, _FORM),
    ("language", {"language": 4711}, _RANGE),
    ("language", {"language": -(2**63)}, _RANGE),
    ("answer", {"box": 1, "button": 1}, (-7023, "That message box is no longer open.")),
    ("rows", {"form": FORM, "item": "201", "from": 0, "count": 1}, _RANGE),
    ("rows", {"form": FORM, "item": "201", "from": 1, "count": 501}, _RANGE),
    ("rows", {"form": FORM, "item": "201", "from": 1, "count": 0}, _RANGE),
    ("rows", {"form": FORM, "item": "221", "from": 1, "count": 1}, _TARGET),
    ("rows", {"form": FORM, "item": "99", "from": 1, "count": 1}, _ITEM),
    ("rows", {"form": "F_99", "item": "201", "from": 1, "count": 1}, _FORM),
]


class DeskNonsenseTest(DeskTest):
    def setUp(self):
        self.add_on = self.start()
        self.other = self.add_on.page()
        self.open_orders(self.other)
        self.before = self.add_on.state()
        self.events_before = self.add_on.events()

    def assert_unharmed(self):
        """Nothing has changed, no event was raised, and the other page works on."""
        self.assertEqual(self.before, self.add_on.state())
        self.assertEqual(self.events_before, self.add_on.events())
        self.assert_works_on(self.other)

    def tearDown(self):
        self.end_client(self.other)

    def ends_with(self, farewell, send):
        page = self.add_on.page()
        send(page)
        self.assertEqual(farewell, page.end())
        self.assertIsNone(page.bye)

    def test_a_text_that_is_no_message_closes_its_page(self):
        for text in _NO_MESSAGES:
            with self.subTest(text=text[:60]):
                self.ends_with(RULES, lambda page, text=text: page.socket.send(text))
        self.assert_unharmed()

    def test_a_frame_that_is_no_text_or_too_long_closes_its_page(self):
        for kind, data, farewell in _FRAMES:
            with self.subTest(kind=kind, data=data[:30]):
                self.ends_with(farewell, lambda page, kind=kind, data=data:
                               page.socket.send_frame(kind, data))
        self.assert_unharmed()

    def test_a_broken_frame_closes_its_page(self):
        for data in _BROKEN:
            with self.subTest(data=data):
                self.ends_with((1002, ""), lambda page, data=data: page.connection.say(data))
        self.assert_unharmed()

    def test_an_action_on_what_is_not_there_is_refused_with_its_code(self):
        page = self.add_on.page()
        for action, fields, refusal in _REFUSED:
            with self.subTest(action=action, fields=str(fields)[:80]):
                self.assertEqual(refusal, page.do(action, **fields))
        page.close()
        self.assert_unharmed()

    def test_rows_beyond_the_last_one_are_none(self):
        page = self.add_on.page()
        rows = page.do("rows", form=FORM, item="201", **{"from": 3, "count": 500})
        page.close()
        self.assertEqual([], rows["rows"])
        self.assert_unharmed()

    def test_an_action_on_a_form_that_is_gone_is_refused(self):
        page = self.add_on.page()
        self.assertEqual("done", page.do("press", form=FORM, item="2"))
        self.assertNotIn(FORM, page.state["forms"])
        events = self.add_on.events()
        for action, fields in (("press", {"item": "2"}), ("key", {"item": "221", "key": 65}),
                               ("type", {"item": "221", "text": "x"}), ("close", {}),
                               ("rows", {"item": "201", "from": 1, "count": 1})):
            with self.subTest(action=action):
                self.assertEqual(_FORM, self.other.do(action, form=FORM, **fields))
        self.assertEqual(events, self.add_on.events())
        self.assertEqual(page.state, self.other.state)
        page.close()

    def test_a_page_that_sends_too_much_is_closed(self):
        page = self.add_on.page()
        for _ in range(1000):
            page.socket.send('{"do":"select","form":"F_99"}')
        # It depends on the add-on's speed whether the rate or the queue is exceeded first.
        self.assertIn(page.end(), [RULES, (1008, "The page sends too many messages.")])
        self.assert_unharmed()

    def test_a_ninth_page_is_closed_and_says_why(self):
        pages = [self.add_on.page() for _ in range(7)]
        connection = Connection(self.add_on.port)
        self.assertEqual(101, self.add_on.ask_for_socket(connection)[0])
        ninth = Page(connection)
        self.assertEqual((1013, "8 pages are open; close one of them."), ninth.end())
        for page in pages:
            page.close()
        self.assert_unharmed()

    def test_a_thousand_connections_do_not_keep_the_user_out(self):
        idle = [Connection(self.add_on.port) for _ in range(200)]
        for _ in range(800):
            Connection(self.add_on.port).vanish()
        self.assertEqual(200, self.add_on.get("/")[0])
        for connection in idle:
            connection.vanish()
        self.assert_unharmed()

    def test_actions_without_an_id_get_no_reply(self):
        page = self.add_on.page()
        page.socket.send(json.dumps({"do": "press", "form": "F_99", "item": "1"}))
        number = page.send("answer", box=9, button=1)
        self.assertEqual(number, page.receive()["re"])
        page.close()
        self.assert_unharmed()
