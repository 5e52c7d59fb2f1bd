"""Small faults that can be put into a source: where they fit, and what each makes of its line."""

import re
from dataclasses import dataclass

COMPARISONS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"}
JOINTS = {"&&": "||", "||": "&&"}
SIGNS = {"+": "-", "-": "+"}
TRUTHS = {"true": "false", "false": "true"}

OPERATOR = re.compile(r"(?<= )(==|!=|<=|>=|<|>|&&|\|\||\+|-)(?= )")
NUMBER = re.compile(r"(?<![\w.\"'])(0x[0-9A-Fa-f]+|\d+)(?![\w.\"'])")
TRUTH = re.compile(r"\b(true|false)\b")
# A whole statement on one line: a call, an assignment or a step. Declarations begin with a type and do not match.
STATEMENT = re.compile(r"^\s+(?:[\w.\->\[\]*]+(?:\([^;]*\))?|[\w.\->\[\]*]+ [-+|&]?= [^;]+|(?:\+\+|--)[\w.\->]+);$")
# va_end does nothing on the machines that this runs on.
NEVER_DROPPED = re.compile(r"^\s+(?:return|break|continue|case|default|static_assert|va_end)\b")
LITERAL = re.compile(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.)*\'')


@dataclass(frozen=True)
class Fault:
    """One changed line of one file."""

    path: str
    line: int  # from 1
    kind: str
    before: str
    after: str

    def without_line(self):
        """What stays the same when lines are added above."""
        return f"{self.path} {self.kind}: {self.before.strip()} -> {self.after.strip()}"

    def __str__(self):
        return f"{self.path}:{self.line} {self.kind}: {self.before.strip()}  ->  {self.after.strip() or '(nothing)'}"


# The size of a buffer: one more, or one multiple more, changes nothing that anybody could see.
BUFFER = re.compile(r"(?:\w\[\d+\](?= *[;=,)])|^\s*(?:static |const )*(?:unsigned )?(?:char|wchar_t) \w+\[[^\]]+\])")


def _code_only(line):
    """The line with comments, texts and characters blanked, so that nothing is found in them."""
    blanked = LITERAL.sub(lambda m: " " * len(m.group()), line)
    at = blanked.find("//")
    return blanked if at < 0 else blanked[:at]


def _swaps(code):
    for match in OPERATOR.finditer(code):
        sign = match.group()
        for kind, table in (("comparison", COMPARISONS), ("joint", JOINTS), ("sign", SIGNS)):
            if sign in table:
                yield kind, match.span(), table[sign]
    for match in NUMBER.finditer(BUFFER.sub(lambda m: " " * len(m.group()), code)):
        text = match.group()
        base = 16 if text.startswith("0x") else 10
        larger = int(text, base) + 1
        yield "constant", match.span(), hex(larger) if base == 16 else str(larger)
    for match in TRUTH.finditer(code):
        yield "truth", match.span(), TRUTHS[match.group()]


def faults_of(path, text):
    """Every fault that fits the source, in the order of its lines."""
    in_comment = False
    for number, line in enumerate(text.split("\n"), start=1):
        if in_comment or line.lstrip().startswith("/*"):
            in_comment = "*/" not in line
            continue
        code = _code_only(line)
        if code.lstrip().startswith("#") or "template" in code or "static_assert" in code:
            continue
        for kind, (start, end), new in _swaps(code):
            yield Fault(path, number, kind, line, line[:start] + new + line[end:])
        if STATEMENT.match(line) and not NEVER_DROPPED.match(line):
            yield Fault(path, number, "dropped", line, "")


def put_in(text, fault):
    """The source's text with the fault in it."""
    lines = text.split("\n")
    assert lines[fault.line - 1] == fault.before
    lines[fault.line - 1] = fault.after
    return "\n".join(lines)
