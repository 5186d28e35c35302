"""Finds the mutants of src/: walks clang's syntax tree of each source and says which stretch of which
file could be replaced by what. Nothing is compiled or run here.

A place in the text is a site; a site has one or more mutants, each with an operator:

  negate   a comparison, or a condition, turned round
  shift    < for <=, > for >= and back
  never    the condition of an if that never holds
  half     one side of && or ||
  arith    + for -, * for /, << for >>, & for |, ++ for -- and so on
  const    a literal or a named constant one higher or one lower; true for false
  status   another status, or none, in place of the one given
  null     nullptr in place of the pointer returned
  drop     a statement left out
  lock     a lock not taken, or an atomic operation's order weakened

What is computed by the compiler (constant expressions, case labels, sizes of arrays, static tables)
cannot be switched at run time and is left out.
"""

import os
import re
from collections import namedtuple

from clang import cindex
from clang.cindex import CursorKind as K
from clang.cindex import TypeKind as T

# start, end: byte offsets in the file; text: the replacement ("{}" is the original, instrumented); form: how
# the switch is written ("expr", "drop", "statement", "lock").
Mutant = namedtuple("Mutant", "path start end line function operator shown text form")

NEGATED = {"<": ">=", "<=": ">", ">": "<=", ">=": "<", "==": "!=", "!=": "=="}
SHIFTED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
OTHER = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "<<": ">>", ">>": "<<", "&": "|", "|": "&",
         "^": "|", "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|=", "<<=": ">>=",
         ">>=": "<<=", "^=": "|=", "%=": "/="}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "|=", "&=", "<<=", ">>=", "^=", "%="}
INTEGERS = {T.INT, T.UINT, T.LONG, T.ULONG, T.LONGLONG, T.ULONGLONG, T.SHORT, T.USHORT, T.CHAR_S, T.SCHAR,
            T.UCHAR, T.INT128, T.UINT128}
FUNCTIONS = {K.FUNCTION_DECL, K.CXX_METHOD, K.CONSTRUCTOR, K.DESTRUCTOR, K.FUNCTION_TEMPLATE,
             K.CONVERSION_FUNCTION}
SCOPES = {K.NAMESPACE, K.CLASS_DECL, K.STRUCT_DECL, K.CLASS_TEMPLATE, K.UNION_DECL, K.LINKAGE_SPEC,
          K.UNEXPOSED_DECL, K.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION}
# Never visited: types, names and other places for constant expressions.
CLOSED = {K.TYPE_REF, K.TEMPLATE_REF, K.NAMESPACE_REF, K.PARM_DECL, K.STATIC_ASSERT, K.ENUM_DECL,
          K.CXX_UNARY_EXPR, K.ASM_STMT, K.TYPEDEF_DECL, K.TYPE_ALIAS_DECL}
VALUE = re.compile(r"^(0[xX][0-9a-fA-F']+|[0-9][0-9']*)[uUlLzZ]*$")


def parse_arguments(root):
    return ["-std=c++20", "-I" + os.path.join(root, "include"), "-I" + os.path.join(root, "src"),
            "-DKE_UTILS_BUILD", "-fno-exceptions", "-fno-rtti"]


class Finder:
    """Collects the mutants of the wanted files; visits each file once, however many sources include it."""

    def __init__(self, root, wanted):
        self.root = root
        self.wanted = set(wanted)
        self.done = set()
        self.seen = set()
        self.mutants = []
        self.sources = {}
        self.names = {}

    def parse(self, path):
        unit = cindex.Index.create().parse(os.path.join(self.root, path), args=parse_arguments(self.root))
        # Code that GCC accepts and clang rejects costs only the declaration that contains it.
        errors = [d for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Fatal]
        if errors:
            raise SystemExit(f"mutate: clang cannot read {path}: {errors[0]}")
        here = set()
        for cursor in unit.cursor.get_children():
            name = cursor.location.file and self.relative(cursor.location.file.name)
            if name in self.wanted and name not in self.done:
                here.add(name)
                self.path = name
                if name not in self.sources:
                    with open(os.path.join(self.root, name), "rb") as file:
                        self.sources[name] = file.read()
                self.source = self.sources[name]
                self.scope(cursor, [])
        # A wanted file that this unit includes is done, too, even if no mutant was found in it.
        self.done |= here | {path} | {self.relative(i.include.name) for i in unit.get_includes()} & self.wanted

    def relative(self, name):
        if name not in self.names:
            self.names[name] = os.path.relpath(os.path.realpath(name), self.root)
        return self.names[name]

    # -- declarations

    def scope(self, cursor, names):
        if cursor.kind in SCOPES:
            inner = names + [cursor.spelling] if cursor.spelling and cursor.kind != K.NAMESPACE else names
            for child in cursor.get_children():
                self.scope(child, inner)
        elif cursor.kind in FUNCTIONS and cursor.is_definition():
            self.function = "::".join(names + [cursor.spelling.split("<")[0]])
            if cursor.kind != K.CXX_METHOD and cursor.semantic_parent and not names and \
                    cursor.semantic_parent.kind in (K.CLASS_DECL, K.STRUCT_DECL, K.CLASS_TEMPLATE):
                self.function = cursor.semantic_parent.spelling + "::" + self.function
            for child in cursor.get_children():
                if child.kind == K.COMPOUND_STMT:
                    self.statement(child)
                elif cursor.kind == K.CONSTRUCTOR and child.kind.is_expression():
                    self.expression(child)

    # -- text

    def range(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def raw(self, start, end):
        return self.source[start:end].decode()

    def text(self, cursor):
        return self.raw(*self.range(cursor))

    def spelled(self, cursor):
        """Returns whether the cursor is in this file's own text (not in a header's, nor in a macro's)."""
        start, end = cursor.extent.start, cursor.extent.end
        return start.file is not None and end.file is not None and start.offset < end.offset and \
            self.relative(start.file.name) == self.path

    def add(self, cursor, operator, text, shown, form="expr", where=None):
        start, end = where or self.range(cursor)
        key = (self.path, start, end, operator, text)
        if key in self.seen:
            return
        self.seen.add(key)
        shown = tuple(re.sub(r"\s+", " ", part).strip() for part in shown)
        self.mutants.append(Mutant(self.path, start, end, cursor.extent.start.line, self.function, operator,
                                   shown, text, form))

    # -- statements

    def statement(self, cursor):
        kind = cursor.kind
        children = list(cursor.get_children())
        if kind in CLOSED or not self.spelled(cursor):
            return
        if kind == K.COMPOUND_STMT or kind == K.LABEL_STMT or kind == K.DEFAULT_STMT:
            for child in children:
                self.statement_or_dropped(child)
        elif kind == K.CASE_STMT:
            for child in children[1:]:
                self.statement_or_dropped(child)
        elif kind == K.DECL_STMT:
            for child in children:
                self.variable(child, cursor)
        elif kind == K.IF_STMT:
            self.if_statement(cursor, children)
        elif kind == K.WHILE_STMT:
            self.condition(children[-2], has_variable=children[0].kind == K.VAR_DECL)
            self.statement_or_dropped(children[-1])
        elif kind == K.DO_STMT:
            self.statement_or_dropped(children[0])
            self.condition(children[1])
        elif kind == K.FOR_STMT:
            self.for_statement(cursor, children)
        elif kind == K.CXX_FOR_RANGE_STMT:
            self.statement_or_dropped(children[-1])
        elif kind == K.SWITCH_STMT:
            for child in children[:-1]:
                self.expression(child)
            self.statement(children[-1])
        elif kind == K.RETURN_STMT:
            self.return_statement(cursor, children)
        elif kind.is_expression():
            self.expression(cursor)

    def statement_or_dropped(self, cursor):
        self.statement(cursor)
        if not self.spelled(cursor):
            return
        inner = self.bare(cursor)
        start, end = self.range(cursor)
        if cursor.kind in (K.BREAK_STMT, K.CONTINUE_STMT) or \
                (cursor.kind == K.RETURN_STMT and not list(cursor.get_children())):
            close = self.source.find(b";", end)
            if self.raw(end, close).strip() == "" and not cursor.kind == K.CONTINUE_STMT:
                self.add(cursor, "drop", "", (self.raw(start, end) + ";", ""), "statement", (start, close + 1))
        elif inner.kind in (K.CALL_EXPR, K.CXX_DELETE_EXPR, K.COMPOUND_ASSIGNMENT_OPERATOR) or \
                (inner.kind == K.BINARY_OPERATOR and self.operator(inner)[0] == "=") or \
                (inner.kind == K.UNARY_OPERATOR and self.unary(inner) in ("++", "--")):
            self.add(cursor, "drop", "static_cast<void>(0)", (self.raw(start, end) + ";", ""), "drop")

    def variable(self, cursor, statement=None):
        if cursor.kind != K.VAR_DECL:
            return
        start, _ = self.range(cursor)
        name_end = cursor.location.offset + len(cursor.spelling)
        head = self.raw(start, cursor.location.offset)
        if re.search(r"\b(constexpr|static|constinit)\b", head):
            return
        if statement is not None and re.fullmatch(r"(?:const )?([\w:]*Lock) ", head):
            type_name = re.fullmatch(r"(?:const )?([\w:]*Lock) ", head)[1]
            begin, end = self.range(statement)
            arguments = self.raw(name_end, end)
            if arguments.startswith("("):
                text = f"const ke_mutants::Unless<{type_name}> {cursor.spelling}(KE_MUTANT(%d), {arguments[1:]}"
                self.add(statement, "lock", text, (self.raw(begin, end), ""), "lock", (begin, end))
            return
        for child in cursor.get_children():
            if child.kind.is_expression() and child.extent.start.offset >= name_end and \
                    re.search(r"[={(]", self.raw(name_end, child.extent.start.offset) + "="[:child.kind == K.INIT_LIST_EXPR]):
                bare = self.bare(child)
                # The compiler evaluates these.
                if re.search(r"\bconst\b", head) and self.is_constant(bare):
                    continue
                self.expression(child)

    def if_statement(self, cursor, children):
        start, _ = self.range(cursor)
        if re.match(rb"if\s+constexpr", self.source[start:start + 20]):
            for child in children[1:]:
                self.statement_or_dropped(child)
            return
        variable = [c for c in children if c.kind in (K.VAR_DECL, K.DECL_STMT)]
        rest = [c for c in children if c not in variable]
        for child in variable:
            for each in ([child] if child.kind == K.VAR_DECL else child.get_children()):
                self.variable(each)
        if variable:
            # For "if (T* x = f())", clang shows the condition as another use of x.
            for child in rest:
                if child.kind.is_statement():
                    self.statement_or_dropped(child)
                elif child.extent.start.offset >= variable[-1].extent.end.offset:
                    self.statement_or_dropped(child) if child is not rest[0] else self.condition(child)
            return
        self.condition(rest[0])
        if self.spelled(rest[0]):
            text = self.text(rest[0])
            self.add(rest[0], "never", "false", (f"if ({text})", "if (false)"), "bool")
        for child in rest[1:]:
            self.statement_or_dropped(child)

    def for_statement(self, cursor, children):
        start, end = self.range(cursor)
        semicolons, depth, at = [], 0, start
        while len(semicolons) < 2 and at < end:
            byte = self.source[at:at + 1]
            depth += (byte in (b"(", b"{", b"[")) - (byte in (b")", b"}", b"]"))
            if byte == b";" and depth == 1:
                semicolons.append(at)
            at += 1
        *head, body = children
        for child in head:
            where = child.extent.start.offset
            if where < semicolons[0]:
                self.statement(child)
            elif where < semicolons[1]:
                self.condition(child)
            else:
                self.expression(child)
        self.statement_or_dropped(body)

    def return_statement(self, cursor, children):
        if not children:
            return
        value = children[0]
        bare = self.bare(value)
        self.expression(value)
        if not self.spelled(value):
            return
        text = self.text(value)
        kind = value.type.get_canonical().kind
        if kind == T.POINTER and text != "nullptr":
            self.add(value, "null", "nullptr", ("return " + text, "return nullptr"))
        elif kind == T.BOOL and bare.kind == K.CALL_EXPR:
            self.negate_leaf(bare)
        elif kind == T.INT and bare.kind == K.CALL_EXPR:
            self.add(value, "status", f"(static_cast<void>({text}), 0)", ("return " + text, "return 0"))

    # -- expressions

    def bare(self, cursor):
        """Returns an expression without the conversions that clang wraps around it."""
        while cursor.kind == K.UNEXPOSED_EXPR:
            inner = list(cursor.get_children())
            if len(inner) != 1:
                break
            cursor = inner[0]
        return cursor

    def operator(self, cursor):
        left, right = list(cursor.get_children())[:2]
        between = self.raw(left.extent.end.offset, right.extent.start.offset)
        between = re.sub(r"/\*.*?\*/|//[^\n]*", "", between, flags=re.S)
        return between.strip(), left, right

    def unary(self, cursor):
        (inner,) = cursor.get_children()
        start, end = self.range(cursor)
        inner_start, inner_end = self.range(inner)
        return (self.raw(start, inner_start) + self.raw(inner_end, end)).strip()

    def is_constant(self, cursor):
        return not any(c.kind in (K.CALL_EXPR, K.MEMBER_REF_EXPR, K.CXX_THIS_EXPR, K.ARRAY_SUBSCRIPT_EXPR) or
                       (c.kind == K.DECL_REF_EXPR and c.referenced is not None and
                        c.referenced.kind in (K.PARM_DECL, K.VAR_DECL) and not self.constexpr(c.referenced))
                       for c in cursor.walk_preorder())

    def constexpr(self, declaration):
        if declaration.kind != K.VAR_DECL:
            return False
        tokens = declaration.get_tokens()
        return any(token.spelling == "constexpr" for _, token in zip(range(6), tokens))

    def condition(self, cursor, has_variable=False):
        self.expression(cursor)
        if not has_variable:
            self.negate_leaf(self.bare(cursor))

    def negate_leaf(self, cursor):
        """Handles a condition that is neither a comparison nor composed of other conditions."""
        while cursor.kind == K.PAREN_EXPR:
            (cursor,) = cursor.get_children()
            cursor = self.bare(cursor)
        if cursor.kind == K.BINARY_OPERATOR and self.operator(cursor)[0] in set(NEGATED) | {"&&", "||"}:
            return
        if cursor.kind == K.CXX_BOOL_LITERAL_EXPR or not self.spelled(cursor):
            return
        if cursor.kind == K.UNARY_OPERATOR and self.unary(cursor) == "!":
            return
        text = self.text(cursor)
        self.add(cursor, "negate", f"!({text})", (text, f"!({text})"), "bool")

    def expression(self, cursor):
        kind = cursor.kind
        if kind in CLOSED or not self.spelled(cursor):
            return
        if kind in (K.BINARY_OPERATOR, K.COMPOUND_ASSIGNMENT_OPERATOR):
            self.binary(cursor)
        elif kind == K.UNARY_OPERATOR:
            self.unary_operator(cursor)
        elif kind == K.CONDITIONAL_OPERATOR:
            first, *others = cursor.get_children()
            self.condition(first)
            for child in others:
                self.expression(child)
        elif kind == K.INTEGER_LITERAL:
            self.integer(cursor)
        elif kind in (K.CHARACTER_LITERAL, K.FLOATING_LITERAL):
            text = self.text(cursor)
            if re.match(r"['0-9.]", text):
                self.off_by(cursor, text, ("+ 1",))
        elif kind == K.CXX_BOOL_LITERAL_EXPR:
            text = self.text(cursor)
            if text in ("true", "false"):
                other = "false" if text == "true" else "true"
                self.add(cursor, "const", other, (text, other))
        elif kind == K.DECL_REF_EXPR:
            self.name(cursor)
        elif kind == K.MEMBER_REF_EXPR:
            for child in cursor.get_children():
                if child.kind.is_expression() and child.extent.end.offset <= cursor.location.offset:
                    self.expression(child)
        elif kind == K.LAMBDA_EXPR:
            for child in cursor.get_children():
                if child.kind == K.COMPOUND_STMT:
                    self.statement(child)
        elif kind == K.CALL_EXPR:
            for child in cursor.get_children():
                self.expression(child)
        elif kind.is_statement():
            self.statement(cursor)
        else:
            for child in cursor.get_children():
                if child.kind.is_expression():
                    self.expression(child)

    def binary(self, cursor):
        operator, left, right = self.operator(cursor)
        left_text, right_text = self.text(left), self.text(right)
        start, end = self.range(cursor)
        if not (self.range(left)[0] == start and self.range(right)[1] == end):
            return  # part of a macro
        self.expression(left)
        self.expression(right)
        whole = self.text(cursor)

        def put(name, other):
            text = f"{left_text} {other} {right_text}"
            self.add(cursor, name, text, (whole, text))

        if operator in NEGATED:
            put("negate", NEGATED[operator])
            if operator in SHIFTED:
                put("shift", SHIFTED[operator])
        elif operator in ("&&", "||"):
            for side in (left, right):
                self.negate_leaf(self.bare(side))
                self.add(cursor, "half", self.as_bool(side), (whole, self.text(side)), "bool")
        elif operator in OTHER and self.has_other(cursor, operator, left, right):
            put("arith", OTHER[operator])

    def as_bool(self, cursor):
        return f"static_cast<bool>({self.text(cursor)})"

    def has_other(self, cursor, operator, left, right):
        kinds = [c.type.get_canonical().kind for c in (left, right)]
        pointers = sum(k in (T.POINTER, T.INCOMPLETEARRAY, T.CONSTANTARRAY) for k in kinds)
        if T.DOUBLE in kinds and OTHER[operator] in ("%", "&", "|"):
            return False
        return pointers < 2 and not (pointers == 1 and kinds[0] not in (T.POINTER, T.CONSTANTARRAY))

    def unary_operator(self, cursor):
        operator = self.unary(cursor)
        (inner,) = cursor.get_children()
        self.expression(inner)
        whole, text = self.text(cursor), self.text(inner)
        start, end = self.range(cursor)
        if operator == "!" and whole.startswith("!"):
            self.add(cursor, "negate", self.as_bool(inner), (whole, text))
        elif operator in ("++", "--") and whole.startswith(operator):
            other = "--" if operator == "++" else "++"
            self.add(cursor, "arith", other + text, (whole, other + text))
        elif operator in ("++", "--") and whole.endswith(operator):
            other = "--" if operator == "++" else "++"
            self.add(cursor, "arith", text + other, (whole, text + other))
        elif operator in ("-", "~") and whole.startswith(operator) and \
                self.bare(inner).kind != K.INTEGER_LITERAL:
            self.add(cursor, "arith", text, (whole, text))

    def integer(self, cursor):
        text = self.text(cursor)
        if VALUE.match(text):
            self.off_by(cursor, text, ("+ 1",) if re.match(r"^0[uUlLzZ]*$", text) else ("+ 1", "- 1"))

    def off_by(self, cursor, text, steps):
        for step in steps:
            self.add(cursor, "const", f"static_cast<ke_mutants::Plain<decltype({text})>>({text} {step})",
                     (text, f"{text} {step}"))

    def name(self, cursor):
        text = self.text(cursor)
        target = cursor.referenced
        if target is None or not re.fullmatch(r"[\w:]+", text):
            return
        if target.kind == K.ENUM_CONSTANT_DECL:
            plain = f"ke_mutants::Plain<decltype({text})>"
            self.add(cursor, "status", f"static_cast<{plain}>(static_cast<int>({text}) - 1)", (text, f"{text} - 1"))
            if target.spelling.startswith("WIQ_ERR_"):
                self.add(cursor, "status", f"static_cast<{plain}>(0)", (text, "0"))
        elif re.fullmatch(r"(std::)?memory_order_(acq_rel|acquire|release)", text):
            self.add(cursor, "lock", "std::memory_order_relaxed", (text, "std::memory_order_relaxed"))
        elif target.kind == K.VAR_DECL and cursor.type.get_canonical().kind in INTEGERS and \
                self.constexpr(target):
            self.off_by(cursor, text, ("+ 1",))


def find(root, units, wanted):
    """Returns the mutants of the wanted files, and the text of these files. A header is visited when the first
    unit that includes it is parsed."""
    finder = Finder(root, wanted)
    for unit in sorted(units, key=lambda name: name not in finder.wanted):
        if finder.wanted - finder.done:
            finder.parse(unit)
    return finder.mutants, finder.sources
