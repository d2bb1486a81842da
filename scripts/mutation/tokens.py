"""C++ as a list of tokens, as far as a mutation needs to know it."""

import re
from typing import NamedTuple

# Tried in this order. Comments and white space are left out.
PATTERN = re.compile(
    r"""
    (?P<space>\s+ | //(?:[^\n\\]|\\.|\\\n)* | /\*.*?\*/)
  | (?P<preprocessor>(?:(?<=\n)|(?<=\A))[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)
  | (?P<string>(?:u8|[uUL])?R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)"
        | (?:u8|[uUL])?"(?:[^"\\\n]|\\.)*")
  | (?P<character>(?:u8|[uUL])?'(?:[^'\\\n]|\\.)+')
  | (?P<number>\.?[0-9](?:[eEpP][+-]|'[0-9a-zA-Z]|[0-9a-zA-Z_.])*)
  | (?P<word>[A-Za-z_][A-Za-z_0-9]*)
  | (?P<operator>->\*|<<=|>>=|\.\.\.|::|->|\+\+|--|<<|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)
    """,
    re.VERBOSE | re.DOTALL)


class Token(NamedTuple):
    kind: str
    text: str
    begin: int
    end: int


def tokens_of(text):
    """Without comments and white space. ">>" is two tokens: it may close two templates."""
    found, position = [], 0
    while position < len(text):
        # A preprocessor line begins with its white space.
        match = (PATTERN.match(text, position) if not _begins_preprocessor(text, position)
                 else _PREPROCESSOR.match(text, position))
        kind = match.lastgroup if match.lastgroup != "mark" else "string"
        if match.re is _PREPROCESSOR:
            kind = "preprocessor"
        elif match.group("string") is not None:
            kind = "string"
        if kind != "space":
            found.append(Token(kind, match.group(), match.start(), match.end()))
        position = match.end()
    return found


_PREPROCESSOR = re.compile(r"[ \t]*#(?:[^\n\\]|\\.|\\\n)*", re.DOTALL)


def _begins_preprocessor(text, position):
    at_line_begin = position == 0 or text[position - 1] == "\n"
    return at_line_begin and _PREPROCESSOR.match(text, position) is not None


def is_spaced(text, token):
    """Whether white space stands on both sides, as around a binary operator in formatted code."""
    return (token.begin > 0 and text[token.begin - 1].isspace()
            and token.end < len(text) and text[token.end].isspace())


def matches(tokens):
    """index -> index, both ways, for ( ), [ ] and { }."""
    pairs, open_ones = {}, []
    closing = {")": "(", "]": "[", "}": "{"}
    for index, token in enumerate(tokens):
        if token.kind != "operator":
            continue
        if token.text in "([{":
            open_ones.append(index)
        elif token.text in closing:
            if open_ones and tokens[open_ones[-1]].text == closing[token.text]:
                begin = open_ones.pop()
                pairs[begin], pairs[index] = index, begin
    return pairs
