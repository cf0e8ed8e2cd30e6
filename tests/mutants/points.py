"""Finds the points of a C++ source that can be mutated, by its syntax tree, and writes the source with all mutants."""

import bisect
import dataclasses
import hashlib
import pathlib
import re

import critical
import mutated
from clang import cindex
from clang.cindex import CursorKind as Kind

TESTS = pathlib.Path(__file__).resolve().parent.parent
SCOPE = "fieldpost::mutants"
COMPARISONS = {  # operator in the source: operators of the mutants
    "<": ("std::less<>", {"<=": "std::less_equal<>", ">=": "std::greater_equal<>"}),
    "<=": ("std::less_equal<>", {"<": "std::less<>", ">": "std::greater<>"}),
    ">": ("std::greater<>", {">=": "std::greater_equal<>", "<=": "std::less_equal<>"}),
    ">=": ("std::greater_equal<>", {">": "std::greater<>", "<": "std::less<>"}),
    "==": ("std::equal_to<>", {"!=": "std::not_equal_to<>"}),
    "!=": ("std::not_equal_to<>", {"==": "std::equal_to<>"}),
}
SUMS = {
    "+": ("std::plus<>", {"-": "std::minus<>"}),
    "-": ("std::minus<>", {"+": "std::plus<>"}),
    "+=": ("AddTo", {"-=": "TakeFrom"}),
    "-=": ("TakeFrom", {"+=": "AddTo"}),
}
STEPS = {  # (operator in the source, whether it precedes its operand)
    ("++", True): ("Increment", {"--": "Decrement"}),
    ("--", True): ("Decrement", {"++": "Increment"}),
    ("++", False): ("IncrementAfter", {"--": "DecrementAfter"}),
    ("--", False): ("DecrementAfter", {"++": "IncrementAfter"}),
}
NEVER = {Kind.CLASS_TEMPLATE, Kind.FUNCTION_TEMPLATE, Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.PARM_DECL,
         Kind.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION, Kind.TYPE_ALIAS_DECL}
EMPTY = {"", "{}", "nullptr", "std::nullopt", '""', "0", "true", "false"}
NUMBER = re.compile(rb"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)[uUlLzZ]*")


@dataclasses.dataclass
class Mutant:
    """One change at one point. Its name describes it without line numbers, so that it stays valid when lines move."""

    file: str
    line: int
    column: int
    function: str
    operator: str
    text: str  # what is changed, on one line
    begin: int
    end: int
    scope: str  # hash of the function that it is in
    critical: bool = False
    number: int = 0
    ordinal: int = 1

    @property
    def name(self):
        count = f" #{self.ordinal}" if self.ordinal > 1 else ""
        return f"{self.file} | {self.function} | {self.operator} | {self.text}{count}"

    @property
    def key(self):
        return f"{self.name} | {self.scope}"


@dataclasses.dataclass
class Point:
    """A place in the source, and the text to be inserted around its parts for the remaining mutants."""

    begin: int
    end: int
    mutants: list
    write: object  # (remaining mutants) -> list of (offset, removed length, text, closes)


@dataclasses.dataclass
class Context:
    function: str = ""
    scope: str = ""
    result: object = None  # type that the function returns; None in a lambda


class Finder:
    """The points of one source."""

    def __init__(self, path, name, arguments, only_in=()):
        """`only_in` names the functions to be mutated; none stands for all."""
        self.name = name
        self.source = path.read_bytes()
        self.lines = [0] + [found.end() for found in re.finditer(rb"\n", self.source)]
        self.points = []
        unit = cindex.Index.create().parse(str(path), args=arguments)
        faults = [str(one) for one in unit.diagnostics if one.severity >= cindex.Diagnostic.Error]
        if faults:
            raise SystemExit("\n".join(faults))
        self.path = str(path)
        own = [one for one in unit.cursor.get_children() if self._is_here(one)]
        self.critical = critical.Places(name, self.source, own)
        for cursor in own:
            self._visit(cursor, Context())
        self.points = [one for one in self.points if not only_in or one.mutants[0].function in only_in]
        self._name_apart()

    @property
    def mutants(self):
        return [mutant for point in self.points for mutant in point.mutants]

    def write(self, dropped):
        """The source with every mutant except those with these keys."""
        edits = []
        for order, point in enumerate(self.points):
            remaining = [one for one in point.mutants if one.key not in dropped]
            if not remaining:
                continue
            for offset, length, text, closes in point.write(remaining):
                # At one position: first the closing texts, the innermost first; then the opening ones, the outermost first.
                rank = (0, -point.begin, point.end, -order) if closes else (1, -point.end, point.begin, order)
                edits.append((offset, rank, length, text))
        edits.sort(key=lambda edit: (edit[0], edit[1]))
        return mutated.Mutated(self.source, edits, self.points)

    # The walk.

    def _visit(self, cursor, context):
        if not self._is_here(cursor) or cursor.kind in NEVER or self._is_constant(cursor):
            return
        if cursor.kind in critical.FUNCTIONS:
            context = Context(self._function_name(cursor), self._hash(cursor), cursor.result_type)
        elif cursor.kind == Kind.LAMBDA_EXPR:
            context = dataclasses.replace(context, result=None)
        self._points_at(cursor, context)
        children = list(cursor.get_children())
        if cursor.kind == Kind.CASE_STMT:
            children = children[1:]
        for child in children:
            self._visit(child, context)

    def _points_at(self, cursor, context):
        kind, children = cursor.kind, list(cursor.get_children())
        if kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR) and len(children) == 2:
            self._binary(cursor, self._operator_between(*children), context)
        elif kind == Kind.CALL_EXPR and cursor.spelling.startswith("operator"):
            self._overloaded(cursor, children, context)
        elif kind == Kind.UNARY_OPERATOR:
            self._step(cursor, context)
        elif kind == Kind.INTEGER_LITERAL:
            self._number(cursor, context)
        elif kind == Kind.CXX_BOOL_LITERAL_EXPR:
            self._negate(cursor, context, "flip")
        elif kind == Kind.CONDITIONAL_OPERATOR:
            self._condition(children[0], context)
        elif kind == Kind.RETURN_STMT and children:
            self._return(cursor, children[0], context)
        elif kind in (Kind.IF_STMT, Kind.WHILE_STMT):
            self._branch(cursor, children, context)
        elif kind == Kind.DO_STMT:
            self._condition(children[-1], context)
        for statement in self._statements_below(cursor, children):
            self._drop(statement, context)

    @staticmethod
    def _statements_below(cursor, children):
        if cursor.kind == Kind.COMPOUND_STMT:
            return children
        if cursor.kind in (Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT, Kind.WHILE_STMT, Kind.CASE_STMT, Kind.DEFAULT_STMT):
            return children[-1:]
        if cursor.kind == Kind.DO_STMT:
            return children[:1]
        if cursor.kind == Kind.IF_STMT:
            return children[2 if children[0].kind in (Kind.VAR_DECL, Kind.DECL_STMT) else 1:]
        return []

    # One kind of point each.

    def _binary(self, cursor, found, context):
        if found is None:
            return
        text, begin, end = found
        if text in COMPARISONS:
            self._chosen(cursor, (begin, end), COMPARISONS[text], context)
        elif text in SUMS:
            self._chosen(cursor, (begin, end), SUMS[text], context)
        elif text in ("&&", "||"):
            self._logical(cursor, (begin, end), text, context)

    def _overloaded(self, cursor, children, context):
        for child in children:
            begin, end = self._range(child)
            text = self.source[begin:end].decode(errors="replace")
            outer = self._range(cursor)
            if text in COMPARISONS and outer[0] < begin and end < outer[1]:
                self._chosen(cursor, (begin, end), COMPARISONS[text], context)
                return
            if text in ("++", "--"):
                self._step(cursor, context)
                return

    def _chosen(self, cursor, place, choice, context):
        original, others = choice
        begin, end = self._range(cursor)
        mutants = [self._mutant(begin, end, other, context) for other in others]

        def write(remaining):
            named = ", ".join(f"{SCOPE}::M<{one.number}, {_in_scope(others[one.operator])}>" for one in remaining)
            head = f"{SCOPE}::Choose<{_in_scope(original)}, {named}>("
            return [(begin, 0, head, False), (place[0], place[1] - place[0], ",", False), (end, 0, ")", True)]

        self.points.append(Point(begin, end, mutants, write))

    def _logical(self, cursor, place, text, context):
        begin, end = self._range(cursor)
        mutant = self._mutant(begin, end, "||" if text == "&&" else "&&", context)
        compare, otherwise = ("!=", "") if text == "&&" else ("==", "!")

        def write(remaining):
            on = f"{SCOPE}::On({remaining[0].number})"
            return [(begin, 0, "((static_cast<bool>(", False),
                    (place[0], place[1] - place[0], f") {compare} {on}) ? static_cast<bool>(", False),
                    (end, 0, f") : {otherwise}{on})", True)]

        self.points.append(Point(begin, end, [mutant], write))

    def _step(self, cursor, context):
        begin, end = self._range(cursor)
        text = self.source[begin:end]
        for (operator, before), (original, others) in STEPS.items():
            sign = operator.encode()
            if not (text.startswith(sign) if before else text.endswith(sign)):
                continue
            other = next(iter(others))
            mutant = self._mutant(begin, end, other, context)
            place = begin if before else end - 2

            def write(remaining, original=original, other=others[other], place=place):
                named = f"{SCOPE}::M<{remaining[0].number}, {_in_scope(other)}>"
                return [(begin, 0, f"{SCOPE}::Choose<{_in_scope(original)}, {named}>(", False),
                        (place, 2, "", False), (end, 0, ")", True)]

            self.points.append(Point(begin, end, [mutant], write))
            return

    def _number(self, cursor, context):
        begin, end = self._range(cursor)
        if not NUMBER.fullmatch(self.source[begin:end]):
            return
        functions = {"+1": "OneMore", "-1": "OneLess"}
        mutants = [self._mutant(begin, end, other, context) for other in functions]

        def write(remaining):
            named = ", ".join(f"{SCOPE}::M<{one.number}, {_in_scope(functions[one.operator])}>" for one in remaining)
            return [(begin, 0, f"{SCOPE}::Choose<{_in_scope('Same')}, {named}>(", False), (end, 0, ")", True)]

        self.points.append(Point(begin, end, mutants, write))

    def _negate(self, cursor, context, operator="negate"):
        begin, end = self._range(cursor)
        mutant = self._mutant(begin, end, operator, context)

        def write(remaining):
            on = f"{SCOPE}::On({remaining[0].number})"
            return [(begin, 0, f"({on} != static_cast<bool>(", False), (end, 0, "))", True)]

        self.points.append(Point(begin, end, [mutant], write))

    def _condition(self, cursor, context):
        """A comparison already has a mutant that negates it."""
        if not self._is_comparison(cursor) and cursor.kind != Kind.CXX_BOOL_LITERAL_EXPR:
            self._negate(cursor, context)

    def _branch(self, cursor, children, context):
        begin = self._range(cursor)[0]
        if re.match(rb"if\s+constexpr", self.source[begin:begin + 20]):
            return
        first = children[0]
        if first.kind == Kind.VAR_DECL:
            if cursor.kind == Kind.IF_STMT:
                self._declared_condition(first, context)
        elif first.kind == Kind.DECL_STMT:
            self._condition(children[1], context)
        else:
            self._condition(first, context)

    def _declared_condition(self, variable, context):
        begin, end = self._range(variable)
        mutant = self._mutant(begin, end, "negate", context)

        def write(remaining):
            on = f"{SCOPE}::On({remaining[0].number})"
            return [(end, 0, f"; {on} != static_cast<bool>({variable.spelling})", True)]

        self.points.append(Point(begin, end, [mutant], write))

    def _return(self, cursor, value, context):
        text = self._one_line(*self._range(value))
        is_bool = (context.result or value.type).get_canonical().spelling == "bool"
        if is_bool:
            self._condition(value, context)
        elif text not in EMPTY and context.result is not None and "&" not in context.result.spelling:
            self._return_nothing(cursor, context)

    def _return_nothing(self, cursor, context):
        begin, end = self._range(cursor)
        end = self._behind_semicolon(end)
        mutant = self._mutant(begin, end, "return {}", context)

        def write(remaining):
            on = f"{SCOPE}::On({remaining[0].number})"
            return [(begin, 0, f"{{ if ({on}) return {{}}; ", False), (end, 0, " }", True)]

        self.points.append(Point(begin, end, [mutant], write))

    def _drop(self, cursor, context):
        if not cursor.kind.is_expression() or not self._is_here(cursor):
            return
        begin, end = self._range(cursor)
        text = self.source[begin:end]
        throws = cursor.kind == Kind.CXX_THROW_EXPR
        # Without its throw, a function that must return a value would have undefined behaviour.
        if throws and (context.result is None or context.result.spelling != "void"):
            return
        if re.match(rb"(\(void\)|static_cast<void>|\+\+|--)", text) or text.endswith((b"++", b"--")):
            return
        end = self._behind_semicolon(end)
        mutant = self._mutant(begin, end, "drop", context)

        def write(remaining):
            return [(begin, 0, f"{{ if (!{SCOPE}::On({remaining[0].number})) ", False), (end, 0, " }", True)]

        self.points.append(Point(begin, end, [mutant], write))

    # What the tree and the text say.

    def _mutant(self, begin, end, operator, context):
        line = bisect.bisect_right(self.lines, begin)
        column = begin - self.lines[line - 1] + 1
        return Mutant(self.name, line, column, context.function, operator, self._one_line(begin, end), begin, end,
                      context.scope, self.critical.hold(begin, end, operator))

    def _name_apart(self):
        """Numbers the mutants that would have the same name."""
        seen = {}
        for mutant in sorted(self.mutants, key=lambda one: one.begin):
            first = mutant.name
            seen[first] = mutant.ordinal = seen.get(first, 0) + 1

    def _is_here(self, cursor):
        return cursor.location.file is not None and cursor.location.file.name == self.path

    def _range(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def _one_line(self, begin, end):
        text = re.sub(r"\s+", " ", self.source[begin:end].decode(errors="replace"))
        return text if len(text) <= 100 else f"{text[:60]} ... {text[-30:]}"

    def _hash(self, cursor):
        begin, end = self._range(cursor)
        return hashlib.sha256(self.source[begin:end]).hexdigest()[:12]

    def _is_constant(self, cursor):
        """Whether the value is computed at compile time, so that no mutant can be chosen at runtime."""
        if cursor.kind not in critical.FUNCTIONS | {Kind.VAR_DECL}:
            return False
        begin, end = self._range(cursor)
        head = re.split(rb"[={(]", self.source[begin:end], maxsplit=1)[0]
        return re.search(rb"\b(constexpr|consteval|constinit)\b", head) is not None

    def _function_name(self, cursor):
        names, one = [], cursor
        while one is not None and one.kind not in (Kind.TRANSLATION_UNIT, Kind.NAMESPACE):
            names.append(one.spelling)
            one = one.semantic_parent
        return "::".join(reversed(names))

    def _behind_semicolon(self, end):
        return self.source.index(b";", end) + 1

    def _operator_between(self, left, right):
        begin, end = self._range(left)[1], self._range(right)[0]
        text = self.source[begin:end]
        # A closing bracket belongs to the left operand, an opening one to the right.
        found = re.search(rb"(?:^|[\s)])([<>=!+*/%&|-]=?|&&|\|\||<<|>>)(?:$|[\s(])", text)
        if found is None:
            return None
        return found.group(1).decode(), begin + found.start(1), begin + found.end(1)

    def _is_comparison(self, cursor):
        while cursor.kind == Kind.UNEXPOSED_EXPR or (cursor.kind == Kind.UNARY_OPERATOR and self._is_rewritten(cursor)):
            children = list(cursor.get_children())
            if len(children) != 1:
                return False
            cursor = children[0]
        children = list(cursor.get_children())
        if cursor.kind == Kind.BINARY_OPERATOR and len(children) == 2:
            found = self._operator_between(*children)
            return found is not None and found[0] in COMPARISONS
        return cursor.kind == Kind.CALL_EXPR and re.fullmatch(r"operator(==|!=|<|>|<=|>=|<=>)", cursor.spelling or "") \
            is not None

    def _is_rewritten(self, cursor):
        begin = self._range(cursor)[0]
        return self.source[begin:begin + 2] == b"!="


def _in_scope(function):
    return function if function.startswith("std::") else f"{SCOPE}::{function}"
