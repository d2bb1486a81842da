"""The code blocks, links and headings of a document in Markdown."""

import os
import re
from collections import namedtuple

# kind is the text behind the fence, such as "cpp fragment"; empty for an indented block. line is that of
# the first line of the text.
Block = namedtuple("Block", "kind text line")
Link = namedtuple("Link", "target line")

LINK = re.compile(r"!?\[(?:[^\[\]]|\[[^\]]*\])*\]\(([^)\s]+)\)")


def documents(repository):
    """The paths of all documents, from the root of the tree."""
    found = [name for name in os.listdir(repository) if name.endswith(".md")]
    for top in ("docs", "examples", "tests"):
        for folder, _, names in os.walk(os.path.join(repository, top)):
            found += [os.path.relpath(os.path.join(folder, name), repository)
                      for name in names if name.endswith(".md")]
    return sorted(found)


def parts(text):
    """Blocks of code, and the lines of prose as (number, line)."""
    blocks, prose = [], []
    kind, begin, inside = None, 0, []
    is_behind_blank = True
    for number, line in enumerate(text.split("\n"), 1):
        if line.startswith("```"):
            if kind is None:
                kind, begin, inside = line[3:].strip(), number + 1, []
            else:
                blocks.append(Block(kind, "\n".join(inside) + "\n", begin))
                kind = None
        elif kind is not None:
            inside.append(line)
        elif line.startswith("    ") and (is_behind_blank or (blocks and blocks[-1].kind == "" and
                                                              number == begin + len(inside))):
            if is_behind_blank or not inside:
                begin, inside = number, []
                blocks.append(Block("", "", number))
            inside.append(line[4:])
            blocks[-1] = Block("", "\n".join(inside) + "\n", begin)
            is_behind_blank = False
            continue
        else:
            prose.append((number, line))
        is_behind_blank = line.strip() == ""
    return blocks, prose


def blocks_of(text):
    return parts(text)[0]


def commands_of(text):
    """The commands in indented blocks, without what a block says behind each."""
    return [re.sub(r"(  +| +# ).*$", "", line).strip()
            for block in blocks_of(text) if block.kind == "" for line in block.text.splitlines() if line.strip()]


def links_of(text):
    return [Link(target, number) for number, line in parts(text)[1]
            for target in LINK.findall(re.sub(r"`([^`\[\]]*)`", r"\1", re.sub(r"`[^`]*[\[\]][^`]*`(?!\])", "", line)))]


def anchor_of(heading):
    """As GitHub names the place of a heading."""
    plain = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "")
    return re.sub(r"[^\w\- ]", "", plain.strip().lower()).replace(" ", "-")


def anchors_of(text):
    anchors = []
    for _, line in parts(text)[1]:
        match = re.match(r"#{1,6} (.*)", line)
        if match:
            anchor = anchor_of(match[1])
            repeated = anchors.count(anchor)
            anchors.append(anchor)
            if repeated:
                anchors[-1] = f"{anchor}-{repeated}"
    return anchors
