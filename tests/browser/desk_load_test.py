"""Pages that reload and pages that vanish while the add-on handles events."""

import os

from desk_client import until
from desk_fixture import FORM, DeskTest

_WARM_UP = 20
# It is a few KiB, and 50 pages that left their states behind would take more than 256. Under a
# sanitizer, which keeps freed memory, a leak is found at the end of the program instead.
_MOST_GROWTH_KIB = 4096 if os.environ.get("QX_SANITIZE") else 256
_BACKSPACE = 8


class DeskLoadTest(DeskTest):
    def setUp(self):
        self.add_on = self.start()
        self.typist = self.add_on.page()
        self.open_orders(self.typist)
        self.descriptors = self.add_on.usage()[1]
        self.typed = []  # the items and keys of all rounds
        self.shown = {"221": "", "222": ""}

    def test_memory_descriptors_and_threads_stay_flat_over_200_reloads_during_events(self):
        self.check_flat(200, lambda page, number: page.close())

    def test_memory_descriptors_and_threads_stay_flat_over_50_vanishing_pages_during_events(self):
        self.check_flat(50, self.vanish)

    def test_memory_stays_flat_when_pages_with_the_panel_vanish(self):
        def leave(page, number):
            page.send("panel", shown=True)
            page.connection.vanish(resets=number % 2 == 0)

        self.check_flat(50, leave)

    @staticmethod
    def vanish(page, number):
        """Ends a page without a closing frame, also in the middle of a frame and of an action."""
        if number % 3 == 1:
            page.connection.say(b"\x81\xfe\x10\x00half of a frame")
        elif number % 3 == 2:
            page.send("rows", form=FORM, item="201", **{"from": 1, "count": 500})
        page.connection.vanish(resets=number % 2 == 0)

    def check_flat(self, count, leave):
        for number in range(_WARM_UP):
            self.round(number, leave)
        memory, descriptors, threads = self.usage_at_rest()
        for number in range(_WARM_UP, _WARM_UP + count):
            self.round(number, leave)
        # The server learns a moment later that the last ones are gone.
        until(lambda: self.add_on.usage()[1:] == (descriptors, threads),
              f"there are {descriptors} descriptors and {threads} threads again")
        growth = self.add_on.usage()[0] - memory
        self.assertLess(growth, _MOST_GROWTH_KIB, f"{count} pages left {growth} KiB")
        self.check_handlers()

    def usage_at_rest(self):
        """Returns the usage with only the typist's page open."""
        until(lambda: self.add_on.usage()[1] == self.descriptors,
              f"there are {self.descriptors} descriptors")
        return self.add_on.usage()

    def round(self, number, leave):
        """A page comes and goes while another one types."""
        asked = [self.type("221", f"{number:020}")]
        if len(self.shown["222"]) == 50:  # it holds no more
            asked.append(self.type("222", ""))
        asked.append(self.key("222", chr(ord("a") + number % 26)))
        leave(self.add_on.load(), number)
        for action in asked:
            self.assertEqual("done", self.typist.reply(action))
        self.assertEqual(self.shown, {item: self.text_of(self.typist, item)
                                      for item in self.shown})

    def type(self, item, text):
        """Asks to replace a text, which is done key by key; the first key clears the item."""
        self.typed += [(item, _BACKSPACE)] if self.shown[item] else []
        self.typed += [(item, ord(one)) for one in text]
        self.shown[item] = text
        return self.typist.send("type", form=FORM, item=item, text=text)

    def key(self, item, key):
        self.typed.append((item, ord(key)))
        self.shown[item] += key
        return self.typist.send("key", form=FORM, item=item, key=ord(key))

    def check_handlers(self):
        """The events are exactly those of the typed keys, and a new page sees what was typed."""
        expected = [f"item 2 {FORM} {item} key {key} {when}" for item, key in self.typed
                    for when in ("before", "after")]
        self.assertEqual(expected, [one for one in self.add_on.events() if " key " in one])
        self.assertEqual(self.typist.state, self.add_on.state())
        self.end_client(self.typist)


