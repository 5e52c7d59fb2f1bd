"""The packages, made once for all tests, and what a sale from an unpacked one looks like."""
import atexit
import functools
import glob
import json
import os
import shutil
import subprocess
import tempfile
import unittest

import settings

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
CODE = "12345678"


def run(*command, check=True, **options):
    """The finished program; what it printed as bytes."""
    done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False,
                          timeout=120, **options)
    if check and done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}: {done.stdout!r} {done.stderr!r}")
    return done


def empty_folder():
    folder = tempfile.mkdtemp(prefix="zantir-unpacked-")
    atexit.register(shutil.rmtree, folder, ignore_errors=True)
    return folder


def make(**environment):
    """Makes the packages; the folder with them."""
    folder = empty_folder()
    run("/usr/bin/python3", "-B", os.path.join(TOP, "packaging", "make.py"), folder, env={**os.environ, **environment})
    return folder


made = functools.cache(make)


def package(suffix):
    """The one package of this kind."""
    found, = glob.glob(os.path.join(made(), "*" + suffix))
    return found


@functools.cache
def unpacked_zip():
    folder = empty_folder()
    shutil.unpack_archive(package(".zip"), folder)
    inside, = os.listdir(folder)
    return os.path.join(folder, inside)


@functools.cache
def unpacked_deb():
    folder = empty_folder()
    run("dpkg-deb", "-x", package(".deb"), folder)
    return folder


def files(root):
    """The names of all files below a folder, links left out."""
    return sorted(os.path.relpath(os.path.join(folder, name), root) for folder, _, names in os.walk(root)
                  for name in names if not os.path.islink(os.path.join(folder, name)))


class SaleCase(unittest.TestCase):
    """A sale with nothing but what was unpacked. A class says where the examples are, and starts the programs in
    `run_here`."""

    examples = None

    def sale(self):
        """The sale's path, as the programs spell it."""
        return os.path.join(self.examples, "demo", "venda.xml")

    def prepare(self, **connection):
        """A folder with a SAT.ini, where a till would start its program."""
        self.folder = empty_folder()
        with open(os.path.join(self.folder, "SAT.ini"), "w", encoding="latin-1") as file:
            file.write(settings.compose(**connection))

    def tool(self, *arguments):
        return json.loads(self.run_here("zantir", *arguments, "--json").stdout.decode("utf-8"))

    def assert_tool_sells_with(self, library):
        """The technician's tool makes a sale through the library of that path."""
        checks = {check["nome"]: check for check in self.tool("diagnostico", "--codigo", CODE)["verificacoes"]}
        self.assertEqual("ok", checks["biblioteca"]["estado"], checks)
        self.assertIn(library, checks["biblioteca"]["encontrado"])
        sold = self.tool("vender", self.sale(), "--codigo", CODE)
        self.assertEqual("aceito", sold["resultado"], sold)

    def assert_example_sells(self, program):
        printed = self.run_here(program, self.sale(), CODE).stdout.decode("utf-8")
        self.assertRegex(printed, r"Venda: 06000 .*\r?\nChave: CFe\d{44}\r?\nTotal: 140\.06")
