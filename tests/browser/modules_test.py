"""The page's modules without a view: patches, changes of a text, rows, the search by letters."""

import re

from fake_host import PAGE
from page_fixture import PageTest

_PATCH = """
const { applyPatch, parseJson } = await import("/json_patch.js");
const plain = (value) => value instanceof Map ?
  ["map", ...[...value].map(([key, member]) => [key, plain(member)])] :
  Array.isArray(value) ? value.map(plain) : value;
const before = parseJson(arguments_[0]);
const copy = JSON.stringify(plain(before));
let after = null;
try {
  after = plain(applyPatch(before, parseJson(arguments_[1])));
} catch (error) {
  after = `${error.constructor.name}: ${error.message}`;
}
return [after, JSON.stringify(plain(before)) === copy];
"""

_DOCUMENT = '{"a": [1, 2, 3], "b": {"x/y": 1, "m~n": 2}, "__proto__": {"c": 1}}'


class Patches(PageTest):
    def setUp(self):
        pass  # the page that is open serves all of them

    def apply(self, operations, document=_DOCUMENT):
        if not self.browser.current_url.startswith(self.host.address):
            self.load()
        after, kept = self.run_async("const arguments_ = a;" + _PATCH, document, operations)
        self.assertTrue(kept, "the document before has changed")
        return after

    def test_members_are_added_removed_and_replaced(self):
        self.assertEqual(["map", ["k", 1]], self.apply(
            '[{"op": "add", "path": "/k", "value": 1}]', "{}"))
        self.assertEqual(["map"], self.apply('[{"op": "remove", "path": "/k"}]', '{"k": 1}'))
        self.assertEqual(["map", ["k", ["map", ["l", None]]]], self.apply(
            '[{"op": "replace", "path": "/k", "value": {"l": null}}]', '{"k": 1}'))

    def test_elements_are_added_removed_and_replaced(self):
        for operations, expected in (
                ('[{"op": "add", "path": "/0", "value": 9}]', [9, 1, 2]),
                ('[{"op": "add", "path": "/2", "value": 9}]', [1, 2, 9]),
                ('[{"op": "add", "path": "/-", "value": 9}]', [1, 2, 9]),
                ('[{"op": "remove", "path": "/0"}]', [2]),
                ('[{"op": "replace", "path": "/1", "value": 9}]', [1, 9])):
            self.assertEqual(expected, self.apply(operations, "[1, 2]"))

    def test_the_whole_document_is_replaced(self):
        self.assertEqual(5, self.apply('[{"op": "replace", "path": "", "value": 5}]'))

    def test_paths_are_unescaped(self):
        self.assertEqual(
            ["map", ["a", [1, 2, 3]], ["b", ["map", ["x/y", 7], ["m~n", 8]]],
             ["__proto__", ["map", ["c", 1]]]],
            self.apply('[{"op": "replace", "path": "/b/x~1y", "value": 7},'
                       '{"op": "replace", "path": "/b/m~0n", "value": 8}]'))

    def test_an_escaped_tilde_is_no_part_of_an_escape(self):
        self.assertEqual(["map", ["~1", 2]], self.apply(
            '[{"op": "replace", "path": "/~01", "value": 2}]', '{"~1": 1}'))

    def test_a_member_may_be_called_proto(self):
        self.assertEqual(["map", ["__proto__", ["map", ["c", 2]]]], self.apply(
            '[{"op": "replace", "path": "/__proto__/c", "value": 2}]', '{"__proto__": {"c": 1}}'))
        self.assertEqual("PatchError: there is no '__proto__'", self.apply(
            '[{"op": "add", "path": "/__proto__/c", "value": 2}]', "{}"))

    def test_what_does_not_fit_is_refused(self):
        for operation, message in (
                ('{"op": "replace", "path": "/z", "value": 1}', "there is no 'z'"),
                ('{"op": "remove", "path": "/a/3"}', "there is no '3'"),
                ('{"op": "add", "path": "/a/4", "value": 1}', "'4' cannot be added"),
                ('{"op": "replace", "path": "/a/01", "value": 1}', "there is no '01'"),
                ('{"op": "replace", "path": "/a/0/q", "value": 1}', "there is no 'q'"),
                ('{"op": "replace", "path": "a", "value": 1}', "'a' is no path"),
                ('{"op": "replace", "path": "/a"}', "the operation has no value"),
                ('{"op": "move", "path": "/a", "from": "/b"}', "'move' is no operation"),
                ('{"op": "remove", "path": ""}', "the whole state cannot be removed")):
            self.assertEqual("PatchError: " + message, self.apply("[" + operation + "]"))


class Texts(Patches):
    def test_a_change_of_a_text_is_a_key_or_the_whole_text(self):
        self.apply("[]")
        changes = self.run_async(
            "const { describeChanges } = await import('/text_change.js');"
            "return a[0].map((each) => describeChanges(...each));",
            [["", "a"], ["a", "ab"], ["a", "a"], ["ab", "a"], ["ab", "xab"], ["a", "abc"],
             ["a", "a\u007f"], ["a", "a\n"], ["a", "a😀"], ["a", "a "],
             ["a", "a", True], ["a", "ab", True], ["a", "", True]])
        self.assertEqual([
            [97], [98], [], ["a"], ["xab"], ["abc"], ["a\u007f"], ["a\n"], [0xd83d, 0xde00], [32],
            ["a"], ["ab"], [""]],
            [[one["key"] if one["do"] == "key" else one["text"] for one in each]
             for each in changes])

    def test_rows_that_are_added_while_others_are_on_their_way_come_too(self):
        self.apply("[]")
        self.assertEqual([True, "row 10", 1], self.run_async("""
            const { RowCache } = await import('/row_cache.js');
            const asked = [];
            const host = { rows: 1, revision: 2 };
            const cache = new RowCache((from, count) => new Promise((resolve) => {
              asked.push(() => resolve(new Map([
                ["revision", host.revision],
                ["rows", Array.from({ length: Math.min(count, host.rows) },
                  (none, at) => `row ${from + at}`)]])));
            }), () => {});
            cache.setShape(1, 2);
            cache.want(0, 10);
            Object.assign(host, { rows: 1000, revision: 3 });
            cache.setShape(1000, 3);
            cache.want(0, 10);
            for (let at = 0; at < asked.length; at += 1) {
              asked[at]();
              await new Promise((resolve) => setTimeout(resolve));
            }
            return [cache.isFresh(9), cache.row(9) ?? null, asked.length];
        """))

    def test_letters_find_entries(self):
        self.apply("[]")
        found = self.run_async(
            "const { TypeAhead } = await import('/keyboard.js');"
            "const search = new TypeAhead(); const entries = ['Open', 'Closed', 'Cancelled'];"
            "let at = 0; return a[0].map((letter) => at = search.find(letter, entries, at));",
            ["c", "c", "c", "C"])
        self.assertEqual([1, 2, 1, 2], found)
        self.assertEqual([1, 2, -1], self.run_async(
            "const { TypeAhead } = await import('/keyboard.js');"
            "const search = new TypeAhead(); const entries = ['Open', 'Closed', 'Cancelled'];"
            "return ['c', 'a', 'x'].map((one, at) => search.find(one, entries, at));"))

    def tables(self):
        """Returns the texts of the page by the number of their table, and the English ones."""
        self.apply("[]")
        numbers = sorted(file.stem.removeprefix("texts_") for file in PAGE.glob("texts_*.js"))
        return self.run_async("""
            const tables = {};
            for (const number of a[0]) {
              tables[number] = (await import(`/texts_${number}.js`)).texts;
            }
            const { text } = await import("/texts.js");
            const english = {};
            for (const key of Object.keys(tables["1031"])) english[key] = text(key);
            return [tables, english];""", numbers)

    def test_every_language_has_every_text_with_the_same_places(self):
        tables, english = self.tables()
        self.assertEqual(23, len(tables))
        source = (PAGE / "texts.js").read_text(encoding="utf-8")
        keys = [key for key in re.findall(r'^  "([\w.]+)": "', source, re.MULTILINE)
                if not key.startswith(("panel.", "events.", "statements.", "forms."))]
        keys.remove("client.title")
        self.assertGreater(len(keys), 80)
        for number, table in tables.items():
            self.assertEqual(sorted(keys), sorted(table), number)
            for key, sentence in table.items():
                self.assertNotIn(sentence, ("", key), f"{key} in {number}")
                self.assertEqual(sorted(re.findall(r"{\w+}", english[key])),
                                 sorted(re.findall(r"{\w+}", sentence)), f"{key} in {number}")

    def test_the_texts_of_a_language_are_not_the_english_ones(self):
        tables, english = self.tables()
        for number, table in tables.items():
            same = [key for key, sentence in table.items() if sentence == english[key]]
            # "OK", "Menu", "Message" and "Information" are words of other languages, too.
            self.assertLessEqual(len(same), 6, f"{number}: {same}")

    def test_the_page_takes_the_tables_of_the_host(self):
        self.apply("[]")
        numbers = [int(file.stem.removeprefix("texts_")) for file in PAGE.glob("texts_*.js")]
        known = self.run_async("""
            const { text, useTexts } = await import("/texts.js");
            const said = [];
            for (const number of [...a[0], 1033, 2057, 4711]) {
              await useTexts(number);
              said.push(text("window.close"));
            }
            await useTexts(1033);
            return said;""", sorted(numbers))
        self.assertEqual(["Close"] * 3, known[-3:])
        self.assertNotIn("Close", known[:-3])
        strings = PAGE.parents[1] / "screens" / "strings"
        self.assertEqual(sorted(numbers), sorted(int(file.stem) for file in strings.iterdir()))
