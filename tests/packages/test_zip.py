"""The zip for Windows, unpacked in an empty folder and used there."""
import os
import re
import shutil
import unittest

import packages
import targets

PROGRAMS = ("zantir.exe", "sat-emulator.exe", "ZANTIR64.dll")
# What every Windows has had for a long time.
SYSTEM = {"kernel32", "user32", "advapi32", "shell32", "setupapi", "msvcrt", "winmm", "ws2_32"}


class ZipTest(unittest.TestCase):
    def test_what_is_inside(self):
        names = set(packages.files(packages.unpacked_zip()))
        for name in (*PROGRAMS, "lib/libZANTIR64.dll.a", "lib/ZANTIR64.lib", "lib/ZANTIR64.def", "include/zantir.h",
                     "examples/demo/venda.xml", "examples/csharp/Zantir.cs", "README.md", "CHANGELOG.md", "SECURITY.md",
                     "docs/reference/index.html", "licences/libxml2.txt", "zantir.ps1", "LEIA-ME.txt"):
            self.assertIn(name, names)
        self.assertFalse([name for name in names if name.endswith("CMakeLists.txt")])

    def test_first_text_names_only_what_is_there(self):
        root = packages.unpacked_zip()
        with open(os.path.join(root, "LEIA-ME.txt"), encoding="utf-8-sig", newline="") as file:
            text = file.read()
        self.assertEqual(text.count("\n"), text.count("\r\n"))
        named = re.findall(r"^  (\S+?),?(?: (README\.md))?  ", text, re.MULTILINE)
        self.assertEqual(18, len(named))
        for name in filter(None, [part for names in named for part in names]):
            self.assertTrue(os.path.exists(os.path.join(root, name.replace("\\", "/"))), name)

    def test_checksums(self):
        root = packages.unpacked_zip()
        with open(os.path.join(root, "SHA256SUMS"), encoding="utf-8") as file:
            listed = [line.split("  ", 1)[1].rstrip("\n") for line in file]
        self.assertEqual(listed, [name for name in packages.files(root) if name != "SHA256SUMS"])
        packages.run("sha256sum", "--check", "--strict", "--quiet", "SHA256SUMS", cwd=root)

    def test_programs_need_nothing_but_windows(self):
        for name in PROGRAMS:
            listing = packages.run("x86_64-w64-mingw32-objdump", "-p",
                                   os.path.join(packages.unpacked_zip(), name)).stdout.decode("ascii", "replace")
            needed = {dll.lower() for dll in re.findall(r"DLL Name: (.+)\.dll", listing)}
            self.assertIn("kernel32", needed)
            self.assertLessEqual(needed, SYSTEM, name)

    def test_library_names_what_it_needs_as_the_files_are_named(self):
        listing = packages.run("x86_64-w64-mingw32-objdump", "-p",
                               os.path.join(packages.unpacked_zip(), "ZANTIR64.dll")).stdout.decode("ascii", "replace")
        # The one in capitals is in every process before, where its spelling costs nothing.
        self.assertEqual({"KERNEL32.dll", "advapi32.dll", "msvcrt.dll", "setupapi.dll"},
                         set(re.findall(r"DLL Name: (.+)", listing)))

    def test_programs_carry_no_debug_information(self):
        for name in PROGRAMS:
            sections = packages.run("x86_64-w64-mingw32-objdump", "-h",
                                    os.path.join(packages.unpacked_zip(), name)).stdout.decode("ascii", "replace")
            self.assertIn(".text", sections)
            self.assertNotIn(".debug", sections, name)

    def test_library_is_the_one_that_is_tested(self):
        library = "ZANTIR64.dll"
        with open(os.path.join(packages.unpacked_zip(), library), "rb") as packed, \
                open(os.path.join(packages.TOP, "build", "windows", library), "rb") as built:
            self.assertTrue(packed.read() == built.read(), "other bytes than those of the tests")


class WindowsSaleTest(packages.SaleCase):
    """Programs and DLL of the zip under Wine; the emulator is that of the zip too."""

    def setUp(self):
        self.root = packages.unpacked_zip()
        self.examples = os.path.join(self.root, "examples")
        self.wine = targets.Wine()
        self.wine.build = self.root
        self.wine.prepare()
        emulator, _, connection = self.wine.emulator()
        self.addCleanup(emulator.close)
        self.prepare(**connection)

    def sale(self):
        return "Z:" + super().sale().replace("/", "\\")

    def run_here(self, program, *arguments):
        return packages.run(os.path.join(packages.TOP, "scripts", "wine"), os.path.join(self.root, program + ".exe"),
                            *arguments, cwd=self.folder, env=self.wine.environment)

    def test_tool_sells(self):
        self.assert_tool_sells_with(os.path.basename(self.root) + "\\ZANTIR64.dll")

    def test_example_builds_with_either_import_library_and_sells(self):
        for library in ("libZANTIR64.dll.a", "ZANTIR64.lib"):
            with self.subTest(library):
                # Beside the DLL, in a copy: the unpacked folder stays as it was unpacked.
                program = os.path.join(packages.empty_folder(), "venda.exe")
                packages.run("x86_64-w64-mingw32-gcc-posix", "-I", os.path.join(self.root, "include"), "-o", program,
                             os.path.join(self.examples, "c", "venda.c"), os.path.join(self.examples, "demo", "reply.c"),
                             os.path.join(self.root, "lib", library))
                shutil.copy(os.path.join(self.root, "ZANTIR64.dll"), os.path.dirname(program))
                self.assert_example_sells(os.path.relpath(program, self.root)[:-len(".exe")])


if __name__ == "__main__":
    unittest.main()
