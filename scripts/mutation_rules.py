"""The rules of scripts/mutate: small wrong changes to C and C++ source lines.

A change that is none by construction is not made, whatever the tests are: it would only thin the
figures. There are three kinds, each as narrow as can be: `is_va_end`, `exclude_each_other` and
`only_set_different_things`. What cannot be noticed for another reason is made, survives, and is
explained in the report.
"""

import re
from collections import namedtuple

# What line `line` (from 0) to `line + count - 1` becomes.
change = namedtuple("change", "line count new")


def code_of(line):
    """The line with the contents of its texts blanked and its comment cut off, columns kept."""
    line = re.sub(r'"(\\.|[^"\\])*"', lambda m: '"' + " " * (len(m[0]) - 2) + '"', line)
    line = re.sub(r"'(\\.|[^'\\])'", lambda m: "'" + " " * (len(m[0]) - 2) + "'", line)
    return re.sub(r"//.*", lambda m: " " * len(m[0]), line)


def is_code(line):
    stripped = line.strip()
    return bool(stripped) and not stripped.startswith(("//", "#", "using ", "*", "/*", "namespace"))


def replacing(pattern, replacement, only=None):
    """A rule that replaces one match of a pattern in the code of a line at a time."""

    def rule(lines):
        for number, line in enumerate(lines):
            code = code_of(line)
            if not is_code(line) or (only and not re.search(only, code)):
                continue
            for match in re.finditer(pattern, code):
                new = match.expand(replacement) if isinstance(replacement, str) else replacement(match)
                yield change(number, 1, [line[: match.start()] + new + line[match.end() :]])

    return rule


def statement_at(lines, number):
    """How many lines the statement that begins at a line has; 0 when no statement begins there."""
    code = code_of(lines[number])
    before = code_of(lines[number - 1]).rstrip() if number else ""
    if not is_code(lines[number]) or not (before == "" or before[-1] in ";{}:" or before.endswith("(")):
        return 0
    if re.match(r"\s*(if|for|while|switch|case|default|else|try|\}|struct|class|template)\b", code):
        return 0
    depth = 0
    for count, line in enumerate(lines[number : number + 6], start=1):
        text = code_of(line)
        if "{" in text or "}" in text:
            return 0
        depth += text.count("(") - text.count(")")
        if depth == 0 and text.rstrip().endswith(";"):
            return count
    return 0


def is_va_end(line):
    """The language asks for it; GCC and Clang turn it into nothing."""
    return re.match(r"\s*va_end\(\w+\);$", line)


def dropping(pattern):
    """A rule that leaves out a whole statement that matches."""

    def rule(lines):
        for number, line in enumerate(lines):
            count = statement_at(lines, number)
            if count and re.search(pattern, line) and not is_va_end(line):
                yield change(number, count, [])

    return rule


def inverting_conditions(lines):
    for number, line in enumerate(lines):
        code = code_of(line)
        match = re.match(r"(\s*(?:\} else )?if \()", code)
        if not match:
            continue
        depth, position = 1, match.end()
        while position < len(code) and depth:
            depth += {"(": 1, ")": -1}.get(code[position], 0)
            position += 1
        if depth or " = " in code[match.end() : position]:
            continue
        inside = line[match.end() : position - 1]
        yield change(number, 1, [line[: match.end()] + "!(" + inside + "))" + line[position:]])


def changing_texts(lines):
    """One letter of each text that a caller can come to see."""
    for number, line in enumerate(lines):
        if not is_code(line):
            continue
        for match in re.finditer(r'"((?:\\.|[^"\\])*)"', line):
            letter = re.search(r"[A-Za-z]", re.sub(r"%[-.*0-9l]*[a-z]|\\.", "  ", match[1]))
            if not letter:
                continue
            position = match.start(1) + letter.start()
            other = "x" if line[position] != "x" else "y"
            yield change(number, 1, [line[:position] + other + line[position + 1 :]])


def comparisons_of(line, constants):
    """The comparisons that must all hold for a line to return at once; none for any other line."""
    match = re.match(r"\s*if \((.*)\) return\b", line)
    operand = r"([\w.]+|'.'|static_cast<[\w ]+>\(\w+\))"
    parts = match[1].split(" && ") if match else []
    found = [re.fullmatch(f"{operand} (==|<|>|<=|>=) {operand}", part) for part in parts]
    return [(one[1], one[2], constants.get(one[3], one[3])) for one in found] if all(found) else []


def exclude_each_other(first, second, constants):
    """Two lines that return for values that one thing cannot have at once: two different numbers, equal
    to another thing and less or greater, in ranges of letters that do not meet. Their order is free."""
    for left, how, right in comparisons_of(first, constants):
        for other_left, other_how, other_right in comparisons_of(second, constants):
            if left != other_left:
                continue
            numbers = re.fullmatch(r"-?\d+", right) and re.fullmatch(r"-?\d+", other_right)
            if numbers and how == other_how == "==" and int(right) != int(other_right):
                return True
            if right == other_right and {how, other_how} in ({"==", "<"}, {"==", ">"}, {"<", ">"}):
                return True
            letters = right[0] == "'" == other_right[0]
            if letters and how == "<=" and other_how == ">=" and right < other_right:
                return True
    return False


# Calls that throw nothing, print nothing and reach no device.
silent_call = re.compile(r"\b(data|empty|size|release|_new_text|_public_type|stamp->get_type|item->get_device"
                         r"|new \(std::nothrow\) device_ptr|static_cast<[\w ]+>)\(")


def only_set_different_things(first, second):
    """Two assignments or copies of which neither names what the other sets, and which call nothing on the
    way that could fail or be seen. Their order is free."""
    first, second = (re.sub(r"VEMRA_MEMCPY_S\(([\w.*>-]+), (.*)\);", r"\1 = \2;", line) for line in (first, second))
    one, other = (re.fullmatch(r"\s*([\w.*>-]+) = (.*);", line) for line in (first, second))
    if not one or not other:
        return False
    if any("(" in silent_call.sub("", match[2]) for match in (one, other)):
        return False
    names = [rf"(?<![\w.>]){re.escape(match[1].lstrip('*'))}\b" for match in (one, other)]
    return not re.search(names[0], second) and not re.search(names[1], first)


writing = r"\s+(_write_(stamp|mapping)|\w+->delete_data|private_(backup|delete|restore)_data)\(.*\);$"


def swapping_statements(lines):
    """Two statements in a row, of one line each, that do something."""
    constants = dict(re.findall(r"constexpr int (\w+) = (-?\d+);", "\n".join(lines)))
    for number in range(len(lines) - 1):
        first, second = lines[number], lines[number + 1]
        same_place = re.match(r"\s*", first)[0] == re.match(r"\s*", second)[0]
        does = r"^\s+(?!return\b)(\w+(->|\.|::))*\w+\(.*\);$|^\s+if \(.*\) return .*;$|^\s+[\w.*\[\]>-]+ = .*;$"
        if not (same_place and re.match(does, first) and re.match(does, second)):
            continue
        if re.match(writing, first) and re.match(writing, second):
            continue  # The rule for writes has them.
        if is_va_end(second) or exclude_each_other(first, second, constants):
            continue
        if only_set_different_things(first, second):
            continue
        yield change(number, 2, [second, first])


def swapping_writes(lines):
    """Two different calls of one function that change what a device holds, or save it."""
    for number, first in enumerate(lines):
        if not re.match(writing, first):
            continue
        for other in range(number + 1, len(lines)):
            second = lines[other]
            if second.startswith("}"):
                break
            if re.match(writing, second) and second.strip() != first.strip():
                yield change(number, other - number + 1, [second, *lines[number + 1 : other], first])


def other_status(match):
    names = ["SUCCESS", "FAILURE", "INVALID_HANDLE", "INVALID_ARGUMENT", "OUT_OF_MEMORY"]
    return "VEMRA_APP_STAMP_" + ("FAILURE" if match[1] != "FAILURE" else names[2])


RULES = {
    "inverted condition": inverting_conditions,
    "shifted boundary": replacing(
        r" (<=|>=|<|>) ", lambda m: {"<": " <= ", ">": " >= ", "<=": " < ", ">=": " > "}[m[1]],
        only=r"^(?!.*(template|operator|unique_ptr|shared_ptr|static_cast)).*$"),
    "swapped equality": replacing(r" (==|!=) ", lambda m: " != " if m[1] == "==" else " == ",
                                  only=r"^(?!\s*(\} else )?if \().*$"),
    "swapped and/or": replacing(r" (&&|\|\|) ", lambda m: " || " if m[1] == "&&" else " && "),
    "off by one": replacing(r"( [+-] )1\b|(?<= = )0(?=;)|(?<= = )1(?=;)",
                            lambda m: m[1] + "0" if m[1] else ("1" if m[0] == "0" else "0"),
                            only=r"^(?!.*\bvirtual\b).*$"),
    "wrong constant": replacing(r"(?<![\w.'])(0x[0-9a-f]+|[2-9]|[1-9][0-9]+)\b(?![\w.])",
                                lambda m: str(int(m[1], 0) + 1),
                                only=r"^(?!.*(__attribute__|reserve\()).*$"),
    "wrong status": replacing(r"\bVEMRA_APP_STAMP_(SUCCESS|FAILURE|INVALID_HANDLE|INVALID_ARGUMENT|"
                              r"OUT_OF_MEMORY|UNSUPPORTED_TYPE|OUT_OF_RANGE|DEVICE_FULL)\b", other_status),
    "wrong text": changing_texts,
    "missing log line": dropping(r"^\s+(VEMRA_LOG_\w+|print_line<[\w:]+>)\("),
    "dropped restore": dropping(r"^\s+(private_(restore|delete|backup)_data\(|backup_\.clear)"),
    "dropped release": dropping(r"^\s+(delete(\[\])? |const library_buffer|const crypto::library_buffer)"),
    "dropped lock": dropping(r"^\s+const scoped_lock lock"),
    "dropped statement": dropping(r"^\s+(?!return|continue|break|const |VEMRA_LOG_|print_line|delete|private_|backup_\.|\w+_deleter)"
                                  r"(\*?\w+(->|\.|::|\[))*\*?[\w\]>.*-]+(\(| \+?= |;).*"),
    "swapped order": swapping_statements,
    "swapped writes": swapping_writes,
    "dropped leaving": dropping(r"^\s+(continue|break|return);"),
    "narrowed handler": replacing(r"catch \(const std::exception& ", "catch (const std::bad_alloc& "),
}


# Holding the wrong lock, or none.
other_lock = {"LOCK_SH": "LOCK_EX", "LOCK_EX": "LOCK_SH", "F_WRLCK": "F_RDLCK", "kind::shared": "kind::exclusive",
              "kind::exclusive": "kind::shared", "BEGIN IMMEDIATE": "BEGIN"}


def wrong_locks(lines):
    for number, line in enumerate(lines):
        if not is_code(line):
            continue
        for match in re.finditer(r"\b(LOCK_(SH|EX)|F_WRLCK|(?<!finding::)kind::(shared|exclusive)|BEGIN IMMEDIATE)\b",
                                 re.sub(r"//.*", "", line)):
            yield change(number, 1, [line[: match.start()] + other_lock[match[1]] + line[match.end() :]])


def other_error(match):
    kind, name = match[1], match[2]
    other = {"error_code": ("storage_failed", "busy"), "exit_code": ("failed", "usage")}[kind]
    return f"{kind}::{other[0] if name != other[0] else other[1]}"


flag = r"(?:O_(?!RDONLY|WRONLY|RDWR)|S_I|SQLITE_OPEN_|LOCK_NB|MAGIC_|RTLD_|SQLITE_PREPARE_)\w*"
lock_guard = (r"^\s+(const )?(std::(lock_guard|unique_lock|scoped_lock)\b|settings_lock |file_lock |transaction "
              r"|device_lock |signal_pause )")

# For softtoken/ and tool/, whose texts may change and which log nothing.
PROGRAM_RULES = {name: RULES[name] for name in (
    "inverted condition", "shifted boundary", "swapped equality", "swapped and/or", "off by one", "wrong constant",
    "swapped order", "dropped leaving")}
PROGRAM_RULES |= {
    # Enumerations may name a code in a comparison; there it is a condition that is wrong.
    "wrong error": replacing(r"\b(error_code|exit_code)::(\w+)", other_error),
    "dropped call": dropping(r"^\s+(?!return|continue|break|const |throw |using |delete|std::(lock_guard|unique_lock))"
                             r"(static_cast<void>\()?(\*?\w+(->|\.|::))*\w+\(.*"),
    "dropped assignment": dropping(r"^\s+(?!return|const |using )(\*?\w+(->|\.|::|\[))*\*?[\w\]>.*-]+ [+|&]?= .*"),
    "dropped lock": dropping(lock_guard),
    "wrong lock": wrong_locks,
    "missing flag": replacing(rf" \| {flag}|\b{flag} \| ", ""),
    "wrong mode": replacing(r"(?<![\w.'])0[0-7]{3}\b", lambda m: {"0700": "0755", "0600": "0644"}.get(m[0], "0600")),
    "flipped truth": replacing(r"\b(true|false)\b", lambda m: "false" if m[1] == "true" else "true",
                               only=r"^(?!.*while \(true\)).*$"),
}
