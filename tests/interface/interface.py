#!/usr/bin/env python3
"""What callers were promised: signatures as a compiler reads them in the header, names and ordinals as the files export
them.

    interface.py compare [HEADER]    says where the header differs from recorded.json, and fails
    interface.py record              writes recorded.json from the header and the .def file
"""
import functools
import json
import os
import re
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(os.path.dirname(HERE))
HEADER = os.path.join(TOP, "include", "zantir.h")
DEFINITION = os.path.join(TOP, "src", "api", "ZANTIR64.def")
RECORD = os.path.join(HERE, "recorded.json")

ADVICE = ("The interface is not the recorded one. Programs that are in shops already were built against that one: state "
          "the impact on API and ABI in CHANGELOG.md, then run tests/interface/interface.py record.")

# Every compiler that includes the header must read the same in it.
READINGS = [("c", "x86_64-linux-gnu"), ("c", "x86_64-w64-windows-gnu"), ("c++", "x86_64-linux-gnu"),
            ("c++", "x86_64-w64-windows-gnu")]


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True, env={**os.environ, "LC_ALL": "C"}).stdout


def clang(language, system, *options):
    return run("clang", "-x", language, f"--target={system}", *options)


def declarations(node):
    """Those of the header itself, inside "extern "C"" too."""
    for inner in node.get("inner", []):
        if inner["kind"] == "LinkageSpecDecl":
            yield from declarations(inner)
        elif not inner.get("isImplicit"):
            yield inner


def read_header(header, language, system):
    tree = json.loads(clang(language, system, "-fsyntax-only", "-Xclang", "-ast-dump=json", header))
    functions, others = {}, []
    for declaration in declarations(tree):
        if declaration["kind"] != "FunctionDecl":
            others.append(f"{declaration['kind']} {declaration.get('name', '')}")
            continue
        # The name that the linker sees: what is not "extern "C"" has another one in C++.
        symbol = declaration.get("mangledName", declaration["name"])
        parameters = [inner.get("name", "") for inner in declaration.get("inner", []) if inner["kind"] == "ParmVarDecl"]
        # An empty list means in C++ what "void" says in C.
        kind = declaration["type"]["qualType"].replace("()", "(void)" if language == "c++" else "()")
        functions[symbol] = {"type": kind, "parameters": parameters}
    return {"functions": functions, "other_declarations": others}


@functools.cache
def read_macros(header):
    def names(file):
        return set(re.findall(r"#define (\w+)", clang(*READINGS[0], "-E", "-dM", file)))
    return sorted(names(header) - names(os.devnull))


def given_ordinals():
    with open(DEFINITION, encoding="ascii") as file:
        return {name: int(ordinal) for name, ordinal in re.findall(r"^\s+(\w+)\s+@(\d+)", file.read(), re.MULTILINE)}


def current(header=HEADER, reading=READINGS[0]):
    return {**read_header(header, *reading), "macros": read_macros(header), "ordinals": given_ordinals()}


def recorded():
    with open(RECORD, encoding="utf-8") as file:
        return json.load(file)


def exports_of_dll(path):
    """{name: ordinal}; a name of None for what has none."""
    listing = run("x86_64-w64-mingw32-objdump", "-p", path)
    base = int(re.search(r"^Ordinal Base\s+(\d+)", listing, re.MULTILINE).group(1))
    addresses = re.findall(r"^\t\[ *(\d+)\] \+base\[", listing, re.MULTILINE)
    named = listing.split("[Ordinal/Name Pointer] Table")[1].split("\n\n")[0]
    names = re.findall(r"\[ *(\d+)\] (\S+)", named)
    exports = {name: base + int(number) for number, name in names}
    if len(addresses) != len(names):
        exports[None] = len(addresses) - len(names)
    return exports


def exports_of_shared_object(path):
    """Names with their versions, of code and data alike."""
    lines = [line.split() for line in run("nm", "-D", "--defined-only", "--format=posix", path).splitlines()]
    return {name: kind for name, kind, *_ in lines}


def differences(old, new, where=""):
    """One line for each thing that is no longer as it was."""
    if isinstance(old, dict) and isinstance(new, dict):
        for key in sorted({*old, *new}, key=str):
            place = f"{where}/{key}" if where else str(key)
            if key not in new:
                yield f"{place} is gone"
            elif key not in old:
                yield f"{place} is new: {new[key]}"
            else:
                yield from differences(old[key], new[key], place)
    elif old != new:
        yield f"{where} was {old}, is {new}"


def main(arguments):
    if arguments == ["record"]:
        with open(RECORD, "w", encoding="utf-8") as file:
            json.dump(current(), file, indent=2)
            file.write("\n")
        return 0
    if arguments[:1] == ["compare"] and len(arguments) <= 2:
        found = [f"{language} on {system}: {line}" for language, system in READINGS
                 for line in differences(recorded(), current(*arguments[1:], reading=(language, system)))]
        if found:
            print("\n".join([*found, ADVICE]))
        return 1 if found else 0
    print(__doc__)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
