"""Symbols of object files, libraries and programs, of ELF and of Mach-O, under their names on Linux."""

import re
import subprocess


def output(command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True).stdout


def is_mach_o(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\xcf\xfa\xed\xfe"


def linux_name(symbol):
    """Mach-O puts an underscore in front of each name."""
    return symbol[1:] if symbol.startswith("_") else symbol


def exported(library):
    """What programs can link to."""
    if is_mach_o(library):
        lines = output(["llvm-nm", "--extern-only", "--defined-only", library]).splitlines()
        return [linux_name(line.split()[-1]) for line in lines]
    lines = output(["llvm-nm", "--dynamic", "--defined-only", library]).splitlines()
    return [re.sub("@.*", "", line.split()[-1]) for line in lines if line.split()[-2] != "A"]


def undefined(files):
    """What the files want of others, as Mach-O names it."""
    symbols = set()
    for file in files:
        # Of an archive, the names of its members stand between the symbols.
        lines = output(["llvm-nm", "--undefined-only", "--just-symbol-name", file]).splitlines()
        symbols.update(line for line in lines if line and not line.endswith(":"))
    return symbols


def slots_in(path, name):
    """The symbols in the virtual table of a class by their slots; empty when the object has no table."""
    table = "_ZTV" + ("N" if "::" in name else "") \
        + "".join(f"{len(part)}{part}" for part in name.split("::")) + ("E" if "::" in name else "")
    mach_o = is_mach_o(path)
    defined = re.findall(rf"^([0-9a-f]+) [A-Za-z] _?{table}$", output(["llvm-nm", "--defined-only", path]), re.M)
    if not defined:
        return []
    address = int(defined[0], 16)
    section = mach_o_section(path, address) if mach_o else elf_section(path, table)
    words = {}
    for offset, symbol in section:
        words[offset] = linux_name(symbol) if mach_o else symbol
    # In front of the slots: the offset to the top, which is no symbol, and the type.
    at = (0 if mach_o else address) + 16
    slots = []
    while at in words and not words[at].startswith("_ZT"):
        slots.append(words[at])
        at += 8
    return slots


def relocations(path):
    """Lists of (offset, symbol), by the names of their sections and the order of those."""
    text = output(["llvm-readobj", "--relocations", path])
    return [(name, [(int(offset, 16), symbol) for offset, symbol in
                    re.findall(r"^ *0x([0-9A-F]+) (?:R_X86_64_64|0 3 1 \S+_RELOC_UNSIGNED 0) (\S+)", body, re.M)])
            for name, body in re.findall(r"Section (?:\(\d+\) )?(\S+) \{\n(.*?)\n *\}", text, re.S)]


def elf_section(path, table):
    own = [body for name, body in relocations(path) if name == ".rela.data.rel.ro." + table]
    return own[0] if own else [body for name, body in relocations(path) if name == ".rela.data.rel.ro"][0]


def mach_o_section(path, address):
    """The relocations of the section that has the address, from there."""
    sections = re.findall(r"Name: (\S+) .*?Segment: (\S+) .*?Address: 0x([0-9A-F]+)\n *Size: 0x([0-9A-F]+)",
                          output(["llvm-readobj", "--sections", path]), re.S)
    name, begin = next((name, int(start, 16)) for name, segment, start, size in sections
                       if segment == "__DATA" and int(start, 16) <= address < int(start, 16) + int(size, 16))
    found = [body for section, body in relocations(path) if section == name and body]
    return [(offset + begin - address, symbol) for offset, symbol in found[0]]
