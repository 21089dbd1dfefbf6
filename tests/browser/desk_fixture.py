"""What the tests of the whole desk share: the add-on `orders` in a folder of its own."""

import os
import socket
import tempfile
import unittest

from desk_client import ENDS, AddOn

# The example, and the same with its events printed.
_RECORDED = os.environ["QX_RECORDED_ORDERS"]
_ORDERS = os.path.join(os.path.dirname(_RECORDED), "orders")
FORM = "ORDERS_1"


class DeskTest(unittest.TestCase):
    """A test that starts the add-on."""

    def start(self, **options):
        """Starts the add-on with printed events and takes its address."""
        add_on = self.launch(_RECORDED, **options)
        add_on.enter()
        return add_on

    def launch_example(self, **options):
        """Starts the example itself, which may be unable to start."""
        return self.launch(_ORDERS, **options)

    def launch(self, program, **options):
        folder = tempfile.TemporaryDirectory(prefix="desk-")
        self.addCleanup(folder.cleanup)
        add_on = AddOn(program, folder.name, **options)
        self.addCleanup(add_on.kill)
        return add_on

    def open_orders(self, page):
        """Opens the form with the orders."""
        self.assertEqual("done", page.do("menu", uid="ORD_OPEN"))
        self.assertIn(FORM, page.state["forms"])

    def assert_ends(self, page):
        """The page hears that the client has ended, and is closed."""
        self.assertEqual(ENDS, page.end())
        self.assertEqual("The client has ended.", page.bye)

    def end_client(self, page):
        """Ends the client by a page. It ends well, and has nothing to complain of."""
        self.assertEqual("done", page.do("shutdown"))
        self.assert_ends(page)
        self.assertEqual(0, self.add_on.wait())
        self.assertEqual("", self.add_on.errors.read_text())

    def assert_works_on(self, page):
        """Types a key into the form, and takes it away again."""
        text = self.text_of(page, "221")
        self.assertEqual("done", page.do("key", form=FORM, item="221", key=ord("K")))
        self.assertEqual(text + "K", self.text_of(page, "221"))
        self.assertEqual("done", page.do("key", form=FORM, item="221", key=8))
        self.assertEqual(text, self.text_of(page, "221"))

    @staticmethod
    def text_of(page, item):
        return page.state["forms"][FORM]["items"][item]["text"]

    @staticmethod
    def taken_port():
        """Returns a listening socket and its port."""
        listener = socket.create_server(("127.0.0.1", 0))
        return listener, listener.getsockname()[1]
