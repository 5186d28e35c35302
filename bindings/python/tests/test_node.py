"""Documents from Python, against the library that KE_UTILS_LIBRARY names."""

import os
import re
import subprocess
import sys
import unittest

import ke_utils

HERE = os.path.dirname(os.path.abspath(__file__))


class Parsing(unittest.TestCase):
    def test_values(self):
        with ke_utils.parse('[null,true,false,-5,18446744073709551615,2.5,"a\\u00e9"]') as node:
            self.assertEqual(node.value(), [None, True, False, -5, (1 << 64) - 1, 2.5, "a\u00e9"])
            self.assertIs(node["/1"], True)
            self.assertIs(node["/2"], False)
            self.assertIsNone(node["/0"])
            self.assertIsInstance(node["/3"], int)

    def test_text_beyond_ascii(self):
        with ke_utils.parse('{"\u00e9": "\u20ac \U0001f600"}') as node:
            self.assertEqual(node.value(), {"\u00e9": "\u20ac \U0001f600"})
            self.assertEqual(node["/\u00e9"], "\u20ac \U0001f600")
            self.assertEqual(node.dump(), '{"\u00e9":"\u20ac \U0001f600"}')

    def test_failure_has_its_place(self):
        with self.assertRaises(ke_utils.Error) as caught:
            ke_utils.parse('{"a": 1,\n "b" 2}')
        self.assertEqual(caught.exception.status, -1045)
        self.assertEqual(caught.exception.name, "WIQ_ERR_JSON_UNEXPECTED_TOKEN")
        self.assertEqual(caught.exception.line, 2)
        self.assertIn("line 2", str(caught.exception))

    def test_flags(self):
        with self.assertRaises(ke_utils.Error) as caught:
            ke_utils.parse('{"a":1,"a":2}', reject_duplicates=True)
        self.assertEqual(caught.exception.status, -1047)
        ke_utils.parse('{"a":1,"a":2}').close()
        with self.assertRaises(ke_utils.Error):
            ke_utils.parse("1 2")
        ke_utils.parse("1 2", allow_trailing=True).close()

    def test_nul_is_refused(self):
        with self.assertRaises(ValueError):
            ke_utils.parse("1\0 2")

    def test_deep(self):
        depth = 100000
        with ke_utils.parse("[" * depth + "]" * depth) as node:
            value = node.value()
            for _ in range(depth - 1):
                value = value[0]
            self.assertEqual(value, [])
            self.assertEqual(len(node.dump()), 2 * depth)


class Editing(unittest.TestCase):
    def test_store_and_read(self):
        with ke_utils.Node({}) as node:
            for value in (None, True, -(1 << 63), (1 << 64) - 1, (1 << 128) - 1, 0.5, "text", [], {}, [1, {"a": [2]}]):
                node["/place"] = value
                got = node["/place"]
                self.assertEqual(got.value() if isinstance(got, ke_utils.Node) else got, value)
                self.assertEqual(type(got.value() if isinstance(got, ke_utils.Node) else got), type(value))

    def test_containers_are_made(self):
        with ke_utils.Node({}) as node:
            node["/a/-"] = 1
            node["/a/-"] = 2
            node["/b/c"] = "d"
            self.assertEqual(node.value(), {"a": [1, 2], "b": {"c": "d"}})
            self.assertEqual(sorted(node.keys()), ["a", "b"])
            self.assertEqual(len(node), 2)
            self.assertEqual(len(node["/a"]), 2)

    def test_what_does_not_fit_changes_nothing(self):
        with ke_utils.Node({"a": 1}) as node:
            for value in (1 << 128, -(1 << 63) - 1, [1 << 128]):
                with self.assertRaises(OverflowError):
                    node["/a"] = value
            for value in (float("nan"), [float("inf")]):
                with self.assertRaises(ValueError):
                    node["/a"] = value
            with self.assertRaises(ke_utils.Error):
                node["/a"] = "a\0b"
            with self.assertRaises(ke_utils.WrongType):
                node["/a/b"] = 1
            with self.assertRaises(ke_utils.Error):
                node[""] = 1
            self.assertEqual(node.value(), {"a": 1})

    def test_missing(self):
        with ke_utils.Node({"a": [1]}) as node:
            with self.assertRaises(KeyError) as caught:
                node["/b/c"]
            self.assertEqual(caught.exception.name, "WIQ_ERR_KEY_NOT_FOUND")
            self.assertTrue(str(caught.exception).startswith("/b: "))
            with self.assertRaises(IndexError):
                node["/a/1"]
            with self.assertRaises(TypeError):
                node["/a/0/b"]
            self.assertEqual(node.get("/b", 7), 7)
            self.assertEqual(node.get("/a/1", 8), 8)
            self.assertIn("/a/0", node)
            self.assertNotIn("/a/1", node)
            with self.assertRaises(ke_utils.Error):
                node.get("a")

    def test_remove(self):
        with ke_utils.Node({"a~/b": 1, "list": [1, 2, 3]}) as node:
            del node["/a~0~1b"]
            del node["/list/1"]
            self.assertEqual(node.value(), {"list": [1, 3]})
            with self.assertRaises(KeyError):
                del node["/a"]
            with self.assertRaises(IndexError):
                del node["/list/2"]
            with self.assertRaises(ValueError):
                del node[""]
            self.assertEqual(node.value(), {"list": [1, 3]})

    def test_references(self):
        with ke_utils.Node({"temps": [38]}) as node:
            node["/last"] = ke_utils.reference("/temps/0")
            self.assertEqual(node["/last"].uri, "/temps/0")
            self.assertEqual(node["/last"].target(), 38)
            self.assertIsNone(node["/temps"].uri)
            node["/none"] = ke_utils.reference("/nowhere")
            with self.assertRaises(KeyError):
                node["/none"].target()
            del node["/none"]
            node.expand()
            self.assertEqual(node["/last"], 38)

    def test_copy_and_equality(self):
        with ke_utils.Node({"a": [1]}) as node, node.copy() as copy:
            self.assertEqual(node, copy)
            copy["/a/-"] = 2
            self.assertNotEqual(node, copy)
            node["/b"] = copy
            copy["/a/-"] = 3
            self.assertEqual(node["/b"].value(), {"a": [1, 2]})


class Ownership(unittest.TestCase):
    def test_closed(self):
        node = ke_utils.Node([1])
        node.close()
        node.close()
        for use in (lambda: node["/0"], lambda: node.dump(), node.value, node.__enter__, lambda: len(node)):
            with self.assertRaises(ValueError):
                use()
        self.assertEqual(repr(node), "Node(closed)")

    def test_part_outlives_its_document(self):
        node = ke_utils.Node({"a": {"b": [1, 2]}})
        part = node["/a/b"]
        self.assertEqual(part.pointer, "/a/b")
        node.close()
        self.assertEqual(part.value(), [1, 2])
        part["/-"] = 3
        self.assertEqual(part.dump(), "[1,2,3]")
        self.assertEqual(part.pointer, "")

    def test_part_outlives_its_removal(self):
        with ke_utils.Node({"a": {"b": 1}}) as node:
            part = node["/a"]
            node["/a"] = 2
            self.assertEqual(part.value(), {"b": 1})

    # Runs in a separate process, whose memory would grow if anything were not released.
    def test_nothing_leaks(self):
        program = """
import gc, resource, ke_utils
def work():
    for _ in range(2000):
        node = ke_utils.parse('{"a": [' + '"text that takes room",' * 50 + '1]}')
        part = node["/a"]
        node["/b"] = {"c": [1, 2, part.dump()]}
        try:
            node["/a/x/y"] = "z" * 1000
        except ke_utils.Error:
            pass
        try:
            ke_utils.parse('[' + '1,' * 500)
        except ke_utils.Error:
            pass
        node.value()
        del node["/b"]
        with ke_utils.Node(part) as copy:
            copy.pointer
work(); gc.collect()
before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
work(); work(); gc.collect()
print(resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before)
"""
        environment = dict(os.environ, PYTHONPATH=os.path.dirname(HERE))
        grown = int(subprocess.run([sys.executable, "-c", program], env=environment, check=True, capture_output=True).stdout)
        self.assertLess(grown, 2000, "kilobytes")


class Agreement(unittest.TestCase):
    """What is declared here must be the same as in C."""

    def setUp(self):
        root = os.path.dirname(os.path.dirname(os.path.dirname(HERE)))
        with open(os.path.join(root, "include/ke_utils/core.h"), encoding="utf-8") as stream:
            self.header = stream.read()

    def test_statuses(self):
        rows = re.findall(r'X\((-\d+), (WIQ_\w+), "((?:[^"\\]|\\.)*)"\)', self.header)
        table = {int(number): (name, re.sub(r"\\(.)", r"\1", meaning)) for number, name, meaning in rows}
        self.assertGreater(len(table), 30)
        self.assertEqual(ke_utils.STATUSES, table)

    def test_version(self):
        numbers = re.findall(r"^#define KE_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", self.header, re.MULTILINE)
        self.assertEqual(ke_utils.__version__, ".".join(numbers))

    def test_memory_is_a_memory_error(self):
        error = ke_utils.OutOfMemory(-5000)
        self.assertIsInstance(error, MemoryError)
        self.assertEqual(str(error), "an allocation failed (WIQ_ERR_NO_MEMORY -5000)")

    def test_readme(self):
        with open(os.path.join(os.path.dirname(HERE), "README.md"), encoding="utf-8") as stream:
            page = stream.read()
        program = re.search(r"```python\n(.*?)```", page, re.DOTALL).group(1)
        expected = re.search(r"```text\n(.*?)```", page, re.DOTALL).group(1)
        environment = dict(os.environ, PYTHONPATH=os.path.dirname(HERE))
        printed = subprocess.run([sys.executable, "-c", program], env=environment, check=True, capture_output=True, text=True)
        self.assertEqual(printed.stdout, expected)


if __name__ == "__main__":
    unittest.main()
