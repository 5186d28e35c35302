"""Statuses as exceptions. The names are those of the library's table in ke_utils/core.h; a test compares them."""

STATUSES = {
    -3: ("WIQ_ERR_IO", 'an input or output operation failed'),
    -4: ("WIQ_ERR_ACCESS_DENIED", 'permission denied'),
    -7: ("WIQ_ERR_FAILED", 'an operation failed without a more specific cause'),
    -1011: ("WIQ_ERR_INVALID_VALUE", 'invalid input data'),
    -1016: ("WIQ_ERR_VALUE_OUT_OF_RANGE", 'a value is out of range'),
    -1017: ("WIQ_ERR_VALUE_NOT_INTEGRAL", 'a value is not a whole number'),
    -1037: ("WIQ_ERR_KEY_NOT_FOUND", 'an object has no member with this key'),
    -1038: ("WIQ_ERR_INDEX_OUT_OF_RANGE", "an array index is at or beyond the array's size"),
    -1039: ("WIQ_ERR_PTR_BAD_ESCAPE", 'a JSON pointer holds "~" not followed by "0" or "1"'),
    -1040: ("WIQ_ERR_JSON_TRAILING_DATA", 'JSON text continues after the top-level value'),
    -1041: ("WIQ_ERR_JSON_UNEXPECTED_END", 'JSON text ends inside a value'),
    -1042: ("WIQ_ERR_JSON_CONTROL_CHAR", 'a raw control character inside a JSON string'),
    -1043: ("WIQ_ERR_JSON_BAD_ESCAPE", 'an invalid escape sequence inside a JSON string'),
    -1044: ("WIQ_ERR_JSON_BAD_NUMBER", 'a malformed JSON number'),
    -1045: ("WIQ_ERR_JSON_UNEXPECTED_TOKEN", 'a JSON token that is not allowed at this place'),
    -1046: ("WIQ_ERR_JSON_BAD_TOKEN", 'an invalid character or word in JSON text'),
    -1047: ("WIQ_ERR_JSON_DUPLICATE_KEY", 'a duplicate key in a JSON object'),
    -1049: ("WIQ_ERR_JSON_BAD_UTF8", 'an invalid UTF-8 sequence in JSON text'),
    -1050: ("WIQ_ERR_JSON_BAD_UNICODE_ESCAPE", 'a "\\u" escape of zero or of an unpaired surrogate'),
    -1052: ("WIQ_ERR_JREF_CYCLE", 'a chain of JSON references loops back on itself'),
    -3001: ("WIQ_ERR_FILE_EMPTY", 'a file to be loaded whole is empty'),
    -3002: ("WIQ_ERR_NOT_FOUND", 'a file or directory does not exist'),
    -3003: ("WIQ_ERR_PATH_NOT_FOUND", 'a directory cannot be made because a parent is missing'),
    -3004: ("WIQ_ERR_EOF", 'end of file before anything was read'),
    -3005: ("WIQ_ERR_ALREADY_EXISTS", 'the directory to be made already exists'),
    -5000: ("WIQ_ERR_NO_MEMORY", 'an allocation failed'),
    -5005: ("WIQ_ERR_TIME_CONVERSION", 'a time could not be converted to UTC'),
    -5006: ("WIQ_ERR_ENCODING", "a path could not be converted to the system's encoding"),
    -5007: ("WIQ_ERR_LOCK_INIT", 'a mutex could not be initialised'),
    -5010: ("WIQ_ERR_DLOPEN", 'a dynamic library could not be loaded'),
    -5011: ("WIQ_ERR_DLSYM", 'a symbol was not found in a loaded library'),
    -6001: ("WIQ_ERR_TRAILING_CHARS", 'a number in text is followed by further characters'),
    -7000: ("WIQ_ERR_INVALID_ARG", 'an argument is NULL, out of its domain, or of the wrong kind'),
    -7001: ("WIQ_ERR_RANGE", 'a value is out of the range of the target type'),
    -7002: ("WIQ_ERR_NOT_INTEGRAL", 'a fraction where a whole number is required'),
    -7003: ("WIQ_ERR_BAD_FORMAT", 'input of the wrong form'),
    -7005: ("WIQ_ERR_BAD_RADIX", 'a numeric base outside the supported range'),
    -7006: ("WIQ_ERR_BUFFER_TOO_SMALL", 'an output buffer is too small'),
    -7010: ("WIQ_ERR_INI_SYNTAX", 'a syntax error in an INI file'),
    -7014: ("WIQ_ERR_BAD_JSON_TYPE", 'a JSON value carries an unknown type tag'),
    -7018: ("WIQ_ERR_WRONG_TYPE", 'a JSON value has another type than the one requested'),
    -7019: ("WIQ_ERR_PTR_SYNTAX", 'a non-empty JSON pointer does not begin with "/"'),
}


class Error(Exception):
    """A call of the library has failed.

    status   the negative number
    name     its constant in C, as "WIQ_ERR_IO"
    line, column, position   where text does not parse; otherwise None
    """

    def __init__(self, status, what=None, place=None):
        self.status = status
        self.name, meaning = STATUSES.get(status, ("", "unknown status"))
        self.line = self.column = self.position = None
        text = f"{meaning} ({self.name} {status})"
        if place is not None:
            self.line, self.column, self.position = place
            text = f"line {self.line}, column {self.column}: {text}"
        if what is not None:
            text = f"{what}: {text}"
        super().__init__(text)


class MissingMember(Error, KeyError):
    """An object has no such member."""

    __str__ = Error.__str__


class MissingElement(Error, IndexError):
    """An array has no such element."""


class OutOfMemory(Error, MemoryError):
    """An allocation failed."""


class WrongType(Error, TypeError):
    """A value is not of the kind that the call needs."""


_KINDS = {-1037: MissingMember, -1038: MissingElement, -5000: OutOfMemory, -7018: WrongType}


def error_of(status, what=None, place=None):
    """Returns the exception for a status, given as a signed or an unsigned 32-bit number."""
    if status >= 1 << 31:
        status -= 1 << 32
    return _KINDS.get(status, Error)(status, what, place)
