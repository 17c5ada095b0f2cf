"""All small faults of a kind that can be made in a source by rule.

    comparison   a < b         ->  a <= b          and the other way, == and !=
    sign         a + b         ->  a - b           also += and a unary minus
    constant     3, 0.25f      ->  4 or 2, 0.26f   by one in the last digit that is written
    condition    if (a)        ->  if (!(a))       and && for ||
    statement    call(a);      ->  ;               assignments and jumps after an if too
    arguments    call(a, b)    ->  call(b, a)

Inside the bodies of functions only, and constants of namespaces that are no tables. Not in
comments, texts, lines of the preprocessor, static assertions, template arguments, sizes of
arrays, nor inside a contract's condition, whose text is part of the report: a contract can
only be dropped as a whole. Nor in what only tells the processor which memory will be read:
no value depends on it.
"""

import re
from dataclasses import dataclass

OPERATORS = ("comparison", "sign", "constant", "condition", "statement", "arguments")

TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)
      | (?P<text>(?:u8|[uUL])?R"\(.*?\)"|(?:u8|[uUL])?"(?:[^"\\\n]|\\.)*"
                |(?:u8|[uUL])?'(?:[^'\\\n]|\\.)*')
      | (?P<number>\.?\d(?:[eEpP][+-]|'\w|[\w.])*)
      | (?P<name>[A-Za-z_]\w*)
      | (?P<mark><=>|<<=|>>=|\.\.\.|->\*|::|->|\+\+|--|<<|<=|>=|==|!=|&&|\|\|
                |[-+*/%&|^]=|.)""",
    re.VERBOSE | re.MULTILINE | re.DOTALL)
OPPOSITE = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
TEXTS = {"ContractCheck", "ContractCheckIn", "AssertWithMessage", "AssertWithMessageIn",
         "static_assert", "sizeof", "alignof", "noexcept", "decltype", "alignas",
         "__attribute__"}
HINTS = {"ReadAhead", "__builtin_prefetch"}
HINT = ["IP", "::", "ReadAhead"]  # takes numbers and reads nothing
KEYWORDS = {"if", "for", "while", "switch", "return", "catch", "else", "do", "case",
            "default", "using", "typedef", "throw", "goto", "new", "delete", "constexpr",
            "const", "auto", "static", "template", "typename", "break", "continue",
            "struct", "class", "enum", "namespace", "public", "private", "protected",
            "friend", "operator", "try", "static_cast", "reinterpret_cast"}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}
COMMUTATIVE = {"min", "max", "swap", "abs"}


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int


@dataclass(frozen=True)
class Fault:
    file: str
    operator: str
    start: int
    end: int
    new: str

    def applied_to(self, text):
        return text[: self.start] + self.new + text[self.end :]

    def lines(self, text):
        """(number, the touched lines before, and after), each as one line."""
        first = text.rfind("\n", 0, self.start) + 1
        last = text.find("\n", self.end)
        last = len(text) if last < 0 else last
        before = text[first:last]
        after = text[first : self.start] + self.new + text[self.end : last]
        return text.count("\n", 0, first) + 1, one_line(before), one_line(after)


def one_line(text):
    return " ".join(text.split())


def tokens_of(text):
    return [Token(match.lastgroup, match.group(), match.start(), match.end())
            for match in TOKEN.finditer(text) if match.lastgroup != "skip"]


class Source:
    """The tokens of a file, with what is known about the place of each."""

    def __init__(self, file, text):
        self.file = file
        self.text = text
        self.tokens = tokens_of(text)
        self.partner = self.find_partners()
        self.in_body = self.find_bodies()
        self.excluded = self.find_excluded()

    def at(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def find_partners(self):
        partner, open_ones = {}, []
        for index, token in enumerate(self.tokens):
            if token.kind != "mark":
                continue
            if token.text in "([{":
                open_ones.append(index)
            elif token.text in ")]}" and open_ones:
                other = open_ones.pop()
                partner[other], partner[index] = index, other
        return partner

    def find_bodies(self):
        """For each token whether it stands in a function; None for a namespace's table."""
        inside, stack = [], []
        for index, token in enumerate(self.tokens):
            if token.text == "}" and stack:
                stack.pop()
            inside.append(stack[-1] if stack else False)
            if token.text == "{":
                outer = stack[-1] if stack else False
                stack.append(True if outer is True else self.opened_by(index))
        return inside

    def opened_by(self, index):
        start = index
        while start > 0 and self.at(start - 1) not in (";", "}", "{"):
            start -= 1
            if self.at(start) == ")":
                start = self.partner.get(start, start)
        head = [self.at(i) for i in range(start, index)]
        if "namespace" in head or "extern" in head:
            return False
        if self.at(index - 1) in (")", "const", "override", "noexcept", "final", "mutable",
                                  "try", "}"):
            return True
        if {"class", "struct", "enum", "union"} & set(head):
            return False
        return True if "->" in head else None

    def find_excluded(self):
        excluded = set()
        for index, token in enumerate(self.tokens):
            following = self.at(index + 1)
            if token.text in TEXTS and following == "(":
                excluded.update(range(index, self.partner.get(index + 1, index)))
            if following == "(" and (
                    token.text == "__builtin_prefetch" or
                    [self.at(i) for i in range(index - 2, index + 1)] == HINT):
                excluded.update(self.outside_brackets(index, self.partner.get(index + 1, index)))
            if token.text == "template" and following == "<":
                excluded.update(range(index, self.closing_angle(index + 1)))
            if (following == "<" and token.kind == "name"
                    and self.tokens[index + 1].start == token.end):
                excluded.update(range(index + 1, self.closing_angle(index + 1) + 1))
            if (token.kind == "name" and following == "[" and index
                    and (self.tokens[index - 1].kind == "name" or self.at(index - 1) in "*>&")
                    and self.at(index - 1) not in KEYWORDS):
                excluded.update(range(index + 1, self.partner.get(index + 1, index)))
        return excluded

    def outside_brackets(self, start, end):
        """Indices and calls read memory, whatever is done with what stands there."""
        index = start
        while index < end:
            inner = index > start + 1 and self.tokens[index - 1].kind == "name"
            if inner and self.at(index) in ("(", "["):
                index = self.partner.get(index, end)
            yield index
            index += 1

    def closing_angle(self, index):
        depth = 0
        for place in range(index, min(index + 200, len(self.tokens))):
            text = self.at(place)
            depth += (text == "<") - (text == ">") - 2 * (text == ">>")
            if depth <= 0:
                return place
            if text in (";", "{", "}"):
                break
        return index

    def spaced(self, index):
        """Whether an operator stands between spaces, as the formatter sets binary ones."""
        token = self.tokens[index]
        return (self.text[token.start - 1].isspace() and token.end < len(self.text)
                and self.text[token.end].isspace())

    def replaced(self, operator, first, last, new):
        return Fault(self.file, operator, self.tokens[first].start, self.tokens[last].end, new)

    def code(self, first, last):
        return self.text[self.tokens[first].start : self.tokens[last].end]

    def faults(self):
        makers = (self.comparison, self.sign, self.constant, self.condition, self.statement,
                  self.arguments)
        for index in range(len(self.tokens)):
            if index not in self.excluded:
                for maker in makers:
                    yield from maker(index)
            elif self.at(index) in TEXTS:
                yield from self.statement(index)

    def comparison(self, index):
        text = self.at(index)
        if self.in_body[index] is True and text in OPPOSITE and self.spaced(index):
            yield self.replaced("comparison", index, index, OPPOSITE[text])

    def sign(self, index):
        text, before = self.at(index), self.at(index - 1)
        if self.in_body[index] is not True:
            return
        if text in ("+", "-") and self.spaced(index):
            yield self.replaced("sign", index, index, "-" if text == "+" else "+")
        elif text in ("+=", "-="):
            yield self.replaced("sign", index, index, "-=" if text == "+=" else "+=")
        elif text == "-" and before in ("(", ",", "=", "return", "?", ":", "{", "["):
            yield self.replaced("sign", index, index, "")

    def constant(self, index):
        token = self.tokens[index]
        if token.kind != "number" or self.in_body[index] is None:
            return
        if self.in_body[index] is False and self.at(index - 1) != "=":
            return
        for new in by_one(token.text):
            yield self.replaced("constant", index, index, new)

    def condition(self, index):
        text = self.at(index)
        if self.in_body[index] is not True:
            return
        if text in ("&&", "||") and self.spaced(index):
            yield self.replaced("condition", index, index, "||" if text == "&&" else "&&")
        if text in ("if", "while") and self.at(index + 1) == "(":
            last = self.partner[index + 1]
            inner = range(index + 2, last)
            if not any(self.at(i) in (";", "=") for i in inner):
                yield self.replaced("condition", index + 1, last,
                                    f"(!{self.code(index + 1, last)})")

    def statement(self, index):
        """An expression that stands for itself, or a jump after an `if`."""
        before = self.at(index - 1)
        if self.in_body[index] is not True or not self.begins_statement(index):
            return
        text = self.at(index)
        end = self.end_of_statement(index)
        if end is None or any(self.at(i) in HINTS for i in range(index, end)):
            return
        jump = text in ("return", "break", "continue") and before == ")"
        if jump or (text not in KEYWORDS and self.is_expression(index, end)):
            yield self.replaced("statement", index, end, ";" if before != ")" else "{}")

    def begins_statement(self, index):
        before = self.at(index - 1)
        if before == ")":
            opening = self.partner.get(index - 1, 0)
            return (self.at(opening - 1) in ("if", "for", "while")
                    or self.at(opening - 2) == "if")
        return before in (";", "{", "}", "else")

    def end_of_statement(self, index):
        while index < len(self.tokens):
            if self.at(index) == ";":
                return index
            if self.at(index) in ("(", "[", "{"):
                index = self.partner.get(index, len(self.tokens))
            elif self.at(index) in (")", "}", "]"):
                return None
            index += 1
        return None

    def is_expression(self, index, end):
        """A chain of names, calls and indices that ends the statement or is assigned to."""
        while index < end and self.at(index) in ("*", "++", "--", "("):
            index = self.partner[index] + 1 if self.at(index) == "(" else index + 1
        expects_name = self.at(index - 1) != ")"
        called = self.at(index - 1) in ("++", "--")
        while index < end:
            text, kind = self.at(index), self.tokens[index].kind
            if expects_name and kind != "name":
                return False
            if kind == "name":
                if not expects_name:
                    return False
                expects_name = False
            elif text in ("::", ".", "->"):
                expects_name = True
            elif text in ("(", "["):
                called = text == "(" or called
                index = self.partner[index]
            elif text == "<" and index in self.excluded:
                index = self.closing_angle(index)
            else:
                return text in ASSIGNMENTS or text in ("++", "--", ",", "<<")
            index += 1
        return called

    def arguments(self, index):
        if (self.in_body[index] is not True or self.at(index) != "("
                or self.tokens[index - 1].kind != "name"
                or self.at(index - 1) in KEYWORDS | TEXTS | COMMUTATIVE
                or index not in self.partner):
            return
        places = self.arguments_between(index + 1, self.partner[index])
        for (a, b), (c, d) in zip(places, places[1:]):
            left, right = self.code(a, b), self.code(c, d)
            if left != right and "{" not in left + right and "[" not in left[:1] + right[:1]:
                between = self.text[self.tokens[b].end : self.tokens[c].start]
                yield self.replaced("arguments", a, d, right + between + left)

    def arguments_between(self, start, end):
        places, first, index = [], start, start
        while index < end:
            if self.at(index) in ("(", "[", "{"):
                index = self.partner[index]
            elif self.at(index) == "<" and index in self.excluded:
                index = self.closing_angle(index)
            elif self.at(index) == ",":
                places.append((first, index - 1))
                first = index + 1
            index += 1
        if first < end:
            places.append((first, end - 1))
        return places


def by_one(number):
    """The number's neighbours: one more, and for whole numbers above zero one less."""
    whole = re.fullmatch(r"(\d+)([uUlLzZ]*)", number)
    if whole:
        value = int(whole[1])
        yield f"{value + 1}{whole[2]}"
        if value > 0:
            yield f"{value - 1}{whole[2]}"
        return
    real = re.fullmatch(r"(\d*\.?\d+)(\.?(?:[eE][-+]?\d+)?[fFlL]?)", number)
    if real:
        digits = real[1].replace(".", "")
        places = len(real[1].split(".")[1]) if "." in real[1] else 0
        more = str(int(digits) + 1).rjust(places + 1, "0")
        whole_part = more[: len(more) - places]
        yield f"{whole_part}{'.' if places else ''}{more[len(more) - places :]}{real[2]}"


def all_faults(root, folders):
    """Every fault in the sources under the folders, in the order of files and places."""
    faults = []
    for folder in folders:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in (".cpp", ".h", ".inc", ".inl"):
                name = str(path.relative_to(root))
                faults += Source(name, path.read_text()).faults()
    return faults


def drawn(faults, count, seed, rng):
    """`count` faults, the operators in turn and the places blind."""
    random = rng(seed)
    left = {operator: [f for f in faults if f.operator == operator] for operator in OPERATORS}
    for places in left.values():
        random.shuffle(places)
    chosen = []
    while len(chosen) < count and any(left.values()):
        operator = OPERATORS[len(chosen) % len(OPERATORS)]
        if not left[operator]:
            operator = max(left, key=lambda name: len(left[name]))
        chosen.append(left[operator].pop())
    return chosen
