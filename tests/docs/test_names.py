"""The commands, options, faults and keys that the pages name exist in the programs."""
import functools
import json
import os
import re
import shlex
import subprocess
import tempfile
import unittest

import pages

unittest.TestCase.maxDiff = None

BUILD = os.environ.get("ZANTIR_TEST_BUILD", os.path.join(pages.TOP, "build", "linux"))
COMMAND = re.compile(r"(?:^|[\s|/(])(zantir|sat-emulator)(?:\.exe)?((?:\s+[^|;&<>]+)?)")
OPTION = re.compile(r"^--[a-z][\w-]*")


@functools.cache
def help_of(program, command=None):
    arguments = [command, "--help"] if command else ["--help"]
    done = subprocess.run([os.path.join(BUILD, program), *arguments], check=True, capture_output=True, text=True)
    return done.stdout


def options_in(text):
    """Without those of its examples, which may be another command's."""
    return set(re.findall(r"--[a-z][\w-]*", re.split(r"^Exemplo", text, flags=re.M)[0]))


@functools.cache
def subcommands():
    section = help_of("zantir").split("Comandos:")[1].split("Exemplos:")[0]
    return tuple(re.findall(r"^  (\w+) ", section, re.M))


@functools.cache
def known_options():
    """Every option of our programs and scripts."""
    texts = [help_of("zantir"), help_of("sat-emulator"), *(help_of("zantir", name) for name in subcommands())]
    texts += [pages.read(name) for name in pages.tracked() if name.startswith(("scripts/", "tests/simulation/simulate/"))]
    return set().union(*map(options_in, texts))


def words_of(text):
    try:
        return shlex.split(text, comments=True)
    except ValueError:
        return text.split()


def complaint(program, words):
    """What is wrong with the words behind a program's name, or None."""
    command, known = None, options_in(help_of(program))
    if program == "zantir":
        command = next((word for word in words if word in subcommands()), None)
        plain = [word for word in words if not word.startswith("-")]
        if command is None and plain and words[0] == plain[0] and re.fullmatch(r"[a-z]+", plain[0]):
            return f"zantir has no command {plain[0]}"
        known = known | (options_in(help_of("zantir", command)) if command else set())
    wrong = [word for word in words if OPTION.match(word) and OPTION.match(word).group() not in known]
    return f"{program} {command or ''} has no {', '.join(wrong)}" if wrong else None


def code_of(page):
    """(line, text) of every piece of code that may name a program."""
    yield from page.inline_code
    for block in page.blocks:
        if block.language in ("", "sh", "bat"):
            for number, text in enumerate(block.text.splitlines()):
                yield block.line + number, text


class CommandTest(unittest.TestCase):
    def test_the_help_is_understood(self):
        self.assertIn("diagnostico", subcommands())
        self.assertIn("--codigo", options_in(help_of("zantir", "vender")))
        self.assertIsNotNone(complaint("zantir", ["vende", "x.xml"]))
        self.assertIsNotNone(complaint("zantir", ["vender", "x.xml", "--html=x"]))
        self.assertIsNotNone(complaint("sat-emulator", ["--falha"]))

    def test_each_command_and_option_exists(self):
        wrong = []
        for page in pages.all_pages():
            for line, text in code_of(page):
                for program, rest in COMMAND.findall(text):
                    problem = complaint(program, words_of(rest))
                    if problem:
                        wrong.append(f"{page.name}:{line}: {problem}")
        self.assertEqual([], wrong)

    def test_each_option_that_stands_alone_exists(self):
        wrong = [f"{page.name}:{line}: {text}" for page in pages.all_pages() for line, text in page.inline_code
                 if OPTION.match(text) and OPTION.match(text).group() not in known_options()]
        self.assertEqual([], wrong)


class SettingsTest(unittest.TestCase):
    def test_each_sat_ini_that_is_shown_is_understood_whole(self):
        for page in pages.manual().values():
            for block in page.blocks:
                if block.language != "ini":
                    continue
                with self.subTest(page=page.name, line=block.line):
                    self.assertEqual([], self.unknown_keys(block.text))

    def unknown_keys(self, text):
        # No library and no port of this machine: only what is written counts.
        text = re.sub(r"COM1\d{3}", "COM96", text)
        with tempfile.TemporaryDirectory() as folder:
            with open(os.path.join(folder, "SAT.ini"), "w", encoding="utf-8") as file:
                file.write(text)
            # The page says that this folder has to be there; here a Windows path lies below the current folder.
            for path in re.findall(r"^PathWindows=C:(.+)$", text, re.M):
                os.makedirs(os.path.join(folder, "C:" + path.replace("\\", "/")))
            done = subprocess.run([os.path.join(BUILD, "zantir"), "diagnostico", "--json", "--dll", "none.so"],
                                  cwd=folder, capture_output=True, text=True, stdin=subprocess.DEVNULL)
        found = {check["nome"]: check for check in json.loads(done.stdout)["verificacoes"]}
        return [detail for name in ("chaves", "valores") for detail in found[name]["detalhes"]]

    def test_a_key_that_is_not_known_is_found(self):
        self.assertNotEqual([], self.unknown_keys("[LOG]\nLogMood=1\n"))


class EmulatorTableTest(unittest.TestCase):
    """The page of the emulator against what the emulator says of itself."""

    names = ("docs/pt/emulador.md", "docs/en/emulator.md")

    def first_columns(self, page):
        """The code in the first cell of each row, a list for each table."""
        manual = pages.manual()
        self.assertTrue(page in manual, page)
        return [[re.sub(r"`", "", row[0]).split(" ")[0] for row in table[1:]] for table in manual[page].tables]

    def rows(self, page):
        return {row[0].strip("`"): row for table in pages.manual()[page].tables for row in table[1:]}

    @staticmethod
    def faults():
        """Each fault of the program with its parameters, "block=1" or "number"."""
        text = help_of("sat-emulator").split("Falhas, com os parametros")[1].split("\n\n")[0]
        found, name = {}, None
        for line in text.splitlines():
            begun = re.match(r"  ([a-z]+(?:-[a-z]+)*) +\S", line)
            if begun:
                name = begun.group(1)
            elif line.startswith(" " * 16) and name:
                found[name] = set(re.findall(r"(?:^|, )([a-z]+(?:=\w+)?)(?= \(|$)", line.strip()))
        return found

    def test_each_fault_is_in_the_table_with_its_parameters(self):
        faults = self.faults()
        self.assertGreater(len(faults), 10)
        for page in self.names:
            with self.subTest(page=page):
                self.assertIn(sorted(faults), [sorted(column) for column in self.first_columns(page)])
                rows = self.rows(page)
                shown = {name: set(re.findall(r"`([^`]+)`", rows[name][2])) for name in faults}
                self.assertEqual(faults, shown)

    def test_each_state_is_in_the_table(self):
        states = re.search(r"--start-as TEXT:\{([^}]*)\}", help_of("sat-emulator")).group(1).split(",")
        for page in self.names:
            with self.subTest(page=page):
                self.assertIn(sorted(states), [sorted(column) for column in self.first_columns(page)])

    def test_each_option_is_in_the_table(self):
        options = options_in(help_of("sat-emulator").split("Falhas, com")[0]) - {"--help"}
        for page in self.names:
            with self.subTest(page=page):
                self.assertIn(sorted(options), [sorted(column) for column in self.first_columns(page)])

    def test_each_command_of_its_input_is_in_the_table(self):
        done = subprocess.run([os.path.join(BUILD, "sat-emulator")], input="help\nquit\n", capture_output=True,
                              text=True, timeout=30, check=True)
        known = re.findall(r"^  ([a-z]+) ", done.stdout.split("Comandos:")[1].split("Falhas, com")[0], re.M)
        self.assertIn("fault", known)
        for page in self.names:
            with self.subTest(page=page):
                self.assertIn(sorted(known), [sorted(column) for column in self.first_columns(page)])


class FunctionTableTest(unittest.TestCase):
    def test_the_readme_has_each_function_with_its_time_out(self):
        header = re.sub(r"\s*\n \*(?!/) ?", " ", pages.read("include/zantir.h"))
        described = re.findall(r"/\*\*((?:(?!\*/).)*)\*/\s*(?:const )?char\* ZANTIR_CALL (\w+)\(", header, re.S)
        expected = {name: re.search(r"Time-out (\d+) s", text).group(1) for text, name in described if "Time-out" in text}
        self.assertEqual(16, len(expected))
        readme = next(page for page in pages.all_pages() if page.name == "README.md")
        table = next(table for table in readme.tables if table[0][0] == "function")
        self.assertEqual(expected, {row[0].strip("`"): row[2] for row in table[1:] if row[2]})


class PortTableTest(unittest.TestCase):
    def test_the_ports_of_linux_are_those_of_the_library(self):
        kinds = re.findall(r'\{(\d+), (\d+), "(\w+)"\}', pages.read("src/platform/posix/port.h"))
        self.assertEqual(3, len(kinds))
        expected = [[f"COM{first}", f"COM{int(first) + int(count) - 1}", f"/dev/{name}0", f"/dev/{name}{int(count) - 1}"]
                    for first, count, name in kinds]
        for page in ("docs/pt/linux.md", "docs/en/linux.md"):
            with self.subTest(page=page):
                self.assertTrue(page in pages.manual(), page)
                rows = [row for table in pages.manual()[page].tables for row in table]
                shown = [re.findall(r"`([^`]+)`", " ".join(row)) for row in rows if row[0].startswith("`COM")]
                self.assertEqual(expected, shown[:3])


class ToolTest(unittest.TestCase):
    def test_each_command_of_the_tool_is_named_where_trouble_is_treated(self):
        for name in ("docs/pt/problemas.md", "docs/en/troubleshooting.md"):
            with self.subTest(page=name):
                self.assertTrue(name in pages.tracked(), name)
                text = pages.read(name)
                self.assertEqual([], [command for command in subcommands() if f"`zantir {command}`" not in text])


if __name__ == "__main__":
    unittest.main()
