"""Small changes of C++ sources, one at a time, that tests should notice.

Works on tokens, and relies on clang-format: binary operators have spaces around them, the brackets of templates and the
stars of pointers do not.
"""

import collections
import re

# The changed lines before and after, each joined to one line; `number` counts those of the file that look the same, and
# `text` is the whole file.
Mutant = collections.namedtuple("Mutant", "file original mutated number text")

Token = collections.namedtuple("Token", "kind text start end")

TOKEN = re.compile(r"""
    (?P<blank>\s+ | //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:\\\n|[^\n])*)
  | (?P<string>"(?:\\.|[^"\\\n])*" | '(?:\\.|[^'\\\n])+')
  | (?P<number>(?:0[xX][\da-fA-F']+(?:\.[\da-fA-F]*)?(?:[pP][+-]?\d+)?
               | (?:\d[\d']*(?:\.\d*)?|\.\d+)(?:[eE][+-]?\d+)?)[fFuUlL]*)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<operator><<=|>>=|\.\.\.|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|::|.)
""", re.VERBOSE | re.MULTILINE | re.DOTALL)

BINARY = {"+": ["-"], "-": ["+"], "*": ["+"], "/": ["*"], "%": ["/"], "<": ["<="], "<=": ["<"], ">": [">="],
          ">=": [">"], "==": ["!="], "!=": ["=="], "&&": ["||"], "||": ["&&"], "&": ["|"], "|": ["&"],
          "^": ["|", "&"], "<<": [">>"], ">>": ["<<"], "+=": ["-="], "-=": ["+="]}
UNARY = {"-": "", "!": "", "~": "", "++": "--", "--": "++"}

# Words, and parts of words, that are easily mistaken for each other.
WORDS = [("true", "false"), ("min", "max"), ("Low", "High"), ("Even", "Odd"), ("unpacklo", "unpackhi"),
         ("cmpgt", "cmpge"), ("cmpord", "cmpunord"), ("lower", "upper"), ("m_X", "m_Y"), ("m_Y", "m_Z"),
         ("kLinear", "kCubic"), ("kCubic", "kQuintic"), ("kSingle", "kBatch"), ("INT32_MAX", "INT32_MIN")]
WORD_CHANGES = [(re.compile(rf"{one}(?![a-z])"), other)
                for pair in WORDS for one, other in (pair, pair[::-1])]

OPENING = {"(": ")", "{": "}", "[": "]"}
# The beginnings of declarations and of statements that must stay.
KEYWORDS = set("""alignas auto break case class const constexpr continue default delete do else enum explicit
    extern for friend goto if inline namespace new private protected public return static static_assert struct
    switch template throw typedef typename using virtual void while""".split())
LONG_LIST = 20


def tokens_of(text):
    for match in TOKEN.finditer(text):
        if match.group() == ">>" and not text[match.start() - 1].isspace():
            # The ends of two templates.
            yield Token("operator", ">", match.start(), match.start() + 1)
            yield Token("operator", ">", match.start() + 1, match.end())
        elif match.lastgroup != "blank":
            yield Token(match.lastgroup, match.group(), match.start(), match.end())


class Source:
    def __init__(self, text):
        self.text = text
        self.tokens = list(tokens_of(text))
        self.partner = self._partners()
        self.skipped = self._skipped()

    def _partners(self):
        """The index of each bracket's partner."""
        partner, stack = {}, []
        for k, token in enumerate(self.tokens):
            if token.kind != "operator":
                continue
            if token.text in OPENING or self.opens_angle(k):
                stack.append(k)
            elif stack and (token.text in OPENING.values() or self.closes_angle(k)):
                partner[stack[-1]] = k
                partner[k] = stack.pop()
        return partner

    def is_spaced(self, k):
        token = self.tokens[k]
        return self.text[token.start - 1].isspace() and self.text[token.end].isspace()

    def opens_angle(self, k):
        return self.tokens[k].text == "<" and (not self.is_spaced(k) or self.tokens[k - 1].text == "template")

    def closes_angle(self, k):
        return self.tokens[k].text == ">" and not self.text[self.tokens[k].start - 1].isspace()

    def _skipped(self):
        """The tokens that are not changed: attributes, assertions, heads of templates, and sizes of vectors."""
        skipped = set()
        for k, token in enumerate(self.tokens):
            if token.text == "[" and self.tokens[k + 1].text == "[":
                skipped.update(range(k, self.partner[k]))
            elif token.text in ("static_assert", "assert", "alignas", "template", "TVector") and k + 1 in self.partner:
                skipped.update(range(k, self.partner[k + 1]))
        return skipped

    def slice(self, first, last):
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def parts(self, opening):
        """The parts between commas in brackets, as pairs of first and last token."""
        parts, first, k = [], opening + 1, opening + 1
        while k <= self.partner[opening]:
            if k == self.partner[opening] or self.tokens[k].text == ",":
                if k > first:
                    parts.append((first, k - 1))
                first = k + 1
            k = self.partner[k] + 1 if self.partner.get(k, -1) > k else k + 1
        return parts

    def is_declaration(self, first, last):
        """Whether two names in a row, or a type's star or ampersand, declare a variable."""
        for k in range(first, last):
            here, following = self.tokens[k], self.tokens[k + 1]
            if following.kind == "word" and (here.kind == "word" or self.closes_angle(k)):
                return True
            if following.text in ("*", "&") and here.end == following.start and here.text not in ("(", ",", "{"):
                return True
        return False


def is_float(number):
    return not number.lower().startswith("0x") and re.search(r"[.eE]|[fF]$", number) or "p" in number.lower()


def numbers_near(number):
    digits = number.rstrip("uUlL") if not is_float(number) else number.rstrip("fFlL")
    suffix = number[len(digits):]
    if is_float(number):
        value = float.fromhex(digits) if "x" in digits.lower() else float(digits)
        near = value * (1 + 2 ** -20) if value != 0 else 2 ** -20
        return ["-" + number, near.hex() + suffix]
    value = int(digits.replace("'", ""), 0)
    show = hex if "x" in digits.lower() else str
    return [("-" if n < 0 else "") + show(abs(n)) + suffix for n in dict.fromkeys((value + 1, value - 1, 0))
            if n != value]


def token_changes(source):
    """Changes of single tokens: (begin, end, new text)."""
    for k, token in enumerate(source.tokens):
        if k in source.skipped:
            continue
        if token.kind == "number" and not in_long_list(source, k):
            for near in numbers_near(token.text):
                start = token.start
                if near.startswith("-") and source.text[start - 1] == "-":
                    start, near = start - 1, near[1:]
                yield start, token.end, near
        elif token.kind == "operator" and token.text in BINARY and source.is_spaced(k):
            for other in BINARY[token.text]:
                yield token.start, token.end, other
        elif token.kind == "operator" and token.text in UNARY and not source.is_spaced(k):
            yield token.start, token.end, UNARY[token.text]
        elif token.kind == "word":
            for one, other in WORD_CHANGES:
                if one.search(token.text):
                    yield token.start, token.end, one.sub(other, token.text)


def in_long_list(source, k):
    neighbours = source.tokens[max(0, k - LONG_LIST):k + LONG_LIST]
    return sum(t.kind == "number" or t.text == "," for t in neighbours) >= 1.5 * LONG_LIST


def swap(source, one, other):
    between = source.text[source.tokens[one[1]].end:source.tokens[other[0]].start]
    text = source.slice(*other) + between + source.slice(*one)
    return source.tokens[one[0]].start, source.tokens[other[1]].end, text


def swaps(source):
    """Swaps neighbours in the arguments of a call or in a list."""
    for k, token in enumerate(source.tokens):
        if k in source.skipped or token.text not in ("(", "{") or k not in source.partner or k == 0:
            continue
        parts = source.parts(k)
        if len(parts) < 2 or any(source.is_declaration(*part) for part in parts):
            continue
        if any(t.text == ";" for t in source.tokens[k:source.partner[k]]) and token.text == "{":
            continue
        pairs = list(zip(parts, parts[1:]))
        if len(pairs) > LONG_LIST:
            pairs = [pairs[0], pairs[len(pairs) // 2], pairs[-1]]
        for one, other in pairs:
            if source.slice(*one) != source.slice(*other):
                yield swap(source, one, other)


def conditions(source):
    for k, token in enumerate(source.tokens):
        if token.text in ("if", "while") and k not in source.skipped:
            opening = k + 2 if source.tokens[k + 1].text == "constexpr" else k + 1
            first, last = source.tokens[opening], source.tokens[source.partner[opening]]
            yield first.start, last.end, "(!" + source.text[first.start:last.end] + ")"
        elif token.text == "?":
            yield swap(source, *branches(source, k))


def branches(source, question):
    """The two results of a conditional expression."""
    depth, k = 0, question
    colon = None
    while True:
        k = source.partner[k] + 1 if source.partner.get(k, -1) > k else k + 1
        text = source.tokens[k].text
        if text == "?":
            depth += 1
        elif text == ":" and depth > 0:
            depth -= 1
        elif text == ":" and colon is None:
            colon = k
        elif text in (";", ",", ")", "}", "]"):
            return (question + 1, colon - 1), (colon + 1, k - 1)


def statements(source):
    """Leaves out assignments, calls and bare returns."""
    start = 0
    k = 0
    while k < len(source.tokens):
        text = source.tokens[k].text
        if text in (";", "{", "}", "else", "do"):
            start = k + 1
        elif text in ("if", "for", "while"):
            opening = k + 2 if source.tokens[k + 1].text == "constexpr" else k + 1
            k = source.partner[opening]
            start = k + 1
        elif k == start and k not in source.skipped:
            end = end_of_statement(source, k)
            if end is not None and can_go(source, k, end):
                yield source.tokens[k].start, source.tokens[end - 1].end, ""
        k += 1


def end_of_statement(source, k):
    while k < len(source.tokens):
        text = source.tokens[k].text
        if text == ";":
            return k
        if text in (")", "}"):
            return None
        k = source.partner[k] + 1 if source.partner.get(k, -1) > k else k + 1
    return None


def can_go(source, first, end):
    tokens = source.tokens[first:end]
    if not tokens:
        return False
    if [t.text for t in tokens] == ["return"]:
        return True
    if tokens[0].text in KEYWORDS or tokens[0].kind != "word" and tokens[0].text not in ("++", "--"):
        return False
    opening = next((k for k in range(first, end) if source.tokens[k].text in ("(", "=", "+=", "-=")), None)
    if opening is None:
        return tokens[0].text in ("++", "--")
    if source.is_declaration(first, opening):
        return False
    return source.tokens[opening].text != "(" or source.partner[opening] == end - 1


def mutants_of(file, text):
    source = Source(text)
    seen, numbers = set(), collections.Counter()
    for changes in (token_changes, conditions, statements, swaps):
        for start, end, new in changes(source):
            # Lines keep their numbers.
            new += "\n" * (text.count("\n", start, end) - new.count("\n"))
            mutated = text[:start] + new + text[end:]
            if new == text[start:end] or mutated in seen:
                continue
            seen.add(mutated)
            begin = text.rfind("\n", 0, start) + 1
            finish = text.find("\n", end)
            before = " ".join(text[begin:finish].split())
            after = " ".join((text[begin:start] + new + text[end:finish]).split())
            numbers[before, after] += 1
            yield Mutant(file, before, after, numbers[before, after], mutated)
