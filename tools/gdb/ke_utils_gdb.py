"""GDB pretty printers for ke_utils: JSON trees, vectors, maps, string buffers, 128-bit numbers.

GDB loads this file by itself when it is installed as <library>-gdb.py in its auto-load folder; by hand:
(gdb) source ke_utils_gdb.py. Then `print *node` shows a document, `print map` the entries of a map.
"""

import gdb
import gdb.printing

JSON_NULL, JSON_OBJECT, JSON_ARRAY, JSON_I64, JSON_U64, JSON_U128 = range(6)
JSON_DOUBLE, JSON_STRING, JSON_TRUE, JSON_FALSE, JSON_REF = range(6, 11)
WORDS = {JSON_NULL: "null", JSON_TRUE: "true", JSON_FALSE: "false"}


def quoted(pointer):
    """A C string as text in quotes, or NULL."""
    return '"%s"' % pointer.string(errors="replace") if int(pointer) != 0 else "NULL"


def number_128(value):
    return int(value["lo"]) | int(value["hi"]) << 64


def entries(table):
    """The entries of a wiq_map in map order."""
    for bucket in range(int(table["bucket_count"])):
        entry = table["buckets"][bucket]
        while int(entry) != 0:
            yield entry
            entry = entry["next"]


def members(table):
    """The members of a JSON object in map order."""
    if int(table["buckets"]) == 0:
        return
    for bucket in range(int(table["mask"]) + 1):
        member = table["buckets"][bucket]
        while int(member) != 0:
            yield member
            member = member["next"]


class Uint128Printer:
    """wiq_uint128 as a decimal number."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return str(number_128(self.value))


class StrbufPrinter:
    """wiq_strbuf as its text with its size."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        length = int(self.value["len"])
        data = self.value["data"]
        text = data.string(errors="replace", length=length) if int(data) != 0 else ""
        return '"%s" (length %d, capacity %d)' % (text, length, int(self.value["capacity"]))


class VectorPrinter:
    """wiq_vector: sizes, and the elements where their size tells what they are."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "wiq_vector of %d elements of %d bytes, capacity %d" % (
            int(self.value["size"]), int(self.value["elem_size"]), int(self.value["capacity"]))

    def children(self):
        elem_size = int(self.value["elem_size"])
        byte = gdb.lookup_type("unsigned char")
        if elem_size == 8:
            shown = gdb.lookup_type("void").pointer()
        elif elem_size == 4:
            shown = gdb.lookup_type("int")
        else:
            shown = byte.array(elem_size - 1)
        start = self.value["data"].cast(byte.pointer())
        for index in range(int(self.value["size"])):
            place = (start + index * elem_size).cast(shown.pointer())
            yield "[%d]" % index, place.dereference()

    def display_hint(self):
        return "array"


class MapPrinter:
    """wiq_map: its entries as hash and value, keys as text when wiq_hash_str hashed them."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "wiq_map of %d entries in %d buckets" % (
            int(self.value["size"]), int(self.value["bucket_count"]))

    def has_text_keys(self):
        return "wiq_hash_str" in str(self.value["hash"])

    def children(self):
        text = self.has_text_keys()
        char = gdb.lookup_type("char").pointer()
        for index, entry in enumerate(entries(self.value)):
            key = quoted(entry["key"].cast(char)) if text else str(entry["key"])
            yield "[%d]" % index, "%s: %s" % (key, entry["value"])

    def display_hint(self):
        return "array"


class JsonPrinter:
    """wiq_json_t: scalars as JSON text, containers with what they hold."""

    def __init__(self, value):
        self.value = value
        self.type = int(value["type"])

    def node(self, name):
        return self.value.cast(gdb.lookup_type("ke::json::" + name))

    def to_string(self):
        if self.type in WORDS:
            return WORDS[self.type]
        if self.type == JSON_OBJECT:
            return "%sobject of %d" % (self.weak(), int(self.node("ObjectNode")["members"]["size"]))
        if self.type == JSON_ARRAY:
            return "%sarray of %d" % (self.weak(), int(self.node("ArrayNode")["elems"]["size"]))
        if self.type == JSON_I64:
            return str(int(self.node("I64Node")["value"]))
        if self.type == JSON_U64:
            return str(int(self.node("U64Node")["value"]))
        if self.type == JSON_U128:
            return str(number_128(self.node("U128Node")["value"]))
        if self.type == JSON_DOUBLE:
            return str(float(self.node("DoubleNode")["value"]))
        if self.type == JSON_STRING:
            return quoted(self.node("TextNode")["text"])
        if self.type == JSON_REF:
            return "$ref " + quoted(self.node("TextNode")["text"])
        return "<unknown type %d>" % self.type

    def weak(self):
        return "weak " if int(self.value["flags"]) & 2 else ""

    def children(self):
        node = self.value.type.pointer()
        if self.type == JSON_OBJECT:
            char = gdb.lookup_type("char").pointer()
            for member in members(self.node("ObjectNode")["members"]):
                # The key's text stands behind the member.
                key = (member + 1).cast(char).string(errors="replace")
                yield key, member["child"].cast(node).dereference()
        elif self.type == JSON_ARRAY:
            elems = self.node("ArrayNode")["elems"]
            slots = elems["data"].cast(node.pointer())
            for index in range(int(elems["size"])):
                yield "[%d]" % index, slots[index].dereference()


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("ke_utils")
    collection.add_printer("uint128", "^wiq_uint128$", Uint128Printer)
    collection.add_printer("strbuf", "^wiq_strbuf$", StrbufPrinter)
    collection.add_printer("vector", "^wiq_vector$", VectorPrinter)
    collection.add_printer("map", "^wiq_map$", MapPrinter)
    collection.add_printer("json", "^(wiq_json|ke::json::(I64|U64|U128|Double|Text|Object|Array)Node)$",
                           JsonPrinter)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
