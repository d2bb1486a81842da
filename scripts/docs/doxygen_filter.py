"""Turns the comments of a header into comments of Doxygen, on standard output.

usage: doxygen_filter.py HEADER

The headers have plain comments: before a declaration, behind a member, and at the top of the file. Rows
such as "returns    the status" become items of a list, indented lines stay as they are, and
"// --- Subject ---" inside a class begins a group of members.
"""

import re
import sys

ROW = re.compile(r"(\S(?:[^ ]| (?! ))*)  +(\S.*)$")
SECTION = re.compile(r"// --- (.*?) -+$")


def escaped(text):
    text = re.sub(r"([\\@&$#<>%])", r"\\\1", text)
    # Neither a link that Doxygen would look for, nor an emphasis.
    return text.replace("::", "\\::").replace("*", "\\*").replace("`", "'")


def documented(lines):
    """The text of a comment in Doxygen's form."""
    out, is_code, column = [], False, 0
    for line in lines:
        if line.startswith("  ") and not (column and line.startswith(" " * column)):
            out += [] if is_code else ["@code{.cpp}"]
            is_code = True
            out.append(line)
            continue
        if is_code:
            out.append("@endcode")
            is_code = False
        row = ROW.match(line)
        if column and line.startswith(" " * column):
            out.append("  " + escaped(line.strip()))
        elif row and len(row[1]) <= 20:
            column = row.start(2)
            out.append(f"- **{escaped(row[1])}**: {escaped(row[2])}")
        else:
            if column:
                out.append("")
            column = 0
            out.append(escaped(line))
    return out + ["@endcode"] * is_code


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        text = file.read()
    # Neither says anything to a reader, and Doxygen stumbles over both.
    text = re.sub(r"^(inline namespace VEL_CLIENT_VARIANT \{|\}  // namespace VEL_CLIENT_VARIANT)$", "",
                  text, flags=re.M)
    text = re.sub(r"^template <[^\n]*>\nstruct std::hash<.*?^\};$", "", text, flags=re.M | re.S)
    lines = text.split("\n")
    out, i, has_group, is_behind_member = [], 0, False, False
    # A class without a comment of its own is the subject of the first sentence.
    head = re.match(r"// (?:\w+::)?(\w+) [^.]*\.", text)

    def end_group():
        nonlocal has_group
        if has_group:
            out.append("///@}")
        has_group = False
    while i < len(lines):
        line = lines[i]
        comment = re.match(r"( *)//( ?)(.*)$", line)
        if not comment:
            if head and re.match(rf"class {head[1]}\b.*\{{$", line) and "///" not in (out or [""])[-1]:
                out.append("/// " + escaped(re.sub(r"\n// +", " ", head[0])[3:]))
            if line.strip() in ("private:", "protected:") or re.match(r"\};", line):
                end_group()
            trailing = re.match(r"(.*\S)\s+// (.*)$", line)
            is_behind_member = bool(trailing) and not line.lstrip().startswith("#")
            if is_behind_member:
                out.append(f"{trailing[1]}  ///< {escaped(trailing[2])}")
            else:
                out.append(line)
            i += 1
            continue
        if is_behind_member and len(comment[1]) > 16:
            out.append(f"{comment[1]}///< {escaped(comment[3])}")
            i += 1
            continue
        is_behind_member = False
        begin = i
        while i < len(lines) and re.match(rf"{comment[1]}//", lines[i]):
            i += 1
        block = [re.sub(r"^ *// ?", "", each) for each in lines[begin:i]]
        section = SECTION.match(line.strip())
        if begin == 0:
            out += ["/// @file"] + ["/// " + each for each in documented(block)]
        elif section:
            end_group()
            if comment[1]:
                out += [f"{comment[1]}/// @name {escaped(section[1])}"]
                rest = [each for each in block[1:] if each]
                out += [f"{comment[1]}/// " + each for each in documented(rest)]
                out += ["///@{"]
                has_group = True
        elif i < len(lines) and lines[i].strip():
            out += [f"{comment[1]}/// " + each for each in documented(block)]
        else:
            out += lines[begin:i]
    print("\n".join(out))


if __name__ == "__main__":
    main()
