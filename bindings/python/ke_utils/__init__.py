"""Documents of the ke_utils library: JSON with pointers and references. See README.md."""

from ._errors import STATUSES, Error, MissingElement, MissingMember, OutOfMemory, WrongType
from ._node import Node, parse, reference
from ._version import VERSION as __version__

__all__ = ["STATUSES", "Error", "MissingElement", "MissingMember", "Node", "OutOfMemory", "WrongType", "parse",
           "reference", "__version__"]
