"""Who is kept out of the desk, and addresses at which it does not listen."""

from desk_client import Connection
from desk_fixture import DeskTest

_NO_KEY = ("This page shows the desk of a running program to its user only. Open the address that "
           "the program has printed when it started; it holds the key. A new start prints a new "
           "one.\n")
_WRONG_HOST = ("This server does not have the name by which it was called. Open the address that "
               "the program has printed.\n")
_WRONG_ORIGIN = "The socket opens for this server's own page only.\n"
_NOT_CONNECTED = "Connection to UI-API Error: Connection string not valid\n"


class DeskRefusalsTest(DeskTest):
    def assert_refused(self, sentence, answer):
        """A refusal says why and gives neither a cookie nor the token."""
        status, headers, body = answer
        self.assertEqual((403, sentence), (status, body))
        self.assertNotIn("set-cookie", headers)
        self.assertNotIn(self.add_on.token, str(headers))

    def refused_socket(self, sentence, **headers):
        connection = Connection(self.add_on.port)
        self.assert_refused(sentence, self.add_on.ask_for_socket(connection, **headers))
        connection.vanish()

    def test_a_stranger_gets_neither_the_page_nor_its_socket(self):
        self.add_on = self.start()
        page = self.add_on.page()
        name = self.add_on.cookie.partition("=")[0]
        token = self.add_on.token
        for cookie in (None, f"{name}=", f"{name}={token}", f"{name}={token[::-1]}",
                       self.add_on.cookie[:-1], self.add_on.cookie + "0"):
            with self.subTest(cookie=cookie):
                self.assert_refused(_NO_KEY, self.add_on.get("/", cookie=cookie))
                self.assert_refused(_NO_KEY, self.add_on.get("/main.js", cookie=cookie))
                self.refused_socket(_NO_KEY, cookie=cookie)
        self.open_orders(page)
        self.assert_works_on(page)

    def test_a_wrong_token_gives_no_cookie(self):
        self.add_on = self.start()
        token = self.add_on.token
        for wrong in ("", token[::-1], token[:-1], token + "0", token.upper(), "%00" + token):
            with self.subTest(token=wrong):
                self.assert_refused(_NO_KEY, self.add_on.get(f"/?token={wrong}", cookie=None))

    def test_a_forged_host_is_refused_with_the_key_as_well(self):
        self.add_on = self.start()
        port, token = self.add_on.port, self.add_on.token
        for host in ("evil.example", f"evil.example:{port}", f"127.0.0.1.evil.example:{port}",
                     f"127.0.0.1:{port}@evil.example", "127.0.0.1", f"0.0.0.0:{port}"):
            with self.subTest(host=host):
                self.assert_refused(_WRONG_HOST, self.add_on.get("/", host=host))
                self.assert_refused(_WRONG_HOST, self.add_on.get(f"/?token={token}", host=host))
                self.refused_socket(_WRONG_HOST, host=host, origin=f"http://{host}")

    def test_a_foreign_origin_does_not_open_the_socket(self):
        self.add_on = self.start()
        port = self.add_on.port
        for origin in ("http://evil.example", "null", "", f"https://127.0.0.1:{port}",
                       f"http://localhost:{port}", f"http://127.0.0.1:{port}/",
                       f"http://127.0.0.1:{port}.evil.example", "http://127.0.0.1"):
            with self.subTest(origin=origin):
                self.refused_socket(_WRONG_ORIGIN, origin=origin)

    def test_the_token_and_the_cookie_are_in_no_file_of_the_add_on(self):
        self.add_on = self.start(log_level=6)
        page = self.add_on.load()
        self.add_on.get("/?token=wrong", cookie=None)
        self.open_orders(page)
        self.end_client(page)
        # The output has the printed address.
        files = [path for path in self.add_on.folder.rglob("*")
                 if path.is_file() and path != self.add_on.output]
        self.assertIn("ORDERS.log", [path.name for path in files])
        cookie = self.add_on.cookie.partition("=")[2]
        for path in files:
            for secret in (self.add_on.token, cookie):
                self.assertNotIn(secret.encode(), path.read_bytes(), path)

    def assert_does_not_start(self, web, sentence):
        add_on = self.launch_example(web=web)
        self.assertEqual(1, add_on.wait())
        self.assertEqual(f"web={web}: {sentence}\n{_NOT_CONNECTED}", add_on.errors.read_text())
        self.assertEqual([], add_on.lines())
        self.assertFalse((add_on.folder / "company.db").exists())

    def test_an_address_that_other_machines_reach_is_refused_before_the_add_on_starts(self):
        for web in ("0.0.0.0:0", "192.168.1.5:0", "[::]:0"):
            with self.subTest(web=web):
                self.assert_does_not_start(
                    web, f'"{web}" is an address that other machines reach; write 127.0.0.1:0, or '
                         f"any:{web} if they shall reach it.")

    def test_a_text_that_is_no_address_is_refused_before_the_add_on_starts(self):
        self.assert_does_not_start(
            "example.com:0", '"example.com:0" is no address with a port; write one such as '
                             "127.0.0.1:0, [::1]:0 or localhost:8080.")
        self.assert_does_not_start(
            "127.0.0.1", '"127.0.0.1" has no port from 0 to 65535 behind a colon; write '
                         "127.0.0.1:0, which takes a free port.")

    def test_a_port_in_use_is_refused_before_the_add_on_starts(self):
        listener, port = self.taken_port()
        with listener:
            self.assert_does_not_start(
                f"127.0.0.1:{port}", f"Port {port} of 127.0.0.1 is in use; end the program that "
                                     "has it, or write port 0, which takes a free one.")

    def test_a_second_add_on_does_not_take_the_port_of_the_first(self):
        self.add_on = self.start()
        page = self.add_on.page()
        port = self.add_on.port
        self.assert_does_not_start(
            f"127.0.0.1:{port}", f"Port {port} of 127.0.0.1 is in use; end the program that has "
                                 "it, or write port 0, which takes a free one.")
        self.open_orders(page)
        self.assert_works_on(page)
