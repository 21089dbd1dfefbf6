"""Several pages of one desk, message boxes whose page vanishes, and the end of the add-on."""

import signal

from desk_fixture import FORM, DeskTest

_QUESTION = "Order A-1 is there already. Change it?"


class DeskPagesTest(DeskTest):
    def setUp(self):
        self.add_on = self.start()
        self.page = self.add_on.page()

    def fill_order(self, number):
        self.open_orders(self.page)
        for item, text in (("221", number), ("222", "C1000"), ("224", "5")):
            self.assertEqual("done", self.page.do("type", form=FORM, item=item, text=text))

    def open_box(self):
        """Asks to store an order that is there already, which opens a box within a handler."""
        self.fill_order("A-1")
        action = self.page.send("press", form=FORM, item="1")
        self.page.until(lambda state: state["box"], "the box is open")
        self.assertEqual(_QUESTION, self.page.state["box"]["text"])
        return action, self.page.state["box"]["number"]

    def orders(self, page):
        """Returns customer, total and terms of the orders by their numbers."""
        answer = page.do("rows", form=FORM, item="201", **{"from": 1, "count": 500})
        return {row["cells"][0]: row["cells"][1:] for row in answer["rows"]}

    def test_two_pages_see_the_same_state(self):
        other = self.add_on.page()
        self.fill_order("A-3")
        self.assertEqual("done", self.page.do("press", form=FORM, item="1"))
        self.assertEqual("done", self.page.do("language", language=9))
        other.until(lambda state: other.number == self.page.number, "it has the same number")
        self.assertEqual(self.page.state, other.state)
        self.assertEqual("de", other.state["client"]["locale"])
        late = self.add_on.page()
        self.assertEqual(self.page.state, late.state)
        self.assertEqual(self.orders(self.page), self.orders(late))
        self.assertEqual(["C1000", "5.000000", "I"], self.orders(late)["A-3"])

    def test_pages_act_in_turn(self):
        self.open_orders(self.page)
        other = self.add_on.page()
        for number, key in enumerate("turn by turn"):
            page = (self.page, other)[number % 2]
            self.assertEqual("done", page.do("key", form=FORM, item="222", key=ord(key)))
        self.page.until(lambda state: self.page.number == other.number, "it has the same number")
        self.assertEqual("turn by turn", self.text_of(self.page, "222"))
        self.assertEqual(self.page.state, other.state)

    def test_a_page_that_comes_while_a_box_is_open_sees_it_and_answers_it(self):
        action, number = self.open_box()
        late = self.add_on.page()
        self.assertEqual(self.page.state, late.state)
        self.assertEqual("done", late.do("answer", box=number, button=1))
        self.assertEqual("done", self.page.reply(action))
        self.assertIsNone(late.state["box"])
        self.assertEqual(["C1000", "5.000000", "I"], self.orders(late)["A-1"])

    def test_all_but_the_answer_waits_while_a_box_is_open(self):
        _, number = self.open_box()
        other = self.add_on.page()
        before = other.state
        refused = (-7023, "A message box is open; answer it first.")
        for action, fields in (("press", {"form": FORM, "item": "2"}), ("menu", {"uid": "101"}),
                               ("shutdown", {}), ("language", {"language": 9}),
                               ("key", {"form": FORM, "item": "221", "key": 65})):
            with self.subTest(action=action):
                self.assertEqual(refused, other.do(action, **fields))
        self.assertEqual((-7023, "That message box is no longer open."),
                         other.do("answer", box=number + 1, button=1))
        self.assertEqual((-7023, "The message box has no such button."),
                         other.do("answer", box=number, button=3))
        self.assertEqual({"A-1", "A-2"}, set(self.orders(other)))
        self.assertEqual(before, other.state)

    def test_a_page_that_vanishes_in_the_middle_of_a_box_leaves_it_to_another(self):
        _, number = self.open_box()
        other = self.add_on.page()
        self.page.connection.vanish(resets=True)
        self.assertEqual("done", other.do("answer", box=number, button=1))
        other.until(lambda state: self.text_of(other, "221") == "", "the handler has ended")
        self.assertEqual(["C1000", "5.000000", "I"], self.orders(other)["A-1"])
        self.assert_works_on(other)

    def test_a_box_waits_for_the_page_that_reloads(self):
        _, number = self.open_box()
        self.page.connection.vanish()
        page = self.add_on.load()
        self.assertEqual((_QUESTION, number),
                         (page.state["box"]["text"], page.state["box"]["number"]))
        self.assertEqual("done", page.do("answer", box=number, button=2))
        self.assertEqual("A-1", self.text_of(page, "221"))
        self.assertEqual(["O'Brien", "109.500000", "I"], self.orders(page)["A-1"])

    def test_pages_that_vanish_during_a_long_job_do_not_stop_it(self):
        self.assertEqual("done", self.page.do("menu", uid="ORD_SAMPLE"))
        self.assertTrue(self.page.state["forms"]["QX_FIN_1"]["visible"])
        for number in range(10):
            self.add_on.load().connection.vanish(resets=number % 2 == 0)
        self.page.until(lambda state: not state["forms"]["QX_FIN_1"]["visible"],
                        "the job has ended")
        self.open_orders(self.page)
        samples = {f"S-{number:02}" for number in range(1, 29)}
        self.assertEqual({"A-1", "A-2"} | samples, set(self.orders(self.page)))

    def test_nonsense_in_the_middle_of_a_box_closes_its_page_only(self):
        action, number = self.open_box()
        other = self.add_on.page()
        other.socket.send('{"do":"answer","box":' + str(number) + '}')
        self.assertEqual(1008, other.end()[0])
        self.assertEqual("done", self.page.do("answer", box=number, button=1))
        self.assertEqual("done", self.page.reply(action))

    def test_the_end_by_one_page_says_goodbye_to_all(self):
        other = self.add_on.page()
        self.open_orders(self.page)
        self.assertEqual("done", self.page.do("shutdown"))
        self.assert_ends(self.page)
        self.assert_ends(other)
        self.assertEqual(0, self.add_on.wait())

    def test_the_menu_entry_that_ends_the_client_says_goodbye_to_all(self):
        other = self.add_on.page()
        self.assertEqual("done", self.page.do("menu", uid="101"))
        self.assert_ends(self.page)
        self.assert_ends(other)
        self.assertEqual(0, self.add_on.wait())

    def test_a_page_that_takes_nothing_does_not_hold_up_the_end(self):
        deaf = self.add_on.page()  # reads nothing from now on, and does not confirm its closing
        self.assertEqual("done", self.page.do("shutdown"))
        self.assert_ends(self.page)
        self.assertEqual(0, self.add_on.wait())
        self.assert_ends(deaf)

    def test_a_signal_that_ends_the_add_on_ends_its_pages(self):
        other = self.add_on.page()
        self.open_orders(self.page)
        other.until(lambda state: FORM in state["forms"], "it sees the form")
        self.add_on.process.send_signal(signal.SIGTERM)
        for page in (self.page, other):
            self.assertEqual((1001, "The host ends."), page.end())
            self.assertEqual("The add-on was ended by a signal.", page.bye)
        self.assertEqual(-signal.SIGTERM, self.add_on.wait())

    def test_a_signal_ends_the_add_on_while_a_box_is_open(self):
        self.open_box()
        self.add_on.process.send_signal(signal.SIGINT)
        self.assertEqual((1001, "The host ends."), self.page.end())
        self.assertEqual("The add-on was ended by a signal.", self.page.bye)
        self.assertEqual(-signal.SIGINT, self.add_on.wait())
