"""The mutants of a source file: copies with one small mistake each."""

import hashlib
import re
from typing import NamedTuple

from tokens import is_spaced, matches, tokens_of

KINDS = ("operator", "constant", "argument", "width", "text", "log", "level", "lock", "condition")

OPERATORS = {
    "==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "++": "--", "--": "++", "+=": "-=",
    "-=": "+=", "&": "|", "|": "&", "^": "&", "<<": ">>", "|=": "&=", "&=": "|=",
}
# In front of or behind one operand.
UNARY = {"++", "--"}

WIDTHS = {
    "int16": "int32", "int32": "int16", "uint64": "uint32", "int64": "int32", "uint32": "uint16",
    "int16_t": "int32_t", "int32_t": "int16_t", "int64_t": "int32_t", "uint8_t": "uint16_t",
    "uint16_t": "uint8_t", "uint32_t": "uint16_t", "uint64_t": "uint32_t", "short": "char",
    "eightBytes": "uint64", "kInt16": "kInt32", "kInt32": "kInt16", "kUint64": "kInt64",
    "kInt64": "kUint64",
}

LEVELS = {
    "VEL_DEBUG": "VEL_ERROR", "VEL_ERROR": "VEL_DEBUG", "VEL_DEBUG_AT": "VEL_ERROR_AT",
    "VEL_ERROR_AT": "VEL_DEBUG_AT", "VEL_DEBUG_FORMAT": "VEL_ERROR_FORMAT",
    "VEL_ERROR_FORMAT": "VEL_DEBUG_FORMAT", "kDebugLevel": "kErrorLevel",
    "kErrorLevel": "kDebugLevel",
}
LOG_CALL = re.compile(r"^(VEL_(DEBUG|ERROR)\w*|VEL_LOG\w*|log[A-Z]\w*|norvoLogPrint\w*)$")
# What is declared, not passed: "const Value& value", "int count".
DECLARATION = re.compile(r"^(const|struct|typename|class)\b|^[\w:<>,&* ]*[\w>&*] +[\w]+( *= *.*)?$")


class Mutant(NamedTuple):
    file: str
    line: int           # of the change, from 1
    kind: str
    old: str
    new: str
    place: str          # the text of the line
    number: int         # among equal changes of equal lines of the file
    edits: tuple        # (begin, end, text)...
    statement: tuple    # first and last line of the statement, for lines without code of their own

    @property
    def key(self):
        """Stays the same when lines are added elsewhere."""
        again = f" #{self.number}" if self.number else ""
        return f"{self.file} | {self.place} | {self.kind}: {self.old} -> {self.new}{again}"

    def order(self, seed):
        """A random order that stays the same when mutants come or go."""
        return hashlib.sha1(f"{seed} {self.key}".encode()).hexdigest()

    def applied(self, text):
        for begin, end, new in sorted(self.edits, reverse=True):
            text = text[:begin] + new + text[end:]
        return text


def shortened(text):
    return " ".join(text.split())


class _Finder:
    def __init__(self, file, text):
        self.file, self.text = file, text
        self.tokens = tokens_of(text)
        self.pairs = matches(self.tokens)
        self.lines = text.split("\n")
        self.found = []
        self.seen = {}
        # Names of the calls around a token, innermost last.
        self.calls = []

    def line_of(self, position):
        return self.text.count("\n", 0, position) + 1

    def add(self, kind, token_index, edits):
        edits = tuple(edits)
        begin = min(edit[0] for edit in edits)
        line = self.line_of(begin)
        place = shortened(self.lines[line - 1])
        if len(edits) == 1:
            old, new = shortened(self.text[begin:edits[0][1]]), shortened(edits[0][2])
        else:
            old, new = "block", "rest of the outer block"
        number = self.seen.setdefault((place, kind, old, new), 0)
        self.seen[(place, kind, old, new)] += 1
        # Line numbers stay, because log lines have them.
        for first, last, replacement in edits:
            if self.text.count("\n", first, last) != replacement.count("\n"):
                return
        self.found.append(Mutant(self.file, line, kind, old, new, place, number, edits,
                                 self.statement_of(token_index)))

    def statement_of(self, index):
        first = index
        while first > 0 and self.tokens[first - 1].text not in (";", "{", "}"):
            first -= 1
        last = index
        while last + 1 < len(self.tokens) and self.tokens[last].text not in (";", "{", "}"):
            last += 1
        return self.line_of(self.tokens[first].begin), self.line_of(self.tokens[last].begin)

    def replace(self, kind, index, new):
        token = self.tokens[index]
        self.add(kind, index, [(token.begin, token.end, new)])

    def text_at(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    # --- Kinds -------------------------------------------------------------------------------------

    def find(self):
        depth_ends = []
        for index, token in enumerate(self.tokens):
            while depth_ends and index > depth_ends[-1]:
                depth_ends.pop()
                self.calls.pop()
            if token.kind == "preprocessor" or self.is_inert(index):
                continue
            if token.text == "(" and token.kind == "operator" and index in self.pairs:
                depth_ends.append(self.pairs[index])
                self.calls.append(self.text_at(index - 1))
                self.arguments(index)
            self.token(index, token)
        return self.found

    def is_inert(self, index):
        """In static_assert and in attributes of declarations a change has no effect at run time."""
        return any(call == "static_assert" or call.startswith("QX_") for call in self.calls)

    def token(self, index, token):
        if token.kind == "operator":
            self.operator(index, token)
        elif token.kind == "number":
            self.constant(index, token)
        elif token.kind == "character":
            self.replace("constant", index, "'x'" if token.text != "'x'" else "'y'")
        elif token.kind == "string":
            self.string(index, token)
        elif token.kind == "word":
            if token.text in ("true", "false"):
                self.replace("constant", index, "false" if token.text == "true" else "true")
            elif token.text in WIDTHS:
                self.replace("width", index, WIDTHS[token.text])
            elif token.text == "long" and self.text_at(index + 1) == "long":
                self.add("width", index,
                         [(token.begin, self.tokens[index + 1].end, "int")])
            elif token.text in LEVELS:
                self.replace("level", index, LEVELS[token.text])
            elif token.text in ("if", "while"):
                self.condition(index, token)
            elif token.text == "MutexLock":
                self.lock(index)
            elif token.text in ("lock", "unlock"):
                self.lock_call(index)

    def operator(self, index, token):
        if self.text_at(index - 1) == "operator":
            return
        text = token.text
        if text == "!" and self.text[token.end:token.end + 1] not in ("", " ", "="):
            self.replace("operator", index, "")
        elif text in OPERATORS and (text in UNARY or is_spaced(self.text, token)):
            if text == "&" and self.text_at(index - 1) == "[":
                return
            self.replace("operator", index, OPERATORS[text])

    def constant(self, index, token):
        match = re.fullmatch(r"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)([uUlLzZ]*)", token.text)
        if not match:
            if re.fullmatch(r"[0-9.]+f?", token.text):
                self.replace("constant", index, "3" + token.text)
            return
        value = int(match.group(1).replace("'", ""), 0 if match.group(1)[:2] in ("0x", "0X") else 10)
        changed = {0: 1, 1: 0}.get(value, value + 1)
        digits = hex(changed) if match.group(1)[:2] in ("0x", "0X") else str(changed)
        self.replace("constant", index, digits + match.group(2))

    def string(self, index, token):
        if self.text_at(index - 1) == "extern":
            return
        is_log = any(LOG_CALL.match(call) for call in self.calls)
        text = token.text
        begin = text.index('"') + 1
        if text[begin - 2:begin - 1] == "R":
            begin = text.index("(") + 1
        # A letter, not of a directive or of an escape.
        for match in re.finditer(r"%[-+ #0-9.]*[a-zA-Z]+|\\x[0-9a-fA-F]+|\\.|([A-Za-z])", text[begin:]):
            if match.group(1):
                place = token.begin + begin + match.start()
                self.add("log" if is_log else "text", index,
                         [(place, place + 1, match.group(1).swapcase())])
                self.found[-1:] = [self.renamed(self.found[-1], token)]
                return
        place = token.begin + begin
        self.add("log" if is_log else "text", index, [(place, place, "x")])
        self.found[-1:] = [self.renamed(self.found[-1], token)]

    def renamed(self, mutant, token):
        begin, end, new = mutant.edits[0]
        changed = self.text[token.begin:begin] + new + self.text[end:token.end]
        return mutant._replace(old=shortened(token.text), new=shortened(changed))

    def arguments(self, index):
        """Swaps two arguments of a call."""
        if self.tokens[index - 1].kind != "word" or index == 0:
            return
        if self.text_at(index - 1) in ("if", "while", "for", "switch", "return", "catch", "sizeof",
                                       "static_assert"):
            return
        end = self.pairs[index]
        parts, begin, angle, at = [], self.tokens[index].end, 0, index + 1
        while at < end:
            token = self.tokens[at]
            if token.kind == "operator":
                if token.text in "([{" and at in self.pairs:
                    at = self.pairs[at]
                elif token.text == "<" and not is_spaced(self.text, token):
                    angle += 1
                elif token.text == ">" and not is_spaced(self.text, token):
                    angle = max(0, angle - 1)
                elif token.text == "," and angle == 0:
                    parts.append((begin, token.begin))
                    begin = token.end
                elif token.text == ";":
                    return
            at += 1
        parts.append((begin, self.tokens[end].begin))
        texts = [self.text[first:last].strip() for first, last in parts]
        # The smaller or larger of two is the same in either order.
        if len(texts) == 2 and self.text_at(index - 1) in ("min", "max"):
            return
        if len(texts) < 2 or any(DECLARATION.match(shortened(text)) for text in texts):
            return
        for (one, two), (one_text, two_text) in zip(zip(parts, parts[1:]), zip(texts, texts[1:])):
            if one_text != two_text and "\n" not in one_text and "\n" not in two_text:
                first = one[0] + self.text[one[0]:one[1]].index(one_text)
                second = two[0] + self.text[two[0]:two[1]].index(two_text)
                between = self.text[first + len(one_text):second]
                self.add("argument", index, [(first, second + len(two_text),
                                              two_text + between + one_text)])

    def condition(self, index, token):
        begin = index + 1
        if self.text_at(begin) == "constexpr" or self.text_at(begin) != "(":
            return
        first, last = self.tokens[begin].end, self.tokens[self.pairs[begin]].begin
        inner = self.tokens[begin + 1:self.pairs[begin]]
        depth = 0
        for each in inner:
            depth += {"(": 1, "[": 1, "{": 1, ")": -1, "]": -1, "}": -1}.get(each.text, 0)
            if each.text == ";" and depth == 0:
                first = each.end + 1
            # A declaration, whose variable the block needs.
            if each.text == "=" and depth == 0 and first < each.begin:
                return
        if first >= last or shortened(self.text[first:last]) in ("true", "false"):
            return
        newlines = "\n" * self.text.count("\n", first, last)
        if token.text == "if":
            self.add("condition", index, [(first, last, "true" + newlines)])
        self.add("condition", index, [(first, last, "false" + newlines)])

    def lock(self, index):
        """platform::MutexLock lock(mutex): none at all; ends at once; lasts longer than its block."""
        if (self.tokens[index + 1].kind != "word" or self.text_at(index + 2) != "("
                or self.text_at(self.pairs[index + 2] + 1) != ";"):
            return
        end = self.tokens[self.pairs[index + 2] + 1].end
        first = index
        while first > 0 and self.text_at(first - 1) not in (";", "{", "}", ":", ")"):
            first -= 1
        begin = self.tokens[first].begin
        mutex = self.text[self.tokens[index + 2].end:self.tokens[self.pairs[index + 2]].begin]
        self.add("lock", index, [(begin, end, ";")])
        self.add("lock", index, [(begin, end, f"platform::MutexLock{{{mutex}}};")])
        if self.text_at(first - 1) == "{" and self.text_at(first - 2) in (";", "{", "}"):
            opening, closing = self.tokens[first - 1], self.tokens[self.pairs[first - 1]]
            self.add("lock", index, [(opening.begin, opening.end, " "),
                                     (closing.begin, closing.end, " ")])

    def lock_call(self, index):
        if (self.text_at(index - 1) == "." and self.text_at(index + 1) == "("
                and self.text_at(index + 2) == ")" and self.text_at(index + 3) == ";"
                and self.text_at(index - 3) in (";", "{", "}")):
            self.add("lock", index, [(self.tokens[index - 2].begin, self.tokens[index + 2].end, "")])


def mutants_of(file, text):
    """All mutants of a file, in the order of its text."""
    return sorted(_Finder(file, text).find(), key=lambda mutant: (mutant.edits, mutant.new))
