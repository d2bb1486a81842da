"""Verdicts in a file, survivors that are accepted, and the table of both."""

import json
import os

HERE = os.path.dirname(os.path.abspath(__file__))
ACCEPTED = os.path.join(HERE, "accepted.txt")


def accepted_survivors(path=ACCEPTED):
    """key -> reason. A mutant per line, its reason indented below it; # begins a comment."""
    reasons, key = {}, None
    with open(path, encoding="utf-8") as file:
        for line in file.read().splitlines():
            if not line.strip() or line.startswith("#"):
                continue
            if line[0].isspace():
                reasons[key] = (reasons.get(key, "") + " " + line.strip()).strip()
            else:
                key = line
                reasons[key] = ""
    return reasons


class Ledger:
    """The verdicts of all runs: one JSON object per line, the last of a mutant counts."""

    def __init__(self, path):
        self.path = path
        self.verdicts = {}
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                for line in file:
                    verdict = json.loads(line)
                    self.verdicts[verdict["key"]] = verdict

    def add(self, verdict):
        self.verdicts[verdict["key"]] = verdict
        os.makedirs(os.path.dirname(os.path.abspath(self.path)), exist_ok=True)
        with open(self.path, "a", encoding="utf-8") as file:
            file.write(json.dumps(verdict) + "\n")

    def keep(self, keys):
        """Forgets the verdicts of other mutants; the file keeps them."""
        self.verdicts = {key: verdict for key, verdict in self.verdicts.items() if key in keys}

    def report(self, reasons):
        rooms = {}
        for verdict in self.verdicts.values():
            rooms.setdefault(verdict["room"], []).append(verdict)
        lines = []
        for room, verdicts in sorted(rooms.items()):
            for each in verdicts:
                if each["verdict"] == "survived":
                    reason = reasons.get(each["key"])
                    text = f"accepted: {reason}" if reason else "survived"
                    lines.append(f"{each['file']}:{each['line']}: {each['mutation']}"
                                 f"\n    {each['text']}\n    {text} ({each['by']})")
        lines += ["", f"{'room':<8} {'mutants':>8} {'noticed':>8} {'survived':>8} {'accepted':>8} "
                      f"{'noticed of those that are mistakes':>36}   not counted"]
        for room, verdicts in sorted(rooms.items()):
            count = {}
            for each in verdicts:
                name = each["verdict"]
                if name == "survived" and each["key"] in reasons:
                    name = "accepted"
                count[name] = count.get(name, 0) + 1
            noticed, survived = count.get("noticed", 0), count.get("survived", 0)
            taken = count.get("accepted", 0)
            real = noticed + survived + taken
            share = f"{100 * noticed / real:.1f} %" if real else "-"
            lines.append(f"{room:<8} {real:>8} {noticed:>8} {survived:>8} {taken:>8} {share:>36}   "
                         f"{count.get('equivalent', 0)} equivalent, "
                         f"{count.get('not compiled', 0)} not compiled")
        return "\n".join(lines)
