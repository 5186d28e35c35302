"""Shows values of ke_utils in GDB and LLDB: JSON trees, and the classes of the C++ layer; in GDB also vectors, maps,
string buffers, 128-bit numbers. The library needs no debug information, only the program does, and core files do as
well as running programs.

GDB loads this file by itself when it is installed as <library>-gdb.py in its auto-load folder; by hand:
(gdb) source ke_utils_printers.py. Then `print *node` shows a document.
LLDB: (lldb) command script import ke_utils_printers.py, with the program loaded. Then `p *node` shows a document.
"""

import atexit
import os
import struct
import tempfile

try:
    import gdb
    import gdb.printing
except ImportError:
    gdb = None
    import lldb

# --- A node in memory (src/json/model/node.h, src/json/model/members.h): what the library's debug information would say ---

JSON_NULL, JSON_OBJECT, JSON_ARRAY, JSON_I64, JSON_U64, JSON_U128 = range(6)
JSON_DOUBLE, JSON_STRING, JSON_TRUE, JSON_FALSE, JSON_REF = range(6, 11)
WORDS = {JSON_NULL: "null", JSON_TRUE: "true", JSON_FALSE: "false"}
NODE_SIZE, VALUE, FLAGS = 24, 24, 2
TEXT_LENGTH, OBJECT_MASK, OBJECT_SIZE, ARRAY_SIZE = 32, 32, 36, 32
MEMBER_CHILD, MEMBER_LENGTH, MEMBER_KEY = 8, 20, 24
POINTER, I64, U64, DOUBLE = "<Q", "<q", "<Q", "<d"
ERR_EMPTY = -20001


def memory_at(address, size):
    """Reads the program's memory."""
    if gdb:
        return gdb.selected_inferior().read_memory(address, size).tobytes() if size else b""
    error = lldb.SBError()
    memory = lldb.debugger.GetSelectedTarget().GetProcess().ReadMemory(address, size, error) if size else b""
    if not error.Success():
        raise ValueError("no memory at 0x%x" % address)
    return memory


def number_at(address, form):
    """Reads the values at an address, in a format of the module struct."""
    return struct.unpack(form, memory_at(address, struct.calcsize(form)))[0]


def text_at(address, length):
    return memory_at(address, length).decode(errors="replace")


class Node:
    """A JSON value: scalars as JSON text, containers with the number of their children."""

    def __init__(self, address):
        self.address = address
        self.type = number_at(address, "<H")

    def text(self):
        value = self.address + VALUE
        if self.type in WORDS:
            return WORDS[self.type]
        if self.type == JSON_OBJECT:
            return "%sobject of %d" % (self.weak(), self.size())
        if self.type == JSON_ARRAY:
            return "%sarray of %d" % (self.weak(), self.size())
        if self.type == JSON_I64:
            return str(number_at(value, I64))
        if self.type == JSON_U64:
            return str(number_at(value, U64))
        if self.type == JSON_U128:
            return str(number_at(value, U64) | number_at(value + 8, U64) << 64)
        if self.type == JSON_DOUBLE:
            return str(number_at(value, DOUBLE))
        if self.type in (JSON_STRING, JSON_REF):
            place = number_at(value, POINTER)
            text = '"%s"' % text_at(place, number_at(self.address + TEXT_LENGTH, U64)) if place else "NULL"
            return "$ref " + text if self.type == JSON_REF else text
        return "<unknown type %d>" % self.type

    def weak(self):
        return "weak " if number_at(self.address + FLAGS, "<B") & 2 else ""

    def size(self):
        return number_at(self.address + (OBJECT_SIZE if self.type == JSON_OBJECT else ARRAY_SIZE), "<I")

    def children(self):
        """Returns the names and addresses of the children, members in map order."""
        if self.type not in (JSON_OBJECT, JSON_ARRAY):
            return
        table = number_at(self.address + VALUE, POINTER)
        if self.type == JSON_ARRAY:
            for index in range(self.size()):
                yield "[%d]" % index, number_at(table + 8 * index, POINTER)
        elif table != 0:
            for bucket in range(number_at(self.address + OBJECT_MASK, "<I") + 1):
                member = number_at(table + 8 * bucket, POINTER)
                while member != 0:
                    length = number_at(member + MEMBER_LENGTH, "<I") & 0x7FFFFFFF
                    yield text_at(member + MEMBER_KEY, length), number_at(member + MEMBER_CHILD, POINTER)
                    member = number_at(member, POINTER)


def status_text(number, line, column, names):
    """Returns a status as its name, number and position."""
    if number == 0:
        return "success"
    name = "ke::err_empty" if number == ERR_EMPTY else names.get(number, "unknown status")
    return "%s (%d)%s" % (name, number, ", line %d, column %d" % (line, column) if line else "")


def described_node():
    """An object file that holds nothing but a description of struct wiq_json: in the headers it is opaque, and GDB
    shows no value of a type that it does not know; nor does LLDB."""
    def text(name):
        return name.encode() + b"\0"

    abbreviations = (
        b"\x01\x11\x01\x03\x08\x13\x0b\0\0"          # a unit: name, language; with children
        b"\x02\x24\x00\x03\x08\x0b\x0b\x3e\x0b\0\0"  # a number: name, size, encoding
        b"\x03\x13\x01\x03\x08\x0b\x0b\0\0"          # a structure: name, size; with children
        b"\x04\x0d\x00\x03\x08\x49\x13\x38\x0b\0\0"  # a member: name, type, place
        b"\0")
    unit = struct.pack("<HIB", 4, 0, 8) + b"\x01" + text("ke_utils") + b"\x0c"
    number = 4 + len(unit)  # where it is described, counted from the front of the section
    unit += b"\x02" + text("unsigned short") + b"\x02\x07"
    unit += b"\x03" + text("wiq_json") + bytes([NODE_SIZE])
    unit += b"\x04" + text("type") + struct.pack("<I", number) + b"\0" + b"\0\0"
    sections = [("", b""), (".text", b""), (".debug_abbrev", abbreviations),
                (".debug_info", struct.pack("<I", len(unit)) + unit)]
    names = b"".join(text(name) for name, _ in sections) + text(".shstrtab")
    sections.append((".shstrtab", names))
    contents, headers, at_name = b"", b"", 0
    for name, content in sections:
        kind = 0 if name == "" else 3 if name == ".shstrtab" else 1
        flags = 6 if name == ".text" else 0
        headers += struct.pack("<IIQQQQIIQQ", at_name, kind, flags, 0, 64 + len(contents) if kind else 0,
                               len(content), 0, 0, 1 if kind else 0, 0)
        contents += content
        at_name += len(name) + 1
    machine = 183 if os.uname().machine == "aarch64" else 62
    return (b"\x7fELF\x02\x01\x01" + b"\0" * 9
            + struct.pack("<HHIQQQIHHHHHH", 1, machine, 1, 0, 0, 64 + len(contents), 0, 64, 0, 0, 64,
                          len(sections), len(sections) - 1)
            + contents + headers)


def description():
    """Writes described_node() to a new file and returns its name."""
    with tempfile.NamedTemporaryFile(prefix="ke_utils_types", suffix=".o", delete=False) as file:
        file.write(described_node())
    return file.name


# --- GDB ---

def quoted(pointer):
    """Returns a C string as text in quotes, or NULL."""
    return '"%s"' % pointer.string(errors="replace") if int(pointer) != 0 else "NULL"


def number_128(value):
    return int(value["lo"]) | int(value["hi"]) << 64


def entries(table):
    """Returns the entries of a wiq_map in map order."""
    for bucket in range(int(table["bucket_count"])):
        entry = table["buckets"][bucket]
        while int(entry) != 0:
            yield entry
            entry = entry["next"]


class Uint128Printer:
    """Shows wiq_uint128 as a decimal number."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return str(number_128(self.value))


class StrbufPrinter:
    """Shows wiq_strbuf as its text with its size."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        length = int(self.value["len"])
        data = self.value["data"]
        text = data.string(errors="replace", length=length) if int(data) != 0 else ""
        return '"%s" (length %d, capacity %d)' % (text, length, int(self.value["capacity"]))


class VectorPrinter:
    """Shows wiq_vector: its sizes, and its elements if their type can be told from their size."""

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
    """Shows wiq_map: its entries as hash and value; keys as text if wiq_hash_str hashed them."""

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


def node_at(address):
    """Returns the node at an address, as a value that the printer below shows."""
    return gdb.Value(address).cast(gdb.lookup_type("struct wiq_json").pointer()).dereference()


class JsonPrinter:
    """Shows wiq_json_t: scalars as JSON text, containers with their children."""

    def __init__(self, value):
        self.node = Node(int(value.address))

    def to_string(self):
        return self.node.text()

    def children(self):
        for name, address in self.node.children():
            yield name, node_at(address)


class HandlePrinter:
    """Shows ke::json, ke::json_view and ke::json_ref as the value that they refer to."""

    def __init__(self, value):
        node = int(value["node_"])
        self.shown = JsonPrinter(node_at(node)) if node != 0 else None

    def to_string(self):
        return self.shown.to_string() if self.shown else "nothing"

    def children(self):
        return self.shown.children() if self.shown else iter(())


def told_status(status):
    """Returns a ke::status as text."""
    names = {field.enumval: field.name for field in gdb.lookup_type("wiq_status").fields()}
    error = status["error_"]
    return status_text(int(error["status"]), int(error["line"]), int(error["column"]), names)


class StatusPrinter:
    """Shows ke::status as its name, number and position."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return told_status(self.value)


class ResultPrinter:
    """Shows ke::result as its value or its status."""

    def __init__(self, value):
        self.value = value
        payload = value["value_"]["_M_payload"]  # the std::optional of GNU's library
        self.payload = payload["_M_payload"]["_M_value"] if payload["_M_engaged"] else None

    def to_string(self):
        return "no value: " + told_status(self.value["status_"]) if self.payload is None else "result"

    def children(self):
        if self.payload is not None:
            yield "value", self.payload


class WrapperPrinter:
    """Shows ke::uint128 and ke::strbuf as the C record that they hold."""

    def __init__(self, value):
        name = "value_" if value.type.strip_typedefs().tag == "ke::uint128" else "buf_"
        self.shown = gdb.default_visualizer(value[name])

    def to_string(self):
        return self.shown.to_string()


def describe_node_to_gdb():
    """Makes `print *node` work without the library's debug information; does nothing if that is present."""
    try:
        if gdb.lookup_type("struct wiq_json").fields():
            return
    except gdb.error:
        pass
    name = description()
    atexit.register(os.unlink, name)  # GDB looks at it again when the program is run anew
    gdb.execute("add-symbol-file " + name, to_string=True)


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("ke_utils")
    collection.add_printer("uint128", "^wiq_uint128$", Uint128Printer)
    collection.add_printer("strbuf", "^wiq_strbuf$", StrbufPrinter)
    collection.add_printer("vector", "^wiq_vector$", VectorPrinter)
    collection.add_printer("map", "^wiq_map$", MapPrinter)
    collection.add_printer("node", "^(wiq_json|ke::json::(I64|U64|U128|Double|Text|Object|Array)Node)$",
                           JsonPrinter)
    collection.add_printer("json", "^ke::json(_view|_ref)?$", HandlePrinter)
    collection.add_printer("status", "^ke::status$", StatusPrinter)
    collection.add_printer("result", "^ke::result<.*>$", ResultPrinter)
    collection.add_printer("wrapper", "^ke::(uint128|strbuf)$", WrapperPrinter)
    return collection


# --- LLDB ---

LONGEST = 1000  # characters of a summary


def written(address):
    """Returns the document at an address in one line, cut if it is long. Not recursive: documents may be deep."""
    text, waiting = "", [("", address)]
    while waiting:
        name, at = waiting.pop()
        if len(text) > LONGEST:
            return text[:LONGEST] + " ..."
        if at is None:
            text = text[:-2] + name if text.endswith(", ") else text + name
        else:
            node = Node(at)
            text += name + node.text()
            if node.type in (JSON_OBJECT, JSON_ARRAY):
                text += " = {"
                waiting.append(("}, ", None))
                waiting += reversed([(child + " = ", place) for child, place in node.children()])
            else:
                text += ", "
    return text[:-2]


def guarded(call):
    """Makes a summary that says what went wrong instead of a stack trace."""
    try:
        return call()
    except (ValueError, struct.error) as problem:
        return "<%s>" % problem


def node_summary(value, _):
    value = value.GetNonSyntheticValue()
    pointer = value.GetType().GetCanonicalType().IsPointerType()
    address = value.GetValueAsUnsigned() if pointer else value.GetLoadAddress()
    return "NULL" if address == 0 else guarded(lambda: written(address))


def handle_summary(value, _):
    value = value.GetNonSyntheticValue()
    while value.IsValid() and not value.GetChildMemberWithName("node_").IsValid():
        value = value.GetChildAtIndex(0)
    address = value.GetChildMemberWithName("node_").GetValueAsUnsigned()
    return "nothing" if address == 0 else guarded(lambda: written(address))


def status_summary(value, _):
    error = value.GetNonSyntheticValue().GetChildMemberWithName("error_")
    members = value.GetTarget().FindFirstType("wiq_status").GetEnumMembers()
    names = {members.GetTypeEnumMemberAtIndex(i).GetValueAsSigned(): members.GetTypeEnumMemberAtIndex(i).GetName()
             for i in range(members.GetSize())}
    number, line, column = (error.GetChildMemberWithName(name).GetValueAsSigned()
                            for name in ("status", "line", "column"))
    return status_text(number, line, column, names)


def result_summary(value, options):
    status = value.GetNonSyntheticValue().GetChildMemberWithName("status_")
    text = status_summary(status, options)
    if text != "success":
        return "no value: " + text
    held = value.GetChildMemberWithName("value_").GetChildAtIndex(0)
    return "value = %s" % (held.GetSummary() or held.GetValue() or "...")


def __lldb_init_module(debugger, _):
    add = "type summary add -w ke_utils "
    here = __name__ + "."
    for command in ('-F %snode_summary wiq_json wiq_json_t', '-F %shandle_summary ke::json ke::json_view ke::json_ref',
                    '-F %sstatus_summary ke::status', '-F %sresult_summary -x "^ke::result<.+>$"'):
        debugger.HandleCommand(add + command % here)
    debugger.HandleCommand("type category enable ke_utils")
    target = debugger.GetSelectedTarget()
    if target and not target.FindFirstType("wiq_json").GetByteSize():
        name = description()
        target.AddModule(name, None, None)
        os.unlink(name)


if gdb:
    describe_node_to_gdb()
    gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
