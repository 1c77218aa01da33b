#!/usr/bin/env python3
"""Compares the subcommands that labctl knows with those that its page of the manual shows, form by form and option by option.

usage: labctl --json help | labctl-forms.py PAGE
"""

import json
import re
import sys

# The page's macros for what stands in a form, and its braces.
MACROS = {"It", "Xo", "Xc", "Cm", "Ar", "Op", "Oo", "Oc"}


def words(form):
    """The words of a form in their order, without brackets, bars and dots."""
    return re.findall(r"[\w-]+", form.replace("...", ""))


def shown(page):
    """Yields the words of each form that the page shows: of a line .It Cm, or of what stands from .It Xo to .Xc."""
    text = re.sub(r"\.It Xo\n(.*?)\n\.Xc", lambda match: ".It " + match[1].replace("\n.", " ")[1:], page, flags=re.S)
    for line in re.findall(r"^\.It (Cm .*)", text, flags=re.M):
        line = line.replace("Fl -", "--")
        yield [word for word in words(line) if word not in MACROS]


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        listed = list(shown(file.read()))
    known = []
    for command in json.load(sys.stdin):
        known += [words(form)[1:] for form in command["usage"]]
    missing = [form for form in known if form not in listed]
    made_up = [form for form in listed if form not in known]
    for form in missing:
        print("the page does not show: labctl", *form)
    for form in made_up:
        print("the page shows what labctl does not know: labctl", *form)
    return 1 if missing or made_up or not known else 0


sys.exit(main())
