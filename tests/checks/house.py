#!/usr/bin/env python3
"""Includes point down the house only, and shared files name no operating system."""

import pathlib
import re
import sys

FLOORS = ["platform", "vko_utils", "vko_sat_utils", "api"]  # from the ground up
PLATFORM_FOLDERS = ("src/platform/posix/", "src/platform/windows/")
SYSTEM_MACRO = re.compile(r"\b(_?_?WIN(32|64)(__)?|_MSC_VER|__MINGW\w*|__linux(__)?|__unix(__)?|__APPLE__|_POSIX\w*)\b")
SYSTEM_HEADER = re.compile(
    r"<(windows|winsock2?|setupapi|shlobj|io|direct|unistd|termios|fcntl|poll|dirent|pthread|dlfcn|sys/.*|linux/.*)(\.h)?>"
)
INCLUDE = re.compile(r'^\s*#\s*include\s+["<]([^">]+)[">]')


def floor_of(path: str):
    parts = pathlib.PurePosixPath(path).parts
    return FLOORS.index(parts[1]) if len(parts) > 2 and parts[0] == "src" and parts[1] in FLOORS else None


def included_floor(file: pathlib.Path, target: str, top: pathlib.Path):
    """The floor of an included file of ours; None for the system's."""
    for folder in (file.parent, top / "src", top / "include"):
        candidate = (folder / target).resolve()
        if candidate.is_file() and candidate.is_relative_to(top):
            return floor_of(candidate.relative_to(top).as_posix())
    return None


def faults_in(file: pathlib.Path, top: pathlib.Path):
    name = file.relative_to(top).as_posix()
    own_floor = floor_of(name)
    in_platform = name.startswith(PLATFORM_FOLDERS)
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
        include = INCLUDE.match(line)
        if include and own_floor is not None:
            floor = included_floor(file, include.group(1), top)
            if floor is not None and floor > own_floor:
                yield f"{name}:{number}: points up: {line.strip()}"
            if include.group(1).startswith(("posix/", "windows/")) or "/platform/posix" in include.group(1):
                yield f"{name}:{number}: reaches into one platform: {line.strip()}"
        if in_platform or not line.lstrip().startswith("#"):
            continue
        if SYSTEM_MACRO.search(line) or SYSTEM_HEADER.search(line):
            yield f"{name}:{number}: names an operating system: {line.strip()}"


def main() -> int:
    top = pathlib.Path(sys.argv[1]).resolve()
    files = [f for f in sorted((top / "src").rglob("*")) if f.suffix in (".h", ".cpp")]
    files.append(top / "include" / "zantir.h")
    if len(files) < 20:
        print(f"only {len(files)} files under {top}/src: looked in the wrong place")
        return 1
    faults = [fault for file in files for fault in faults_in(file, top)]
    print("\n".join(faults) or f"{len(files)} files, no include points up")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
