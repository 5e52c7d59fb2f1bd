#!/usr/bin/env python3
"""Makes the packages from what is built: make.py OUTPUT-FOLDER. scripts/package builds first.

The same sources and products give the same bytes, whenever, wherever and by whomever they are packed.
"""
import os
import sys
import tempfile

import debian_package
import windows_zip
from contents import TOP


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: make.py OUTPUT-FOLDER")
    output = os.path.abspath(sys.argv[1])
    os.makedirs(output, exist_ok=True)
    for make, preset in ((windows_zip.make, "windows"), (debian_package.make, "linux")):
        with tempfile.TemporaryDirectory(prefix="zantir-package-") as work:
            path = make(os.path.join(TOP, "build", preset), work, output)
        print(f"{path}: {os.path.getsize(path)} bytes")


if __name__ == "__main__":
    main()
