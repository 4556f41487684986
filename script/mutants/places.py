"""Finds where a C++ source can be changed in a small way, by its tokens. Four kinds of change:

comparison   the edge of an order moved or an equality turned round, && for || and back, a negation left out
constant     a number one higher, true for false and back
removed      a statement (a call, an assignment, a jump) left out
swapped      two arguments of a call exchanged, or an assignment and the statement behind it that shares its name

Preprocessor lines, comments, texts, assertions and what aligns are left alone. That a line is laid out by clang-format
is relied on: an operator between two values has spaces around it, the brackets of a template have not.
"""

import dataclasses
import re

KINDS = ("comparison", "constant", "removed", "swapped")

_TOKEN = re.compile(
    r"""(?P<space>\s+)
    |(?P<comment>//[^\n]*|/\*.*?\*/)
    |(?P<directive>(?<![^\n])\#(?:\\\n|[^\n])*)
    |(?P<text>(?:u8|[uUL])?R"(?P<fence>[^()\\\s]*)\(.*?\)(?P=fence)"|(?:u8|[uUL])?"(?:\\.|[^"\\\n])*"|(?:u8|[uUL])?'(?:\\.|[^'\\\n])*')
    |(?P<number>\.?\d(?:[eEpP][+-]|'(?=\w)|[\w.])*)
    |(?P<name>[A-Za-z_]\w*)
    |(?P<sign><=>|<<=|>>=|->\*|\.\.\.|::|->|<<|>>|<=|>=|==|!=|&&|\|\||\+\+|--|[-+*/%&|^]=|.)
    """,
    re.VERBOSE | re.DOTALL,
)

_OTHER_COMPARISON = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
}
_ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}
_LEFT_ALONE = {"static_assert", "assert", "alignas", "decltype", "sizeof", "noexcept", "requires"}
_NO_CALL = {"if", "for", "while", "switch", "catch", "return", "throw", "new", "operator"} | _LEFT_ALONE
# What begins a statement that is not only a call or an assignment.
_NO_STATEMENT = {
    "auto", "case", "catch", "class", "const", "constexpr", "consteval", "constinit", "default", "do", "else", "enum",
    "explicit", "extern", "for", "friend", "goto", "if", "inline", "namespace", "operator", "private", "protected",
    "public", "static", "struct", "switch", "template", "try", "typedef", "typename", "union", "using", "virtual",
    "while", "throw", "void", "mutable", "thread_local",
} | _LEFT_ALONE  # fmt: skip
_JUMPS = {"return", "break", "continue"}
_NO_VALUE = {"__LINE__", "__func__", "std::cout", "std::cerr"}
_CLOSING = {"(": ")", "[": "]", "{": "}"}


@dataclasses.dataclass(frozen=True)
class Token:
    kind: str
    text: str
    begin: int

    @property
    def end(self):
        return self.begin + len(self.text)


@dataclasses.dataclass(frozen=True)
class Place:
    """A change of one file: `old`, which stands at the offset `begin`, becomes `new`."""

    kind: str
    file: str
    begin: int
    old: str
    new: str
    line: int  # the first is 1
    text: str  # of that line, without what it is indented by
    column: int  # in `text`, the first is 0
    twin: int  # how many lines of the same text stand above

    def applied(self, source):
        assert source.startswith(self.old, self.begin)
        return source[: self.begin] + self.new + source[self.begin + len(self.old) :]

    @property
    def key(self):
        """What stays when lines are added elsewhere."""
        return (self.file, self.text, self.twin, self.column, _on_one_line(self.old), _on_one_line(self.new))

    def __str__(self):
        return f"{self.file}:{self.line}: {self.kind}: {_on_one_line(self.old)} -> {_on_one_line(self.new)}"


def tokens(source):
    """Those that the compiler takes for code."""
    return [
        Token(match.lastgroup if match.lastgroup != "fence" else "text", match.group(), match.start())
        for match in _TOKEN.finditer(source)
        if match.group("space") is None and match.group("comment") is None and match.group("directive") is None
    ]


def places(file, source):
    """Every place of a file, in its order."""
    reader = _Reader(source)
    found = []
    for kind, begin, old, new in sorted(reader.changes(), key=lambda change: (change[1], change)):
        line_begin = source.rfind("\n", 0, begin) + 1
        line_end = source.find("\n", begin)
        whole = source[line_begin : line_end if line_end >= 0 else len(source)]
        text = whole.strip()
        above = [line.strip() for line in source[:line_begin].split("\n")]
        found.append(
            Place(
                kind, file, begin, old, new,
                line=source.count("\n", 0, begin) + 1,
                text=text,
                column=begin - line_begin - (len(whole) - len(whole.lstrip())),
                twin=above.count(text),
            )  # fmt: skip
        )
    return found


def one_higher(number):
    """The literal of a number one higher, in the same base and with the same suffix."""
    whole = re.fullmatch(r"(0[xX]|0[bB]|)([\da-fA-F']+?)([uUlLzZ]*)", number)
    if whole and not (whole[1] == "" and re.search("[a-fA-F]", whole[2])):
        prefix, digits, suffix = whole.groups()
        digits = digits.replace("'", "")
        if prefix.lower() == "0x":
            return f"{prefix}{int(digits, 16) + 1:0{len(digits)}X}{suffix}"
        if prefix.lower() == "0b":
            return f"{prefix}{int(digits, 2) + 1:0{len(digits)}b}{suffix}"
        return f"{int(digits, 8 if digits.startswith('0') else 10) + 1}{suffix}"
    real = re.fullmatch(r"([\d.']+(?:[eE][+-]?\d+)?)([fFlL]?)", number)
    return f"{float(real[1].replace(chr(39), '')) + 1!r}{real[2]}" if real else None


def _on_one_line(code):
    return " ".join(code.split())


class _Reader:
    def __init__(self, source):
        self.source = source
        self.tokens = tokens(source)
        self.partner = self._partners()
        self.in_function = self._in_function()

    def changes(self):
        """(kind, offset, old, new) of every change."""
        index = 0
        while index < len(self.tokens):
            token = self.tokens[index]
            if token.text in _LEFT_ALONE and self._text(index + 1) == "(":
                index = self.partner.get(index + 1, index) + 1
                continue
            yield from self._comparison(index)
            yield from self._constant(index)
            if self.in_function[index]:
                yield from self._statement(index)
                yield from self._arguments(index)
            index += 1

    def _text(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def _code(self, first, last):
        return self.source[self.tokens[first].begin : self.tokens[last].end]

    def _partners(self):
        """Of each opening bracket the index of its closing one, and the other way."""
        partner, opened = {}, []
        for index, token in enumerate(self.tokens):
            if token.kind != "sign":
                continue
            if token.text in _CLOSING:
                opened.append(index)
            elif token.text in _CLOSING.values() and opened:
                partner[index] = opened.pop()
                partner[partner[index]] = index
        return partner

    def _in_function(self):
        """Of each token whether it stands in the body of a function."""
        inside, scopes = [], []
        for index, token in enumerate(self.tokens):
            if token.text == "}" and scopes:
                scopes.pop()
            inside.append(bool(scopes) and scopes[-1])
            if token.text == "{":
                scopes.append(self._opens_code(index, inside[-1]))
        return inside

    def _opens_code(self, index, inside):
        """Whether statements follow this brace, and not declarations or values."""
        before = self._text(index - 1)
        head = []
        at = index - 1
        while at >= 0 and self._text(at) not in {";", "{", "}"}:
            if self._text(at) == ")":
                at = self.partner.get(at, at)
            head.append(self._text(at))
            at -= 1
        if {"namespace", "class", "struct", "union", "enum"} & set(head) and "(" not in head:
            return False
        if before in {"do", "else", "try", "const", "noexcept", "override", "mutable"}:
            return True
        if before in {")", "]"} or (inside and before in {"{", "}", ";", ":"}):
            return True
        # `-> Type {`, and `: member{value} {` of a constructor, whose head ends at the brace before it.
        return "->" in head or (before == "}" and self._after_initialisers(index - 1))

    def _after_initialisers(self, closing):
        opening = self.partner.get(closing, -1)
        return self.tokens[opening - 1].kind == "name" and self._text(opening - 2) in {",", ":"}

    def _comparison(self, index):
        token = self.tokens[index]
        if token.text in _OTHER_COMPARISON:
            spaced = self.source[token.begin - 1].isspace() and self.source[token.end : token.end + 1].isspace()
            if spaced and self._text(index - 1) not in {"template", "operator"}:
                yield "comparison", token.begin, token.text, _OTHER_COMPARISON[token.text]
        elif token.text == "!" and self._text(index - 1) != "operator":
            yield "comparison", token.begin, "!", ""

    def _constant(self, index):
        token = self.tokens[index]
        if token.text in {"true", "false"}:
            yield "constant", token.begin, token.text, "false" if token.text == "true" else "true"
        elif token.kind == "number":
            pure = self._text(index - 1) == "=" and self._text(index - 2) in {")", "const", "noexcept", "override"}
            higher = one_higher(token.text)
            if higher and not pure:
                yield "constant", token.begin, token.text, higher

    def _statement(self, index):
        last = self._statement_end(index)
        if last is None:
            return
        yield "removed", self.tokens[index].begin, self._code(index, last), "(void)0;"
        following = self._statement_end(last + 1)
        if following is not None and self._are_bound(index, last, following):
            first, second = self._code(index, last), self._code(last + 1, following)
            between = self.source[self.tokens[last].end : self.tokens[last + 1].begin]
            yield "swapped", self.tokens[index].begin, first + between + second, second + between + first

    def _statement_end(self, index):
        """The index of the semicolon of a statement that begins here and can be left out."""
        if index >= len(self.tokens) or not self._begins_statement(index):
            return None
        first = self.tokens[index]
        last = index
        while self._text(last) not in {";", "}", ""}:
            if self._text(last) in {"{", "(", "["}:
                last = self.partner.get(last, last)
            last += 1
        if self._text(last) != ";" or first.text in _NO_STATEMENT:
            return None
        if first.text in _JUMPS:
            return last if last == index + 1 else None
        if first.text in {"delete", "++", "--"} or self._text(last - 1) in {"++", "--"}:
            return last
        return last if self._is_call_or_assignment(index, last) else None

    def _begins_statement(self, index):
        before = self._text(index - 1)
        if before in {";", "{", "}", "else", "do", ":"}:
            return before != ":" or self._ends_label(index - 1)
        if before != ")":
            return False
        return self._text(self.partner.get(index - 1, 0) - 1) in {"if", "for", "while", "switch", "constexpr"}

    def _ends_label(self, colon):
        at = colon - 1
        while at >= 0 and (self.tokens[at].kind in {"name", "number", "text"} or self._text(at) == "::"):
            if self._text(at) in {"case", "default"}:
                return True
            at -= 1
        return False

    def _is_call_or_assignment(self, index, last):
        """`a.b[c]->d(e)`, or one assigned to; two names beside each other are a declaration."""
        at = index
        if self._text(at) in {"*", "::"}:
            at += 1
        called = False
        while at < last:
            text = self._text(at)
            if self.tokens[at].kind == "name":
                called = False
                if self.tokens[at + 1].kind == "name":
                    return False
                at += 1
            elif text in {"(", "["} and self._text(at - 1) != "return":
                called = text == "("
                at = self.partner.get(at, last) + 1
            elif text == "<" and self.partner_of_angle(at):
                at = self.partner_of_angle(at) + 1
            elif text in {"::", ".", "->"}:
                at += 1
            else:
                return text in _ASSIGNMENTS
        return called

    def partner_of_angle(self, index):
        """Of the `<` that opens the arguments of a template and stands before a call, the `>`."""
        depth = 0
        for at in range(index, min(index + 40, len(self.tokens))):
            text = self._text(at)
            depth += {"<": 1, ">": -1, ">>": -2}.get(text, 0)
            if text in {";", "{", "&&", "||"}:
                return None
            if depth <= 0:
                return at if self._text(at + 1) in {"(", "::"} else None
        return None

    def _are_bound(self, index, last, following):
        """Whether one of two statements assigns to a name that the other one has."""
        for begin, end, other in ((index, last, range(last + 1, following)), (last + 1, following, range(index, last))):
            if self._text(begin) in _JUMPS:
                return False
            texts = [self._text(at) for at in range(begin, end)]
            target = next((at for at, text in enumerate(texts) if text in _ASSIGNMENTS), None)
            if target is None:
                continue
            named = [texts[at] for at in range(target) if self.tokens[begin + at].kind == "name"]
            if named and named[-1] in {self._text(at) for at in other}:
                return True
        return False

    def _arguments(self, index):
        """Of a call the first two neighbours that are alike: both names, or both numbers."""
        if self._text(index) != "(" or self.tokens[index - 1].kind != "name" or self._text(index - 1) in _NO_CALL:
            return
        end = self.partner.get(index)
        if end is None:
            return
        arguments, begin, at = [], index + 1, index + 1
        while at <= end:
            if self._text(at) in _CLOSING and at != end:
                at = self.partner.get(at, end)
            elif self._text(at) == "," or at == end:
                if at > begin:
                    arguments.append((begin, at - 1))
                begin = at + 1
            at += 1
        for (first, first_last), (second, second_last) in zip(arguments, arguments[1:]):
            one, other = self._code(first, first_last), self._code(second, second_last)
            if {one, other} & _NO_VALUE:
                continue
            if one != other and self._are_alike(range(first, first_last + 1), range(second, second_last + 1)):
                between = self.source[self.tokens[first_last].end : self.tokens[second].begin]
                yield "swapped", self.tokens[first].begin, one + between + other, other + between + one
                return

    def _are_alike(self, one, other):
        def shape(indexes):
            shapes = {self.tokens[at].kind for at in indexes if self._text(at) not in {".", "->", "::", "-", "(", ")"}}
            return shapes.pop() if len(shapes) == 1 else None

        return shape(one) is not None and shape(one) == shape(other) != "text" and shape(one) != "sign"
