"""The interface is the recorded one, and a change of it does not go unnoticed."""
import os
import re
import subprocess
import sys
import tempfile
import unittest

import interface

BUILD = os.environ.get("ZANTIR_TEST_BUILD", "")


class HeaderTest(unittest.TestCase):
    def compare(self, change=lambda text: text):
        """What is said about a copy of the header with a change in it."""
        with open(interface.HEADER, encoding="utf-8") as file:
            text = file.read()
        with tempfile.NamedTemporaryFile("w", suffix=".h", encoding="utf-8") as copy:
            copy.write(change(text))
            copy.flush()
            done = subprocess.run([sys.executable, os.path.join(interface.HERE, "interface.py"), "compare", copy.name],
                                  capture_output=True, text=True, check=False)
        self.assertEqual("", done.stderr)
        return done

    def assert_told(self, pattern, change):
        done = self.compare(change)
        self.assertEqual(1, done.returncode, done.stdout)
        self.assertRegex(done.stdout, pattern)
        self.assertIn("state the impact on API and ABI in CHANGELOG.md", done.stdout)

    def test_every_compiler_reads_the_recorded_signatures(self):
        done = self.compare()
        self.assertEqual((0, ""), (done.returncode, done.stdout))

    def test_a_changed_type_is_told(self):
        self.assert_told(r"c on x86_64-linux-gnu: functions/ConsultarSAT/type was char \*\(int\), is char \*\(long\)",
                         lambda text: text.replace("ConsultarSAT(int ", "ConsultarSAT(long "))

    def test_a_changed_result_is_told(self):
        self.assert_told(r"functions/VersaoDllZantir/type was char \*\(void\), is const char \*\(void\)",
                         lambda text: text.replace("char* ZANTIR_CALL VersaoDllZantir", "const char* VersaoDllZantir"))

    def test_exchanged_parameters_are_told(self):
        self.assert_told(r"functions/EnviarDadosVenda/parameters was \['numeroSessao', 'codigoDeAtivacao', 'dadosVenda'\], "
                         r"is \['numeroSessao', 'dadosVenda', 'codigoDeAtivacao'\]",
                         lambda text: text.replace("EnviarDadosVenda(int numeroSessao, const char* codigoDeAtivacao, "
                                                   "const char* dadosVenda",
                                                   "EnviarDadosVenda(int numeroSessao, const char* dadosVenda, "
                                                   "const char* codigoDeAtivacao"))

    def test_a_lost_and_a_new_function_are_told(self):
        def renamed(text):
            return text.replace("ZANTIR_CALL ExtrairLogs", "ZANTIR_CALL ExtrairRegistros")
        self.assert_told("functions/ExtrairLogs is gone", renamed)
        self.assert_told("functions/ExtrairRegistros is new", renamed)

    def test_a_new_constant_is_told(self):
        self.assert_told(r"other_declarations was \[\], is \['EnumDecl '\]",
                         lambda text: text.replace("char* ZANTIR_CALL VersaoDllZantir",
                                                   "enum { LIMIT = 1 };\nchar* ZANTIR_CALL VersaoDllZantir"))

    def test_a_new_macro_is_told(self):
        self.assert_told("macros was .*, is .*'ZANTIR_LIMIT'", lambda text: text + "#define ZANTIR_LIMIT 1\n")

    def test_a_name_that_a_cpp_program_would_not_find_is_told(self):
        self.assert_told(r"c\+\+ on x86_64-linux-gnu: functions/ConsultarSAT is gone",
                         lambda text: text.replace('extern "C" {', "namespace zantir {"))


class ChangelogTest(unittest.TestCase):
    def test_every_release_states_its_impact(self):
        with open(os.path.join(interface.TOP, "CHANGELOG.md"), encoding="utf-8") as file:
            releases = re.split(r"^## ", file.read(), flags=re.MULTILINE)[1:]
        for release in releases:
            with self.subTest(release.split("\n")[0]):
                self.assertRegex(release, r"(?m)^- API: ")
                self.assertRegex(release, r"(?m)^- ABI: ")
        with open(os.path.join(interface.TOP, "CMakeLists.txt"), encoding="utf-8") as file:
            version = re.search(r"project\(\w+ VERSION ([0-9.]+)", file.read()).group(1)
        self.assertRegex(releases[0], rf"\A{re.escape(version)}\b")


class ExportsTest(unittest.TestCase):
    """Of the files that were built."""

    def assert_recorded(self, exports):
        names = interface.recorded()["functions"]
        self.assertEqual([], list(interface.differences(dict.fromkeys(names), dict.fromkeys(exports))), interface.ADVICE)

    def test_shared_object_exports_the_recorded_functions(self):
        exports = interface.exports_of_shared_object(os.path.join(BUILD, "libzantir64.so"))
        self.assert_recorded(exports)
        self.assertEqual({"T"}, set(exports.values()), "functions, not data")

    def test_dll_exports_the_recorded_functions(self):
        exports = interface.exports_of_dll(os.path.join(BUILD, "ZANTIR64.dll"))
        self.assert_recorded(exports)
        given = interface.recorded()["ordinals"]
        self.assertEqual(given, {name: exports[name] for name in given}, interface.ADVICE)


if __name__ == "__main__":
    unittest.main()
