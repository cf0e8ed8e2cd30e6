"""The critical places of a source: calls that must not be lost or repeated, the conditions of these calls, and the
functions that such a condition calls."""

import re

from clang.cindex import CursorKind as Kind

CONDITIONS = {"negate", "<", "<=", ">", ">=", "==", "!=", "&&", "||"}  # operators that change a decision
FUNCTIONS = {Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.CONVERSION_FUNCTION}
LEAVES = {Kind.RETURN_STMT, Kind.BREAK_STMT, Kind.CONTINUE_STMT, Kind.CXX_THROW_EXPR}

# Calls whose loss would lose or repeat data, and the files in which they are critical.
CRITICAL_CALL = re.compile(r"^(Flush|Rename|Remove|Move$|SaveAtomically|Write(New|Replacement|Marked)?$|"
                           r"Replace(All|Written)|Mark|SetAside|Commit|RollBack|Stage|Publish|"
                           r"Delete|Refuse|Note|JournalFor|WriteJournal|ClearPPCTemp|DeleteZipFiles)")
# Functions that decide whether a file is removed, marked or mailed again.
CRITICAL_FUNCTION = re.compile(r"^(WasSent|WasCommitted|Holds|IsWhatWasFiled|RefuseSameFile)$")
CRITICAL_FILES = re.compile(r"^src/(faultlog/|outbox/(SendLoop|SendJournal|SentMarking|DocumentCollection|"
                            r"DocumentMarking|AttachmentPackaging)\.cpp|ppc/PpcDocuments|platform/FileSystem\.cpp)")


class Places:
    """The critical places of one source."""

    def __init__(self, name, source, own):
        """`own` are the declarations of the source itself, without its headers."""
        self.source = source
        self.counts = CRITICAL_FILES.match(name) is not None
        self.ranges = []  # (begin, end, critical operators)
        if self.counts:
            self._find_critical(own)

    def hold(self, begin, end, operator):
        """Whether a mutant is critical."""
        if not self.counts:
            return False
        if operator == "drop":
            calls = re.findall(rb"([A-Za-z_]\w*)\s*\(", self.source[begin:end])
            return any(CRITICAL_CALL.match(call.decode()) for call in calls)
        return any(low <= begin and end <= high and operator in operators
                   for low, high, operators in self.ranges)

    def _find_critical(self, own):
        asked = set()
        functions = [one for top in own for one in below(top) if one.kind in FUNCTIONS and one.is_definition()]
        for function in functions:
            self._critical_in(function, [], asked)
        for function in functions:
            if function.spelling in asked or CRITICAL_FUNCTION.match(function.spelling):
                self.ranges.append((*_range(function), CONDITIONS | {"flip", "return {}"}))

    def _critical_in(self, cursor, conditions, asked):
        """Visits the statements in their order; `conditions` decide whether `cursor` is reached."""
        inner = list(conditions)
        for child in cursor.get_children():
            if child.kind == Kind.CALL_EXPR and CRITICAL_CALL.match(child.spelling or ""):
                for condition in inner:
                    self._critical_condition(condition, asked)
            inside = inner + self._conditions_of(child)
            self._critical_in(child, inside, asked)
            if child.kind == Kind.IF_STMT and any(one.kind in LEAVES for one in below(child)):
                inner = inside

    @staticmethod
    def _conditions_of(cursor):
        if cursor.kind not in (Kind.IF_STMT, Kind.WHILE_STMT, Kind.CONDITIONAL_OPERATOR):
            return []
        children = list(cursor.get_children())
        return children[:2] if children[0].kind == Kind.DECL_STMT else children[:1]

    def _critical_condition(self, condition, asked):
        self.ranges.append((*_range(condition), CONDITIONS))
        for one in below(condition):
            if one.kind == Kind.CALL_EXPR and one.spelling:
                asked.add(one.spelling)
            told = one.referenced if one.kind == Kind.DECL_REF_EXPR else None
            if told is not None and told.kind == Kind.VAR_DECL and told.type.get_canonical().spelling == "const bool":
                self.ranges.append((*_range(told), CONDITIONS))


def below(cursor):
    """A node of the syntax tree and all nodes below it."""
    yield cursor
    for child in cursor.get_children():
        yield from below(child)


def _range(cursor):
    return cursor.extent.start.offset, cursor.extent.end.offset
