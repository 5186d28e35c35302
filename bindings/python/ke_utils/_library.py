"""Finds and loads the shared library, and declares the arguments and results of its functions."""

import ctypes
import os
import sys
from ctypes import POINTER, c_bool, c_char_p, c_double, c_int32, c_int64, c_uint32, c_uint64, c_void_p

WINDOWS = sys.platform == "win32"


class Uint128(ctypes.Structure):
    """wiq_uint128."""

    _fields_ = [("lo", c_uint64), ("hi", c_uint64)]


class LoadError(ctypes.Structure):
    """wiq_json_load_error."""

    _fields_ = [("status", c_int32), ("line", c_int32), ("column", c_int32), ("position", c_int32)]


MemberFn = ctypes.CFUNCTYPE(c_bool, c_char_p, c_void_p, c_void_p)
KeepFn = ctypes.CFUNCTYPE(c_bool, c_void_p, c_void_p)

# The result type first, then the arguments. Strings that the caller must free are c_void_p.
FUNCTIONS = {
    "wiq_json_loads": (c_void_p, c_char_p, c_int32, POINTER(LoadError)),
    "wiq_json_sdump": (c_int32, c_void_p, POINTER(c_void_p), c_uint32),
    "wiq_json_ref": (None, c_void_p),
    "wiq_json_unref": (None, c_void_p),
    "wiq_json_copy": (c_void_p, c_void_p, POINTER(c_uint32)),
    "wiq_json_equal": (c_bool, c_void_p, c_void_p),
    "wiq_json_null_new": (c_void_p, POINTER(c_uint32)),
    "wiq_json_bool_new": (c_void_p, c_bool, POINTER(c_uint32)),
    "wiq_json_i64_new": (c_void_p, c_int64, POINTER(c_uint32)),
    "wiq_json_u64_new": (c_void_p, c_uint64, POINTER(c_uint32)),
    "wiq_json_u128_new": (c_void_p, POINTER(Uint128), POINTER(c_uint32)),
    "wiq_json_double_new": (c_void_p, c_double, POINTER(c_uint32)),
    "wiq_json_str_new": (c_void_p, c_char_p, POINTER(c_uint32)),
    "wiq_json_obj_new": (c_void_p, c_int32, POINTER(c_uint32)),
    "wiq_json_array_new": (c_void_p, c_int32, POINTER(c_uint32)),
    "wiq_json_jref_new": (c_void_p, c_char_p, POINTER(c_uint32)),
    "wiq_json_jref_uri": (c_char_p, c_void_p),
    "wiq_json_jref_deref": (c_void_p, c_void_p, POINTER(c_uint32)),
    "wiq_json_jref_expand": (c_int32, c_void_p),
    "wiq_json_i64_get": (c_int64, c_void_p),
    "wiq_json_u128_get": (c_void_p, POINTER(Uint128), c_void_p),
    "wiq_json_double_get": (c_double, c_void_p),
    "wiq_json_str_get": (c_char_p, c_void_p),
    "wiq_json_is_i64_ext": (c_bool, c_void_p, c_bool),
    "wiq_json_obj_size": (c_int32, c_void_p),
    "wiq_json_obj_foreach": (c_int32, c_void_p, MemberFn, c_void_p),
    "wiq_json_obj_remove": (c_int32, c_void_p, c_char_p),
    "wiq_json_array_size": (c_int32, c_void_p),
    "wiq_json_array_get_ext": (c_void_p, c_void_p, c_int32, c_uint32, POINTER(c_uint32)),
    "wiq_json_array_filter": (c_int32, c_void_p, KeepFn, c_void_p),
    "wiq_json_ptr": (c_int32, c_void_p, POINTER(c_void_p)),
    "wiq_json_ptr_get": (c_void_p, c_void_p, c_char_p, POINTER(c_uint32), POINTER(c_void_p)),
    "wiq_json_ptr_put": (c_int32, c_void_p, c_char_p, c_void_p),
    "wiq_json_parent_key": (c_char_p, c_void_p),
}
for _kind in ("null", "obj", "array", "str", "true", "false", "int", "num", "jref"):
    FUNCTIONS[f"wiq_json_is_{_kind}"] = (c_bool, c_void_p)


def _candidates():
    """Returns names for the library, the most specific one first."""
    name = "ke_utils.dll" if WINDOWS else "libke_utils.so.1"
    if os.environ.get("KE_UTILS_LIBRARY"):
        return [os.environ["KE_UTILS_LIBRARY"]]
    return [os.path.join(os.path.dirname(os.path.abspath(__file__)), name), name]


def _load():
    problems = []
    for name in _candidates():
        try:
            library = ctypes.CDLL(name)
            break
        except OSError as problem:
            problems.append(str(problem))
    else:
        raise ImportError("the library ke_utils was not found: " + "; ".join(problems))
    for function, (result, *arguments) in FUNCTIONS.items():
        entry = getattr(library, function)
        entry.restype = result
        entry.argtypes = arguments
    return library


lib = _load()
# The library allocates with its own C runtime's malloc().
free = (ctypes.CDLL("ucrtbase") if WINDOWS else ctypes.CDLL(None)).free
free.restype = None
free.argtypes = [c_void_p]


def taken_text(pointer):
    """Returns the text of a block that the library has handed over, and frees the block."""
    try:
        return ctypes.string_at(pointer).decode("utf-8", "surrogateescape")
    finally:
        free(pointer)
