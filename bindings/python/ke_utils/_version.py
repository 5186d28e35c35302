"""The version of the library that this module belongs to; scripts/version --fix writes it."""

VERSION = "1.0.0"
