#!/usr/bin/env python3
"""Complains about functions whose headers do not say what a caller must know.

usage: header-comments.py HEADER...

Looked at are functions, and members that are not private. Nothing is asked of destructors, overrides, deleted functions and
members that take nothing and are defined within one line: they say what they do.

The comment of a function stands directly above it; functions that follow one another without an empty line share the one
above the first of them. Each function that is missing something is told as FILE:LINE: NAME: what is missing:

  comment    there is one
  arguments  each is called by its name: where the comment has a list, if only of what it "returns  ", in an entry of that,
             "NAME  what it is" or "NAME, NAME  what they are"; or else within a sentence
  result     a line begins with "returns", or a sentence with "Returns", or something is done "and" something "returns"
  failure    from there on, of a pointer or Core Foundation's object: when it is null, or "never null"; of IOKit's object: when
             it is 0; of a Boolean: "whether", "true" or "false"; of a number: a value, or what it counts ("how many")
  ownership  whose the result is when it is an object or a pointer, and whose an argument is that is an object or through which
             one is received: somebody releases or frees it, it is not retained, stays or becomes somebody's, or is a constant

The last line counts the functions; exit status 1 when there is anything to complain about.
"""

import re
import sys
from collections import namedtuple

# Objects, and what receives an object or a pointer. An FSRef is a plain structure.
OWNED = re.compile(r"(?<!\bFS)(Ref|Reference|\bio_\w+_t)[*&]?$|\* ?[*&]$")

RESULT = re.compile(r"^returns  |\bReturns\b|\band returns\b", re.M)
OWNER = re.compile(r"\b(releases?|frees?|not\s+retained|[Aa]\s+constant)\b|"
                   r"\b([Ss]tays?|becomes?|is|are)\s+(\w+\s+){0,3}\w+'s\b")

# What must be said of a result of each type, and the complaint where it is not.
FAILURE = [
    (re.compile(r"\bio_\w+_t$"), re.compile(r"\b0\b"), "it is not told when the result is 0"),
    (re.compile(r"(\*|Ref|Reference)$"), re.compile(r"\bnull\b"),
     "it is not told when the result is null, or that it never is"),
    (re.compile(r"\b(bool|Boolean)$"), re.compile(r"\b(whether|true|false)\b"), "it is not told when the result is true"),
    (re.compile(r""), re.compile(r"\d|\bk[A-Z]\w+|\bhow many\b"), "no value of the result is told, nor what it counts"),
]

SPECIFIERS = re.compile(r"\b(static|virtual|explicit|inline|constexpr|extern( \"\")?|friend)(?= |$)")
UNNAMED = {"int", "long", "short", "char", "unsigned", "const", "void"}

# A declaration: its lines, what stands before its body or semicolon, its body or None, and what it is within.
Declaration = namedtuple("Declaration", "first last head body klass private")
Function = namedtuple("Function", "name result arguments tail")


def split(text):
    """Returns a header without its comments and preprocessor lines, and its comments as a list of lines, "" where none is."""
    comments = [""] * (text.count("\n") + 2)

    def take_out(match):
        token = match[0]
        if not token.startswith("/"):
            return '""' if token[0] == '"' else "' '"
        first = text.count("\n", 0, match.start())
        for offset, line in enumerate(token.split("\n")):
            comments[first + offset] += re.sub(r"^( *\*|//|/\*+) ?|\*/$", "", line) or " "
        return "\n" * token.count("\n")

    code = re.sub(r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])*'", take_out, text, flags=re.S)
    code = re.sub(r"^ *#(?:.*\\\n)*.*", lambda match: "\n" * match[0].count("\n"), code, flags=re.M)
    return code, comments


def end_of_block(code, start):
    """Returns where the brace at start is closed."""
    depth = 0
    for match in re.compile(r"[{}]").finditer(code, start):
        depth += 1 if match[0] == "{" else -1
        if depth == 0:
            return match.start()
    raise ValueError("a brace is not closed")


def declarations(code):
    """Yields what is declared, in order, also within classes."""
    scopes = []   # of [class or None, whether private]
    at = 0
    for match in iter(lambda: re.compile(r"[;{}]|\b(?:public|protected|private):(?!:)").search(code, at), None):
        mark, head = match[0], code[at:match.start()]
        first = match.start() - len(head.lstrip())
        head = " ".join(head.split())
        at = match.end()
        record = re.match(r"(?:template *<[^>]*> *)?(?:typedef )?(class|struct|union) (\w+)", head)
        if mark.endswith(":"):
            scopes[-1][1] = mark == "private:"
        elif mark == "}":
            scopes.pop()
        elif mark == "{" and re.fullmatch(r'extern ""|(inline )?namespace.*', head):
            scopes.append([None, False])
        elif mark == "{" and record and "(" not in head:
            scopes.append([record[2], record[1] == "class"])
        else:
            body = None
            if mark == "{":
                at = end_of_block(code, match.start()) + 1
                body = code[match.end():at - 1]
            klass = scopes[-1][0] if scopes else None
            yield Declaration(code.count("\n", 0, first), code.count("\n", 0, at), head, body, klass,
                              any(private for _, private in scopes))


def parts(arguments):
    """Yields the arguments of a list one by one."""
    depth, part = 0, ""
    for character in arguments + ",":
        depth += {"(": 1, "<": 1, ")": -1, ">": -1}.get(character, 0)
        if character == "," and depth == 0:
            yield part.split("=")[0].strip()
            part = ""
        else:
            part += character


def named(argument):
    """Returns an argument's type and name, None where it has none."""
    array = re.match(r"(.*)\(&(\w+)\)", argument)
    match = array or re.match(r"(.*[\s*&])(\w+)(?:\[\w*\])?$", argument)
    if not match or match[2] in UNNAMED:
        return argument, None
    return match[1].strip(), match[2]


def function(declaration):
    """Returns the function that is declared, or None when it is something else."""
    head = re.sub(r"^template *<[^>]*> *", "", declaration.head)
    before, parenthesis, behind = head.partition("(")
    match = re.search(r"(operator *\S+|~?\w+) *$", before)
    if not parenthesis or not match or re.match(r"(typedef|using)\b", head):
        return None
    name, result = match[1], SPECIFIERS.sub("", before[:match.start()]).strip()
    # Neither a variable with a value nor a macro or a static_assert.
    if "=" in result or not (result or name.startswith("operator") or name.lstrip("~") == declaration.klass):
        return None
    depth, end = 1, 0
    while depth > 0:
        depth += {"(": 1, ")": -1}.get(behind[end], 0)
        end += 1
    tail = behind[end:]
    trailing = re.search(r"-> *(.*)", tail)
    result = trailing[1] if trailing else result
    return Function(name, result, [named(part) for part in parts(behind[:end - 1]) if part], tail)


def excused(declaration, found):
    """Whether the header need not say anything of a function."""
    if declaration.private or found.name.startswith("~") or re.search(r"\boverride\b|= *delete", found.tail):
        return True
    within_a_line = declaration.body is not None and declaration.first == declaration.last
    return within_a_line and declaration.klass is not None and not found.arguments


def entries(found):
    """Returns a pattern of how the entries of a list of arguments begin."""
    names = "|".join(["returns"] + [name for _, name in found.arguments if name])
    return rf"(?:{names})(?:, \w+)*"


def passage(comment, found, at):
    """Returns what a comment says from there to the end of its paragraph, or to the next entry of a list of arguments."""
    return re.split(rf"\n(?: *\n|(?={entries(found)}  ))", comment[at:])[0]


def missing(found, comment):
    """Yields what a function's comment does not say."""
    if not comment.strip():
        yield "there is no comment"
        return
    yield from missing_of_result(found, comment)
    listed = re.search(rf"^({entries(found)})  ", comment, re.M)
    for kind, name in found.arguments:
        place = rf"^(?:\w+, )*{name}(?:, \w+)*  " if listed else rf"\b{name}\b"
        told = [match.start() for match in re.finditer(place, comment, re.M)]
        if name and not told:
            yield f"the argument {name} is not named"
        elif name and OWNED.search(kind) and not any(OWNER.search(passage(comment, found, at)) for at in told):
            yield f"it is not told whose {name} is"


def missing_of_result(found, comment):
    """Yields what a function's comment does not say of its result."""
    if re.search(r"\bvoid\b(?! *\*)", found.result) or not found.result:
        return
    told = RESULT.search(comment)
    if not told:
        yield "the result is not told"
        return
    said = passage(comment, found, told.start())
    saying, complaint = next(row[1:] for row in FAILURE if row[0].search(found.result))
    if not saying.search(said):
        yield complaint
    if OWNED.search(found.result + "*") and not OWNER.search(said):
        yield "it is not told whose the result is"


def looked_at(path):
    """Yields the line, the name and the omissions of each function of a header."""
    with open(path, encoding="utf-8") as file:
        code, comments = split(file.read())
    lines = code.split("\n")
    comment, last = "", -1
    for declaration in declarations(code):
        above = declaration.first
        while above > 0 and comments[above - 1] and not lines[above - 1].strip():
            above -= 1
        # One without a comment of its own belongs to the group of the one on the line above, if there is one.
        if above < declaration.first or declaration.first != last + 1:
            comment = "\n".join(comments[above:declaration.first])
        last = declaration.last
        found = function(declaration)
        if found and not excused(declaration, found):
            yield declaration.first + 1, found.name, list(missing(found, comment))


def main():
    functions = complaints = 0
    for path in sys.argv[1:]:
        for line, name, omissions in looked_at(path):
            functions += 1
            complaints += len(omissions)
            for omission in omissions:
                print(f"{path}:{line}: {name}: {omission}")
    print(f"{functions} functions, {complaints} complaints")
    return 1 if complaints else 0


sys.exit(main())
