#!/usr/bin/env python3
"""Mutant sites for scripts/mutate.sh: choose them, list them, apply one.

  mutants.py generate TREE [--seed N]   print a fresh list chosen from TREE/src (deterministic)
  mutants.py show LIST                  print the list one mutant a line
  mutants.py apply LIST ID TREE         rewrite the mutant's line in TREE; print the file's path

A list line is tab-separated: id, layer, file, line number, kind, original line, mutated line (both
JSON-quoted). Applying finds the original line at its number, or else as the only equal line in the file,
so a list survives edits elsewhere; a site that is gone is reported as stale (exit 3).
"""

import json
import random
import re
import sys
from pathlib import Path

# How many mutants each layer gets: most where most logic is.
QUOTAS = {"core": 22, "engine": 22, "helper": 14, "smc": 9, "sim": 6, "app": 5, "platform": 3, "probe": 3}
# The order kinds are taken in; a kind with no sites left in a layer is passed over.
KIND_CYCLE = ["rel", "drop", "not", "eq", "const", "bool", "logic", "arith", "drop", "rel", "not", "const"]
DEFAULT_SEED = 20240601

SKIP_LINE = re.compile(
    r"^\s*(#|//|\*|/\*)|static_assert|qC(Debug|Info|Warning|Critical)|qWarning|qDebug|Q_ASSERT|\bassert\(|"
    r"std::(cerr|cout)|\babort\(|^\s*(case\b|default:)|\boperator\b|Q_OBJECT|Q_DECLARE|\btemplate\s*<"
)
NUMBER = re.compile(r"(?<![\w.])(\d+\.\d+|\d+)([uUlLfF]*)(?![\w.])")
DECL_START = re.compile(
    r"^\s*(const\s|constexpr\s|static\s|auto\b|int\b|double\b|bool\b|float\b|unsigned\b|char\b|long\b|"
    r"std::|QString\b|QByteArray\b|size_t\b|u?int\d+_t\b|return\b|co_return\b|using\b|namespace\b|"
    r"if\b|else\b|for\b|while\b|switch\b|do\b|try\b|catch\b|throw\b|break\b|continue\b|goto\b)"
)


def mask(line):
    """The line with string and character literals and a trailing comment blanked out, same length."""
    out, i, quote = [], 0, None
    while i < len(line):
        c = line[i]
        if quote:
            if c == "\\":
                out.append("  ")
                i += 2
                continue
            out.append(" " if c != quote else c)
            if c == quote:
                quote = None
        elif c in "\"'":
            if c == "'" and i > 0 and line[i - 1].isalnum():  # digit separator
                out.append(c)
            else:
                quote = c
                out.append(c)
        elif line.startswith("//", i):
            out.append(" " * (len(line) - i))
            break
        else:
            out.append(c)
        i += 1
    return "".join(out)[: len(line)].ljust(len(line))


def matching_paren(text, open_at):
    depth = 0
    for i in range(open_at, len(text)):
        if text[i] == "(":
            depth += 1
        elif text[i] == ")":
            depth -= 1
            if depth == 0:
                return i
    return -1


def balanced(text):
    return text.count("(") == text.count(")") and text.count("{") == text.count("}")


def sites_in_line(line, masked, prev_code):
    """Every (kind, mutated line) for one source line."""
    found = []

    def swap(at, old, new, kind):
        found.append((kind, line[:at] + new + line[at + len(old):]))

    for op, new in ((" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > ")):
        for m in re.finditer(re.escape(op), masked):
            swap(m.start(), op, new, "rel")
    for op, new in ((" == ", " != "), (" != ", " == ")):
        for m in re.finditer(re.escape(op), masked):
            swap(m.start(), op, new, "eq")
    mixed = " && " in masked and " || " in masked  # swapping one would only trip -Wparentheses
    for op, new in () if mixed else ((" && ", " || "), (" || ", " && ")):
        for m in re.finditer(re.escape(op), masked):
            swap(m.start(), op, new, "logic")
    for m in re.finditer(r" ([+-]) 1(?![\w.])", masked):
        found.append(("arith", line[: m.start()] + line[m.end():]))
    for m in re.finditer(r"\b(true|false)\b", masked):
        swap(m.start(), m.group(1), "false" if m.group(1) == "true" else "true", "bool")
    for m in re.finditer(r"\b(if|while) \(", masked):
        open_at = m.end() - 1
        close = matching_paren(masked, open_at)
        if close < 0:
            continue
        cond = line[open_at + 1: close]
        if ";" in cond or re.match(r"(const\s+)?[\w:<>]+\s*[&*]?\s+\w+\s*=", cond):
            continue  # a declaration in the condition cannot be negated in place
        if cond.startswith("!") and re.fullmatch(r"![\w.:>\-()]+", cond) and balanced(cond[1:]):
            new_cond = cond[1:]
        else:
            new_cond = "!(" + cond + ")"
        found.append(("not", line[: open_at + 1] + new_cond + line[close:]))
    if "[" not in masked and "reserve(" not in masked and "<" not in masked.replace(" < ", "").replace(" <= ", ""):
        for m in NUMBER.finditer(masked):
            text, suffix = m.group(1), m.group(2)
            if "." in text:
                value = float(text)
                new = repr(value * 2 if value else 1.0)
            else:
                new = str(int(text) + 1 if int(text) < 10 else int(text) * 2)
            found.append(("const", line[: m.start()] + new + suffix + line[m.end():]))
    statement = masked.strip()
    if (
        statement.endswith(";")
        and balanced(statement)
        and prev_code.rstrip().endswith((";", "{", "}", ":"))
        and not DECL_START.match(masked)
        and (re.match(r"^[\w.\->:\[\]*()]+ (=|\+=|-=|\|=) ", statement) or re.match(r"^[\w.\->:]+\(", statement)
             or statement.startswith("co_await "))
    ):
        found.append(("drop", ""))
    return found


# The build this runs on is Linux: code for other systems never reaches the tests.
UNDEFINED_MACROS = {"__APPLE__", "__MACH__", "_WIN32", "SO_NOSIGPIPE"}


def condition_holds(directive):
    """Whether a #if/#ifdef/#ifndef line is true on Linux; macros not named above count as defined."""
    m = re.match(r"\s*#\s*(ifdef|ifndef)\s+(\w+)", directive)
    if m:
        return (m.group(2) not in UNDEFINED_MACROS) == (m.group(1) == "ifdef")
    expr = re.sub(r"^\s*#\s*(el)?if\s+", "", directive)
    expr = re.sub(r"defined\s*\(?\s*(\w+)\s*\)?", lambda d: "False" if d.group(1) in UNDEFINED_MACROS else "True", expr)
    expr = expr.replace("&&", " and ").replace("||", " or ").replace("!", " not ")
    try:
        return bool(eval(expr, {"__builtins__": {}}))
    except Exception:
        return True


def layer_of(path):
    return path.parts[1]


def source_files(tree):
    for path in sorted((tree / "src").rglob("*.cpp")):
        rel = path.relative_to(tree)
        if "macos" in rel.parts or rel.name in ("main.cpp", "log_categories.cpp", "helper_log.cpp"):
            continue
        yield rel


def candidates(tree):
    for rel in source_files(tree):
        prev_code, depth_in_block_comment, branches = "{", False, []
        for number, line in enumerate((tree / rel).read_text().splitlines(), start=1):
            stripped = line.strip()
            directive = re.match(r"#\s*(\w+)", stripped)
            if directive:
                word = directive.group(1)
                if word in ("if", "ifdef", "ifndef"):
                    branches.append(condition_holds(stripped))
                elif word in ("else", "elif") and branches:
                    branches[-1] = not branches[-1] if word == "else" else condition_holds(stripped)
                elif word == "endif" and branches:
                    branches.pop()
                continue
            if not all(branches):
                continue
            if depth_in_block_comment:
                depth_in_block_comment = "*/" not in stripped
                continue
            if stripped.startswith("/*"):
                depth_in_block_comment = "*/" not in stripped
                continue
            if stripped and not SKIP_LINE.search(line):
                for kind, mutated in sites_in_line(line, mask(line), prev_code):
                    yield {"layer": layer_of(rel), "file": str(rel), "line": number, "kind": kind,
                           "original": line, "mutated": mutated}
            if stripped and not stripped.startswith("//"):
                prev_code = mask(line)


def choose(tree, seed):
    by_layer = {}
    for site in candidates(tree):
        by_layer.setdefault(site["layer"], []).append(site)
    rng = random.Random(seed)
    chosen = []
    for layer, quota in QUOTAS.items():
        sites = by_layer.get(layer, [])
        rng.shuffle(sites)
        per_file, used_lines, taken = {}, set(), []
        step = 0
        while len(taken) < quota and step < quota * len(KIND_CYCLE):
            kind = KIND_CYCLE[step % len(KIND_CYCLE)]
            step += 1
            pool = [s for s in sites if s["kind"] == kind and (s["file"], s["line"]) not in used_lines]
            if not pool:
                continue
            pick = min(pool, key=lambda s: per_file.get(s["file"], 0))  # first of the least-used files
            taken.append(pick)
            used_lines.add((pick["file"], pick["line"]))
            per_file[pick["file"]] = per_file.get(pick["file"], 0) + 1
        chosen += sorted(taken, key=lambda s: (s["file"], s["line"]))
    return chosen


def write_list(sites, out):
    out.write("# id\tlayer\tfile\tline\tkind\toriginal\tmutated (generated by scripts/mutants.py generate)\n")
    for index, s in enumerate(sites, start=1):
        out.write("\t".join([f"M{index:03d}", s["layer"], s["file"], str(s["line"]), s["kind"],
                             json.dumps(s["original"]), json.dumps(s["mutated"])]) + "\n")


def read_list(path):
    mutants = []
    for raw in Path(path).read_text().splitlines():
        if not raw.strip() or raw.startswith("#"):
            continue
        ident, layer, file, line, kind, original, mutated = raw.split("\t")
        mutants.append({"id": ident, "layer": layer, "file": file, "line": int(line), "kind": kind,
                        "original": json.loads(original), "mutated": json.loads(mutated)})
    return mutants


def apply(mutant, tree):
    path = Path(tree) / mutant["file"]
    lines = path.read_text().split("\n")
    at = mutant["line"] - 1
    if not (0 <= at < len(lines) and lines[at] == mutant["original"]):
        equal = [i for i, text in enumerate(lines) if text == mutant["original"]]
        if len(equal) != 1:
            return None
        at = equal[0]
    if mutant["kind"] == "drop":
        del lines[at]
    else:
        lines[at] = mutant["mutated"]
    path.write_text("\n".join(lines))
    return path


def describe(m):
    if m["kind"] == "drop":
        return f"drop `{m['original'].strip()}`"
    return f"`{m['original'].strip()}` -> `{m['mutated'].strip()}`"


def main(argv):
    if len(argv) >= 2 and argv[0] == "generate":
        seed = int(argv[3]) if len(argv) >= 4 and argv[2] == "--seed" else DEFAULT_SEED
        write_list(choose(Path(argv[1]), seed), sys.stdout)
        return 0
    if len(argv) == 2 and argv[0] == "show":
        for m in read_list(argv[1]):
            print(f"{m['id']}\t{m['layer']}\t{m['file']}:{m['line']}\t{m['kind']}\t{describe(m)}")
        return 0
    if len(argv) == 4 and argv[0] == "apply":
        mutant = next((m for m in read_list(argv[1]) if m["id"] == argv[2]), None)
        if mutant is None:
            print(f"no mutant {argv[2]}", file=sys.stderr)
            return 2
        path = apply(mutant, argv[3])
        if path is None:
            return 3
        print(path)
        return 0
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
