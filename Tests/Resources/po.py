# SPDX-License-Identifier: GPL-3.0-or-later
"""Reads files of translations, and says what is wrong with one."""

import re
from collections import Counter
from dataclasses import dataclass, field
from itertools import combinations

PLACEHOLDER = re.compile(r"%(?:@|[a-z]|\d+)")
MNEMONIC = re.compile(r"&(.)")
# What nobody sees looks like this: a key of a dictionary that was taken for a text.
IDENTIFIER = re.compile(r"^[a-z]+([A-Z][a-z]*)+$")
QUOTED = re.compile(r'^(?:msgid |msgstr )?"(.*)"$')
# Scripts whose words have no letters that a key types say the key in parentheses.
KEY_AT_END = re.compile(r"[\s\u00a0]*\(&[A-Za-z0-9]\)")
WIDE_MARKS = str.maketrans("。：！？", ".:!?")
ESCAPES = {"n": "\n", "t": "\t", '"': '"', "\\": "\\"}


@dataclass
class Entry:
    key: str = ""
    text: str = ""
    files: list = field(default_factory=list)
    fuzzy: bool = False


def unquoted(line):
    inner = QUOTED.match(line).group(1)
    return re.sub(r"\\(.)", lambda match: ESCAPES.get(match.group(1), match.group(0)), inner)


def entries(source):
    """Every entry of a file's text but the header."""
    found = []
    for block in re.split(r"\n\s*\n", source.strip()):
        entry = Entry()
        part = None
        for line in block.splitlines():
            if line.startswith("#: "):
                entry.files += line[3:].split()
            elif line.startswith("#,"):
                entry.fuzzy = "fuzzy" in line
            elif line.startswith("#"):
                continue
            else:
                part = {"msgid": "key", "msgst": "text"}.get(line[:5], part)
                setattr(entry, part, getattr(entry, part) + unquoted(line))
        if entry.key:
            found.append(entry)
    return found


def mnemonics(text):
    return [match for match in MNEMONIC.findall(text) if match != "&"]


def as_read(label):
    """A label as it stands on the screen, without what belongs to the control."""
    return re.sub(r"[\s\u00a0\u202f]*[:…]$", "", KEY_AT_END.sub("", label).replace("&", ""))


def ending(text):
    """What a text ends with that says how it is meant."""
    text = text.replace("\u00a0", " ").replace("\u202f", " ").translate(WIDE_MARKS).rstrip()
    for mark in ("…", "...", ":", "?", "!", "."):
        if text.endswith(mark):
            return mark
    return ""


def problems_of(entry):
    if entry.fuzzy:
        yield "is a guess"
    if not entry.text:
        yield "is empty"
        return
    if Counter(PLACEHOLDER.findall(entry.key)) != Counter(PLACEHOLDER.findall(entry.text)):
        yield "has other placeholders"
    if len(mnemonics(entry.key)) != len(mnemonics(entry.text)):
        yield "has another number of mnemonics"
    if any(not each.isalnum() for each in mnemonics(entry.text)):
        yield "has a mnemonic that no key types"
    if ending(entry.key) != ending(entry.text):
        yield "ends otherwise"
    if [len(entry.key) - len(entry.key.lstrip()), entry.key.count("\n")] != [
        len(entry.text) - len(entry.text.lstrip()),
        entry.text.count("\n"),
    ]:
        yield "begins or breaks otherwise"


def problems(translation, template):
    """What is wrong with the translation of the texts that the sources hold."""
    texts = entries(translation)
    keys = {entry.key for entry in texts}
    wanted = {entry.key for entry in entries(template)}
    found = [f"{key!r} is missing" for key in sorted(wanted - keys)]
    found += [f"{key!r} is used nowhere" for key in sorted(keys - wanted)]
    found += [f"{key!r} stands twice" for key, count in Counter(entry.key for entry in texts).items() if count > 1]
    for entry in texts:
        found += [f"the text for {entry.key!r} {problem}: {entry.text!r}" for problem in problems_of(entry)]
    return found


def clashes(translation, template):
    """Pairs of texts of one view that one key would reach, though two do in English."""
    texts = {entry.key: entry.text for entry in entries(translation)}
    views = {}
    for entry in entries(template):
        if mnemonics(entry.key):
            for file in entry.files:
                views.setdefault(file, []).append(entry.key)
    found = []
    for file, keys in sorted(views.items()):
        for one, other in combinations(keys, 2):
            key_of = [mnemonics(texts.get(key, ""))[:1] for key in (one, other)]
            if mnemonics(one)[0].lower() != mnemonics(other)[0].lower() and key_of[0] and key_of[1]:
                if key_of[0][0].lower() == key_of[1][0].lower():
                    found.append(f"{file}: {texts[one]!r} and {texts[other]!r}")
    return found


def argument_at(source, start):
    """What stands between the parenthesis before that place and the one that closes it."""
    depth = 1
    for end in range(start, len(source)):
        depth += {"(": 1, ")": -1}.get(source[end], 0)
        if depth == 0:
            return source[start:end]
    return source[start:]


def unseen_texts(source):
    """Literals that a look-up chooses among and that are not marked, so that no translator sees them."""
    literals = []

    def numbered(match):
        literals.append(match.group(0))
        return f'"{len(literals) - 1}"'

    source = re.sub(r'"(?:[^"\\\n]|\\.)*"', numbered, source)
    found = []
    for call in re.finditer(r"\b(?:text|setStatusText)\(", source):
        chosen = re.findall(r'[?:]\s*"(\d+)"', argument_at(source, call.end()))
        found += [literals[int(each)] for each in chosen]
    return found
