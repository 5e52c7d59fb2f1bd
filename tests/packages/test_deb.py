"""The .deb for Linux, unpacked in an empty folder and used there."""
import gzip
import os
import re
import unittest

import packages
import targets

LIBRARIES = "usr/lib/x86_64-linux-gnu"
DOCUMENTS = "usr/share/doc/zantir"


def field(name):
    return packages.run("dpkg-deb", "-f", packages.package(".deb"), name).stdout.decode("utf-8").strip()


class DebTest(unittest.TestCase):
    def test_what_is_inside(self):
        names = set(packages.files(packages.unpacked_deb()))
        for name in (f"{LIBRARIES}/libzantir64.so", "usr/include/zantir.h", "usr/bin/zantir", "usr/bin/sat-emulator",
                     "usr/share/bash-completion/completions/zantir", "usr/share/zsh/vendor-completions/_zantir",
                     f"{DOCUMENTS}/copyright", f"{DOCUMENTS}/README.md", f"{DOCUMENTS}/SECURITY.md",
                     f"{DOCUMENTS}/examples/python/zantir.py", f"{DOCUMENTS}/docs/reference/index.html"):
            self.assertIn(name, names)
        # The header that the documents name is the one that compilers find.
        self.assertTrue(os.path.samefile(os.path.join(packages.unpacked_deb(), DOCUMENTS, "include", "zantir.h"),
                                         os.path.join(packages.unpacked_deb(), "usr", "include", "zantir.h")))

    def test_control_fields(self):
        with open(os.path.join(packages.TOP, "CMakeLists.txt"), encoding="utf-8") as file:
            version = re.search(r"project\(\w+ VERSION ([0-9.]+)", file.read()).group(1)
        self.assertEqual(("zantir", version, "amd64"), (field("Package"), field("Version"), field("Architecture")))
        self.assertIn(f"zantir_{version}_amd64.deb", packages.package(".deb"))

    def test_everything_that_it_needs_is_said(self):
        named = dict(re.findall(r"([a-z0-9+.-]+) \(>= ([^)]+)\)", field("Depends")))
        self.assertEqual({"libc6", "libstdc++6", "libgcc-s1", "libxml2"}, set(named))
        for name, least in named.items():
            there = packages.run("dpkg-query", "-W", "-f=${Version}", name).stdout.decode("ascii")
            packages.run("dpkg", "--compare-versions", there, "ge", least)

    def test_owners_and_modes(self):
        for line in packages.run("dpkg-deb", "-c", packages.package(".deb")).stdout.decode("utf-8").splitlines():
            mode, owner, *_, name = line.split(" -> ")[0].split()
            self.assertEqual("root/root", owner, line)
            program = name.startswith("./usr/bin/") and not name.endswith("/")
            expected = "d" if name.endswith("/") else "l" if " -> " in line else "x" if program else "f"
            self.assertEqual({"d": "drwxr-xr-x", "l": "lrwxrwxrwx", "x": "-rwxr-xr-x", "f": "-rw-r--r--"}[expected], mode,
                             line)

    def test_checksums(self):
        root = packages.unpacked_deb()
        control = packages.empty_folder()
        packages.run("dpkg-deb", "-e", packages.package(".deb"), control)
        with open(os.path.join(control, "md5sums"), encoding="utf-8") as file:
            listed = [line.split("  ", 1)[1].rstrip("\n") for line in file]
        self.assertEqual(listed, packages.files(root))
        packages.run("md5sum", "--check", "--strict", "--quiet", os.path.join(control, "md5sums"), cwd=root)

    def test_manual_pages_say_what_the_help_says(self):
        for name, word in (("zantir", "diagnostico"), ("sat-emulator", r"\-\-fault")):
            with gzip.open(os.path.join(packages.unpacked_deb(), f"usr/share/man/man1/{name}.1.gz"), "rt") as file:
                page = file.read()
            self.assertRegex(page, rf"(?m)^{name} \\- ")
            self.assertIn(word, page)

    def test_completion_works_in_a_shell(self):
        script = os.path.join(packages.unpacked_deb(), "usr/share/bash-completion/completions/zantir")
        typed = 'COMP_WORDS=(zantir diag); COMP_CWORD=1; _zantir zantir diag zantir; echo "${COMPREPLY[@]}"'
        done = packages.run("bash", "-c", f". '{script}'; {typed}")
        self.assertEqual(b"diagnostico\n", done.stdout)


class LinuxSaleTest(packages.SaleCase):
    """The programs of the package, which find its library where the system would."""

    def setUp(self):
        self.root = packages.unpacked_deb()
        self.examples = os.path.join(self.root, DOCUMENTS, "examples")
        self.library = os.path.join(self.root, LIBRARIES, "libzantir64.so")
        system = targets.Linux()
        system.build = os.path.join(self.root, "usr", "bin")
        emulator, _, connection = system.emulator()
        self.addCleanup(emulator.close)
        self.prepare(**connection)

    def run_here(self, program, *arguments):
        return packages.run(os.path.join(self.root, "usr", "bin", program), *arguments, cwd=self.folder,
                            env={**os.environ, "LD_LIBRARY_PATH": os.path.dirname(self.library)})

    def test_tool_sells(self):
        self.assert_tool_sells_with(self.library)

    def test_example_builds_and_sells(self):
        program = os.path.join(packages.empty_folder(), "venda")
        packages.run("gcc", "-I", os.path.join(self.root, "usr", "include"), "-o", program,
                     os.path.join(self.examples, "c", "venda.c"), os.path.join(self.examples, "demo", "reply.c"),
                     "-L", os.path.dirname(self.library), "-lzantir64")
        self.assert_example_sells(program)


if __name__ == "__main__":
    unittest.main()
