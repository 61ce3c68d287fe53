"""Where the library's sources can be changed by one constant, comparison, sign or loop bound.

A place is one token of code: comments, strings, preprocessor lines and static_asserts are none. Each place
gets one change, drawn with a seed; the draw over the files is in proportion to their places, with a few for
every file.
"""
import random
import re
from pathlib import Path

FOLDERS = ["kernels", "quantiles", "time_series", "model_search", "transforms", "unit_root", "distributions"]

TOKEN = re.compile(
    r"(?P<compare> (?:<=|>=|==|!=|<|>) )"
    r"|(?P<sum> (?:\+=|-=|\+|-) )"
    r"|(?P<step>\+\+|--)(?!\s*>)"
    r"|(?P<minus>(?:(?<=[(,{?:=*/+\-!<>] )|(?<=[(\[{!])|(?<=return )|^\s*)-(?=[\w.(]))"
    r"|(?P<number>(?<![\w.])(?:0x[0-9a-fA-F.]+(?:p[+-]?\d+)?|\d+\.?\d*(?:e[+-]?\d+)?|\.\d+)(?:[uUlL]*)(?![\w.]))")

COMPARISONS = {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"], "==": ["!="],
               "!=": ["=="]}
SUMS = {"+": "-", "-": "+", "+=": "-=", "-=": "+=", "++": "--", "--": "++"}
LOOP = re.compile(r"^\s*(?:\} )?(?:for|while) \(")


def bare(text):
    """The text with comments and strings blanked out, character for character."""
    blank = lambda m: re.sub(r"[^\n]", " ", m.group())
    return re.sub(r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])'", blank, text, flags=re.S)


def changed_number(number, draw):
    if re.fullmatch(r"\d+", number):
        value = int(number)
        return str(value + 1 if value == 0 else value + draw.choice([-1, 1]))
    if re.fullmatch(r"0x[0-9a-fA-F]+[uUlL]*", number):
        body = number.rstrip("uUlL")
        return hex(int(body, 16) ^ 1) + number[len(body):]
    try:
        value = float.fromhex(number) if number.startswith("0x") else float(number)
    except ValueError:
        return None
    return repr(value * 1.01) if value != 0.0 else "1e-3"


def skipped(line):
    code = line.strip()
    return (not code or code.startswith("#") or "static_assert" in code or "[[gnu::" in code or
            code.startswith(("using ", "template ", "namespace ", "class ", "struct ")))


def places_of(root, file, draw):
    """Every place of the file with the change drawn for it: (line, column, kind, old, new, text of the line)."""
    found = []
    source = (root / file).read_text().split("\n")
    for number, (line, code) in enumerate(zip(source, bare("\n".join(source)).split("\n")), 1):
        if skipped(code):
            continue
        loop = LOOP.match(code)
        for match in TOKEN.finditer(code):
            old, kind = match.group(), match.lastgroup
            if kind == "compare":
                new = " " + draw.choice(COMPARISONS[old.strip()]) + " "
            elif kind == "sum":
                new = " " + SUMS[old.strip()] + " "
            elif kind == "step":
                new = SUMS[old]
            elif kind == "minus":
                new = ""
            else:
                new = changed_number(old, draw)
            if new is None:
                continue
            name = {"compare": "comparison", "sum": "sign", "minus": "sign", "step": "loop bound",
                    "number": "constant"}[kind]
            if loop and kind in ("compare", "number"):
                name = "loop bound"
            found.append((number, match.start(), name, old, new, line.strip()))
    return found


def drawn(root, folders, count, seed, least=3):
    """`count` places over all the files of the folders, in an order drawn too."""
    draw = random.Random(seed)
    files = {}
    for folder in folders:
        for path in sorted((root / folder).glob("*.[ch]pp")):
            file = f"{folder}/{path.name}"
            places = places_of(root, file, draw)
            if places:
                files[file] = places
    total = sum(len(places) for places in files.values())
    chosen = []
    for file, places in files.items():
        share = min(len(places), max(least, round(count * len(places) / total)))
        chosen += [(file, *place) for place in draw.sample(places, share)]
    draw.shuffle(chosen)
    return chosen, total
