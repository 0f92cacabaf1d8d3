"""Small changes to a line of C++ or of x86-64 assembly that a good test should notice.

A change is textual. The project's formatting makes that exact enough: a binary operator stands
between spaces, a unary one, a pointer's star and a template's bracket never do. What does not
compile is dropped later.
"""

import re
from dataclasses import dataclass


@dataclass(frozen=True, order=True)
class Change:
    """Line `line` (from 1) of `file` becomes `after`."""

    file: str
    line: int
    before: str
    after: str
    above: str = ""  # the line of code before it

    @property
    def texts(self):
        """What the change is wherever it stands and however deep it is indented."""
        return self.file, self.before.strip(), self.after.strip()


def is_assembly(file):
    return file.endswith((".S", ".h"))


def masked(text):
    """The text with comments, strings and characters blanked, everything else in its place."""

    def blank(match):
        return re.sub(r"[^\n]", " ", match.group())

    return re.sub(r"""//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'""",
                  blank, text, flags=re.DOTALL)


BINARY = {
    "+": ["-"], "-": ["+"], "*": ["+"], "/": ["*"], "%": ["/"],
    "&": ["|"], "|": ["&"], "^": ["|", "&"], "<<": [">>"], ">>": ["<<"],
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "==": ["!="], "!=": ["=="], "&&": ["||"], "||": ["&&"],
    "+=": ["-=", "="], "-=": ["+=", "="], "*=": ["="], "/=": ["="], "%=": ["="],
    "&=": ["|=", "="], "|=": ["&=", "="], "^=": ["|=", "="], "<<=": [">>="], ">>=": ["<<="],
}  # fmt: skip
# In these the second word is the first one's usual mistake.
WORDS = [
    ("add", "sub"), ("adds", "subs"), ("xor", "or"), ("and", "or"), ("andnot", "and"),
    ("slli", "srli"), ("sll", "srl"), ("rol", "ror"), ("unpacklo", "unpackhi"),
    ("cmpgt", "cmpeq"), ("madd52lo", "madd52hi"), ("min", "max"), ("true", "false"),
    ("add_digit", "sub_digit"), ("add_digits", "sub_digits"), ("shift_left", "shift_right"),
    ("qal_add_row", "qal_sub_row"), ("qal_addmul_row", "qal_submul_row"),
    ("load_le64", "load_be64"), ("load_le32", "load_be32"),
    ("store_le64", "store_be64"), ("store_le32", "store_be32"), ("carry", "0"), ("borrow", "0"),
]  # fmt: skip
INTRINSIC = r"(?<=_mm_)|(?<=_mm256_)|(?<=_mm512_)|(?<=mask_)|(?<=maskz_)"


def _word_swaps():
    both = {}
    for first, second in WORDS:
        both.setdefault(first, []).append(second)
        if second != "0" and first not in ("xor", "andnot", "cmpgt"):
            both.setdefault(second, []).append(first)
    return both


SWAPS = _word_swaps()
STATEMENT = re.compile(r"\s*(?!(?:return|using|typedef|extern|namespace|goto|case|static_assert)\b)"
                       r"[^#\s{}][^{}]*;\s*$")
ARRAY = re.compile(r"^\s*(?:(?:const|constexpr|static|typedef|alignas\(\w+\)) )*(?!return\b)[A-Za-z_][\w:]*(?:<[^;]*>)? "
                   r"\*?\w+(?:\[[^]]*\])+(?:, \w+(?:\[[^]]*\])+)*(?=;| = )")
DECLARATION = re.compile(r"\s*(?:const(?:expr)?|static|\[\[|alignas|unsigned|auto)\b|"
                         r"\s*(?:[\w:<>]+ )+[*&]*\w+(?:\[[^]]*\])*(?:;| = |\(|\{)")


def _numbers(token):
    """An integer literal and its neighbours, in the form that it has."""
    match = re.fullmatch(r"(0[xX])?([0-9a-fA-F']+?)([uUlLzZ]*)", token)
    prefix, digits, suffix = match.group(1) or "", match.group(2).replace("'", ""), match.group(3)
    value = int(digits, 16 if prefix else 10)
    for other in [value + 1] + ([value - 1] if value > 0 else []):
        yield (f"0x{other:0{len(digits)}x}" if prefix else str(other)) + suffix


def _cxx_line(line, code, opens_statement):
    """Yields what the line can become; `code` is its masked text."""

    def replaced(start, end, text):
        return line[:start] + text + line[end:]

    if re.match(r"\s*(#|template\b|static_assert\b|using\b|namespace\b|extern\b|enum\b)", code) or "qal_source" in code:
        return
    # Attributes are no behaviour, nor is a larger array.
    for hidden in (r"\[\[.*?\]\]", ARRAY, r"(?<=\(&)\w+\)\[[^]]*\]"):
        code = re.sub(hidden, lambda m: " " * len(m.group()), code)
    for match in re.finditer(r"(?<= )(\S+)(?= |$)", code):
        for other in BINARY.get(match.group(), []):
            yield replaced(match.start(), match.end(), other)
    for match in re.finditer(r"\+\+|--", code):
        yield replaced(match.start(), match.end(), "--" if match.group() == "++" else "++")
    for match in re.finditer(r"(?<![\w.'])(0[xX][0-9a-fA-F']+|\d[\d']*)[uUlLzZ]*(?![\w.'])", code):
        for other in _numbers(match.group()):
            yield replaced(match.start(), match.end(), other)
    for match in re.finditer(r"(?<![\w])(?:_mm\d*_(?:maskz?_)?)?([a-z]\w*?)(?=_epi|_epu|_si\d|\b)", code):
        for other in SWAPS.get(match.group(1), []):
            declared = re.match(r"\s*(?:\w+ )+[&*]?$", code[: match.start()]) and other == "0"
            if not declared:
                yield replaced(match.start(1), match.end(1), other)
    condition = re.match(r"\s*(?:\} else )?(?:if|while) (?:constexpr )?\((.*)\)(?: \{)?\s*$", code)
    if condition and "QAL_REQUIRE" not in code:
        yield replaced(condition.start(1), condition.end(1), f"!({line[condition.start(1):condition.end(1)]})")
    for match in re.finditer(r"~(?!\w+\(\) (?:\{|=))(?=\w|\()", code):
        yield replaced(match.start(), match.end(), "")
    if opens_statement and STATEMENT.match(code) and code.count("(") == code.count(")") and not DECLARATION.match(code):
        indent = len(code) - len(code.lstrip())
        yield line[:indent] + ";"


JUMPS = {
    "je": "jne", "jz": "jnz", "jc": "jnc", "jb": "jae", "ja": "jbe", "js": "jns", "jne": "je", "jnz": "jz",
    "jnc": "jc", "jae": "ja", "jbe": "jb", "jns": "js", "jo": "jno", "jno": "jo",
}  # fmt: skip
MNEMONICS = {
    "add": ["adc", "sub"], "adc": ["add", "sbb"], "sub": ["sbb", "add"], "sbb": ["sub", "adc"],
    "adcx": ["adox"], "adox": ["adcx"], "inc": ["dec"], "dec": ["inc"], "shl": ["shr"], "shr": ["shl"],
    "shld": ["shrd"], "shrd": ["shld"], "and": ["or"], "or": ["and"], "xor": ["or"], "cmovc": ["cmovnc"],
    "cmovnc": ["cmovc"], "cmovz": ["cmovnz"], "cmovnz": ["cmovz"],
}  # fmt: skip


def _assembly_line(line, code):
    found = re.match(r"(\s*(?:[.\w\\()@]+:\s*)?)(\\?\w+)(.*)$", code)
    if found is None or not line[:1].isspace() and not re.match(r"\d+:", line):
        return
    head, mnemonic, rest = found.groups()
    if code.lstrip().startswith(".") or mnemonic.startswith(("QAL_", "SAVE_", "RESTORE_")):
        return

    def line_with(name, operands=rest):
        return head + name + operands

    if mnemonic in JUMPS:
        yield line_with(JUMPS[mnemonic])
    base, suffix = re.fullmatch(r"(\w+?|\\\w+)([lqbw]?)", mnemonic).groups()
    for base, suffix in ((mnemonic, ""), (base, suffix)):
        for other in MNEMONICS.get(base, []):
            yield line_with(other + suffix)
    operands = [o.strip() for o in re.split(r",(?![^(]*\))", rest)]
    if mnemonic.startswith("mulx") and len(operands) == 3:
        yield line_with(mnemonic, " " + ", ".join((operands[0], operands[2], operands[1])))
    for match in re.finditer(r"\$(-?\d+)\b", rest):
        for other in (int(match.group(1)) + 1, int(match.group(1)) - 1):
            yield line_with(mnemonic, rest[: match.start(1)] + str(other) + rest[match.end(1) :])
    for match in re.finditer(r"(?<![\w)%])(-?\d+)?(?=\(%(?!rip))", rest):
        yield line_with(mnemonic, rest[: match.start()] + str(int(match.group() or 0) + 8) + rest[match.end() :])
    if mnemonic not in ("ret", "endbr64"):
        yield head.rstrip() if head.strip() else ""


def changes(file, text):
    """All changes of a source, in order."""
    found = []
    previous = ""
    for number, (line, code) in enumerate(zip(text.split("\n"), masked(text).split("\n")), start=1):
        continued = line.endswith("\\")
        body, code = (line[:-1].rstrip(), code[:-1].rstrip()) if continued else (line, code.rstrip())
        if code.strip():
            if is_assembly(file):
                possible = _assembly_line(body, code)
            else:
                # Behind one of these a statement begins.
                opens = previous == "" or previous.endswith((";", "{", "}", ")", ":", "else"))
                possible = _cxx_line(body, code, opens)
            seen = {body}
            for after in possible:
                if after not in seen:
                    seen.add(after)
                    whole = after + line[len(body) :] if continued else after
                    found.append(Change(file, number, line, whole, previous))
        if code.strip():
            previous = code.strip()
    return found
