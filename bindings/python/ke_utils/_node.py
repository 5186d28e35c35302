"""Nodes of documents: each owns one reference to a node of the library, and releases it when it is closed."""

import json
from ctypes import byref, c_uint32, c_void_p

from ._errors import error_of
from ._library import KeepFn, LoadError, MemberFn, Uint128, lib, taken_text

ALLOW_TRAILING, REJECT_DUPLICATES = 1, 2
SORT_KEYS, PRETTY = 4, 8
INTEGERS = range(-(1 << 63), 1 << 128)
_MISSING = object()


def _c_text(text):
    """Converts a text for the library, for which a NUL would end it."""
    if "\0" in text:
        raise ValueError("text for the library must not hold NUL")
    return text.encode("utf-8", "surrogateescape")


def _escaped(text):
    """Returns JSON text with non-ASCII characters as escapes, which is the form that the parser accepts."""
    if text.isascii():
        return text
    return "".join(c if c < "\x80" else json.dumps(c)[1:-1] for c in text)


def parse(text, *, allow_trailing=False, reject_duplicates=False):
    """Parses JSON text; raises Error with line and column if it is invalid."""
    place = LoadError()
    flags = (ALLOW_TRAILING if allow_trailing else 0) | (REJECT_DUPLICATES if reject_duplicates else 0)
    pointer = lib.wiq_json_loads(_c_text(_escaped(text)), flags, byref(place))
    if not pointer:
        raise error_of(place.status, place=(place.line, place.column, place.position))
    return Node._own(pointer)


def reference(uri):
    """Returns a new reference to what a JSON pointer points to; it can be stored in a document."""
    err = c_uint32()
    return Node._own(lib.wiq_json_jref_new(_c_text(uri), byref(err)), err)


def _refuse_large_integers(value):
    """Rejects an integer of more than 128 bits, which the parser would wrap."""
    waiting = [value]
    while waiting:
        one = waiting.pop()
        if isinstance(one, dict):
            waiting.extend(one.values())
        elif isinstance(one, (list, tuple)):
            waiting.extend(one)
        elif isinstance(one, int) and one not in INTEGERS:
            raise OverflowError(f"no integer of a document: {one}")


def _new(value):
    """Makes a node of the library from a Python value or as a copy of a Node; it has no parent and a count of 0."""
    if isinstance(value, Node):
        err = c_uint32()
        pointer = lib.wiq_json_copy(value._pointer(), byref(err))
        if not pointer:
            raise error_of(err.value)
        return pointer
    _refuse_large_integers(value)
    place = LoadError()
    pointer = lib.wiq_json_loads(json.dumps(value, allow_nan=False).encode("ascii"), 0, byref(place))
    if not pointer:
        raise error_of(place.status, "the value")
    return pointer


def _scalar(pointer):
    """Returns a node's Python value, or _MISSING for a container or a reference."""
    if lib.wiq_json_is_str(pointer):
        return lib.wiq_json_str_get(pointer).decode("utf-8", "surrogateescape")
    if lib.wiq_json_is_int(pointer):
        if lib.wiq_json_is_i64_ext(pointer, False):
            return lib.wiq_json_i64_get(pointer)
        wide = Uint128()
        lib.wiq_json_u128_get(byref(wide), pointer)
        return wide.hi << 64 | wide.lo
    if lib.wiq_json_is_num(pointer):
        return lib.wiq_json_double_get(pointer)
    if lib.wiq_json_is_null(pointer):
        return None
    if lib.wiq_json_is_true(pointer) or lib.wiq_json_is_false(pointer):
        return lib.wiq_json_is_true(pointer)
    return _MISSING


def _members(pointer):
    """Returns the keys and children of an object, in its order; the children are borrowed."""
    found = []

    @MemberFn
    def take(key, child, _user):
        found.append((key.decode("utf-8", "surrogateescape"), child))
        return True

    lib.wiq_json_obj_foreach(pointer, take, None)
    return found


def _elements(pointer):
    return [lib.wiq_json_array_get_ext(pointer, index, 0, None) for index in range(lib.wiq_json_array_size(pointer))]


class Node:
    """A document, or a part of one. close(), the end of `with`, or deletion releases its reference."""

    __slots__ = ("_handle",)

    def __init__(self, value=None):
        """Makes a separate document from a Python value or as a copy of another node."""
        self._handle = None
        self._handle = _new(value)
        lib.wiq_json_ref(self._handle)

    @classmethod
    def _own(cls, pointer, err=None):
        if not pointer:
            raise error_of(err.value)
        node = cls.__new__(cls)
        lib.wiq_json_ref(pointer)
        node._handle = pointer
        return node

    def _pointer(self):
        if self._handle is None:
            raise ValueError("the node is closed")
        return self._handle

    def close(self):
        """Releases the node; closing it again does nothing."""
        handle, self._handle = self._handle, None
        if handle is not None:
            lib.wiq_json_unref(handle)

    def __enter__(self):
        self._pointer()
        return self

    def __exit__(self, *_exception):
        self.close()

    def __del__(self):
        if getattr(self, "_handle", None) is not None:
            self.close()

    # Access by pointer

    def _find(self, ptr):
        err = c_uint32()
        prefix = c_void_p()
        found = lib.wiq_json_ptr_get(self._pointer(), _c_text(ptr), byref(err), byref(prefix))
        where = taken_text(prefix.value) if prefix.value else ptr
        if not found:
            raise error_of(err.value, where)
        return found

    def __getitem__(self, ptr):
        """Returns what a JSON pointer points to: a Python value, or a Node for a container or a reference."""
        found = self._find(ptr)
        value = _scalar(found)
        return Node._own(found) if value is _MISSING else value

    def get(self, ptr, default=None):
        """Like `node[ptr]`, but returns `default` if there is no such member or element."""
        try:
            return self[ptr]
        except (KeyError, IndexError):
            return default

    def __contains__(self, ptr):
        try:
            self._find(ptr)
        except (KeyError, IndexError):
            return False
        return True

    def __setitem__(self, ptr, value):
        """Stores a value, or a copy of a node; missing containers are made, "-" appends to an array."""
        pointer = _new(value)
        status = lib.wiq_json_ptr_put(self._pointer(), _c_text(ptr), pointer)
        if status != 0:
            lib.wiq_json_unref(pointer)
            raise error_of(status, ptr)

    def __delitem__(self, ptr):
        """Removes a member or an element; it stays alive as long as a Node refers to it."""
        found = self._find(ptr)
        if found == self._handle:
            raise ValueError("a root cannot be removed from itself")
        parent = self._find(ptr.rpartition("/")[0])
        if lib.wiq_json_is_obj(parent):
            status = lib.wiq_json_obj_remove(parent, lib.wiq_json_parent_key(found))
        else:
            status = lib.wiq_json_array_filter(parent, KeepFn(lambda element, _user: element != found), None)
        if status < 0:
            raise error_of(status, ptr)

    @property
    def pointer(self):
        """Returns the JSON pointer of the node in its document."""
        out = c_void_p()
        status = lib.wiq_json_ptr(self._pointer(), byref(out))
        if status < 0:
            raise error_of(status)
        return taken_text(out.value)

    # Contents

    @property
    def is_object(self):
        return lib.wiq_json_is_obj(self._pointer())

    @property
    def is_array(self):
        return lib.wiq_json_is_array(self._pointer())

    @property
    def uri(self):
        """The pointer text of a reference, None for anything else."""
        uri = lib.wiq_json_jref_uri(self._pointer())
        return None if uri is None else uri.decode("utf-8", "surrogateescape")

    def target(self):
        """Returns what a reference finally leads to, in the same form as `node[...]`."""
        err = c_uint32()
        found = lib.wiq_json_jref_deref(self._pointer(), byref(err))
        if not found or err.value:
            raise error_of(err.value)
        value = _scalar(found)
        return Node._own(found) if value is _MISSING else value

    def __len__(self):
        if self.is_object:
            return lib.wiq_json_obj_size(self._handle)
        if self.is_array:
            return lib.wiq_json_array_size(self._handle)
        raise TypeError("only objects and arrays have a length")

    def __bool__(self):
        return True

    def keys(self):
        """Returns the keys of an object, in its order."""
        if not self.is_object:
            raise TypeError("only objects have keys")
        return [key for key, _ in _members(self._handle)]

    def value(self):
        """Returns everything as a Python value, of any depth; a reference becomes {"$ref": its text}."""
        result = [None]
        waiting = [(self._pointer(), result, 0)]
        while waiting:
            pointer, place, at = waiting.pop()
            value = _scalar(pointer)
            if value is _MISSING:
                if lib.wiq_json_is_jref(pointer):
                    value = {"$ref": lib.wiq_json_jref_uri(pointer).decode("utf-8", "surrogateescape")}
                elif lib.wiq_json_is_obj(pointer):
                    members = _members(pointer)
                    value = dict.fromkeys(key for key, _ in members)
                    waiting.extend((child, value, key) for key, child in members)
                else:
                    elements = _elements(pointer)
                    value = [None] * len(elements)
                    waiting.extend((child, value, index) for index, child in enumerate(elements))
            place[at] = value
        return result[0]

    def dump(self, *, sort_keys=False, pretty=False):
        """Returns the node as JSON text."""
        out = c_void_p()
        flags = (SORT_KEYS if sort_keys else 0) | (PRETTY if pretty else 0)
        status = lib.wiq_json_sdump(self._pointer(), byref(out), flags)
        if status < 0:
            raise error_of(status)
        return taken_text(out.value)

    def copy(self):
        """Returns a separate document with the same contents."""
        return Node(self)

    def expand(self):
        """Replaces every reference in this node by a copy of what it leads to."""
        status = lib.wiq_json_jref_expand(self._pointer())
        if status != 0:
            raise error_of(status)

    def __eq__(self, other):
        if not isinstance(other, Node):
            return NotImplemented
        return lib.wiq_json_equal(self._pointer(), other._pointer())

    __hash__ = None

    def __repr__(self):
        return "Node(closed)" if self._handle is None else f"Node({self.dump(sort_keys=True)})"
