#!/usr/bin/python3
"""Shows that no name of a source means something else in the unit it is compiled in.

    tools/check_units.py BUILD     BUILD holds the compile_commands.json of a configured build
                                   with units of sources and without precompiled headers

A unit is one text to the compiler: what a source keeps in an unnamed namespace is seen by the
sources after it. A name that two sources keep, or that a header declares too, may compile and
mean the wrong one. All units of a target are taken together: one more source moves the others.

Needs libclang's bindings for the system's Python: python3-clang-14.
"""
import collections
import functools
import itertools
import json
import multiprocessing
import os
import pathlib
import re
import shlex
import sys

from clang.cindex import CursorKind, Diagnostic, Index, TranslationUnit, TranslationUnitLoadError

ROOT = pathlib.Path(__file__).resolve().parent.parent
NAMED = {CursorKind.FUNCTION_DECL, CursorKind.FUNCTION_TEMPLATE, CursorKind.VAR_DECL,
         CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL, CursorKind.UNION_DECL,
         CursorKind.CLASS_TEMPLATE, CursorKind.ENUM_DECL, CursorKind.NAMESPACE}
EXTERN = {CursorKind.LINKAGE_SPEC, CursorKind.UNEXPOSED_DECL}
AROUND = EXTERN | {CursorKind.NAMESPACE, CursorKind.TRANSLATION_UNIT}
INCLUDE = re.compile(r'^#include "(.+)"$', re.MULTILINE)

# A name, the namespaces around it, whether one of them is unnamed, and where it is declared.
Name = collections.namedtuple("Name", "text scope unnamed file line")


def names_in(cursor, roots, scope=(), unnamed=False):
    """The names that the project's files declare in the namespaces below a cursor."""
    for child in cursor.get_children():
        file, text = child.location.file, child.spelling
        if file is None or not file.name.startswith(roots):
            continue
        if child.kind in EXTERN:
            yield from names_in(child, roots, scope, unnamed)
        elif child.kind == CursorKind.NAMESPACE and not (text and unnamed):
            yield from names_in(child, roots, scope + (text,) if text else scope, not text)
        elif child.kind in NAMED and text and child.semantic_parent.kind in AROUND:
            if not re.match(r"operator\W", text):
                path = os.path.relpath(file.name, ROOT)
                yield Name(text, scope, unnamed, path, child.location.line)


def read_unit(entry, roots):
    """The target of a unit, the names in it, and what can't be read of it."""
    unit = entry["file"]
    words = shlex.split(entry["command"])[1:]
    output = words.index("-o")
    del words[output:output + 2]
    options = [word for word in words if word not in ("-c", unit)] + ["-w"]
    included = INCLUDE.findall(pathlib.Path(unit).read_text(encoding="utf-8"))
    # A source that the build generates isn't there yet.
    unsaved = [(path, "") for path in included
               if path.startswith(roots[1]) and not os.path.exists(path)]
    os.chdir(entry["directory"])
    target = unit.split("/Unity/")[0]
    try:
        read = Index.create().parse(unit, options, unsaved,
                                    TranslationUnit.PARSE_SKIP_FUNCTION_BODIES)
    except TranslationUnitLoadError as error:
        return target, set(), [f"{unit}: {error}"]
    errors = [d.format() for d in read.diagnostics if d.severity >= Diagnostic.Error]
    return target, set(names_in(read.cursor, roots)), errors


def is_mixed_up(own, other):
    """Whether a source's own name can be met where the other one is meant."""
    if not own.unnamed or own.file == other.file:
        return False
    if own.scope[:len(other.scope)] == other.scope:
        return other.unnamed or other.file.endswith(".h")
    return other.unnamed and other.scope[:len(own.scope)] == own.scope


def complaints_of(target, names):
    """What to say of the names in a target, once for each name and pair of files."""
    found = {}
    for text, alike in itertools.groupby(sorted(names), lambda name: name.text):
        for own, other in itertools.permutations(alike, 2):
            if is_mixed_up(own, other):
                found.setdefault((text, *sorted((own.file, other.file))), (own, other))
    return [f"{own.file}:{own.line}: {text} is a name of {other.file}:{other.line} as well, and "
            f"{target} compiles them as one: name one of them otherwise"
            for (text, *_), (own, other) in found.items()]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    build = os.path.abspath(sys.argv[1])
    database = os.path.join(build, "compile_commands.json")
    with open(database, encoding="utf-8") as file:
        units = [entry for entry in json.load(file) if "/Unity/unity_" in entry["file"]]
    if not units:
        sys.exit(f"{database} names no unit: configure the build with CMAKE_UNITY_BUILD")
    read = functools.partial(read_unit, roots=(f"{ROOT}/", f"{build}/"))
    targets, complaints = collections.defaultdict(set), []
    with multiprocessing.Pool() as pool:
        for target, names, errors in pool.imap(read, units):
            targets[target] |= names
            complaints += errors
    for target, names in targets.items():
        complaints += complaints_of(pathlib.Path(target).stem, names)
    for text in complaints:
        print(text)
    verdict = f"{len(complaints)} complaints" if complaints else "no name stands for two things"
    print(f"{len(units)} units of {len(targets)} targets: {verdict}")
    sys.exit(1 if complaints else 0)


if __name__ == "__main__":
    main()
