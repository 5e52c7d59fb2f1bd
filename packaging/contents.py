"""What is in the packages: where each file comes from and where it goes."""
import os
import re
import subprocess

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# Keep their places beside each other, so that the links from one to another lead somewhere.
DOCUMENTS = ("README.md", "CHANGELOG.md", "SECURITY.md", "docs", "examples", "include")
# What builds the examples inside these sources, and is of no use outside.
LEFT_OUT = re.compile(r"(^|/)CMakeLists\.txt$")

# The licences of what the products contain, which ask to be passed on with them.
LICENCES = {
    "CLI11.txt": "/usr/share/doc/libcli11-dev/copyright",
    "JSON-for-Modern-Cpp.txt": "/usr/share/doc/nlohmann-json3-dev/copyright",
    "GCC-runtime.txt": "/usr/share/doc/libstdc++6/copyright",
}
WINDOWS_LICENCES = {
    **LICENCES,
    "libxml2.txt": os.path.join(TOP, "build", "third_party", "libxml2", "Copyright"),
    "MinGW-w64-runtime.txt": "/usr/share/doc/mingw-w64-x86-64-dev/copyright",
}


def version():
    with open(os.path.join(TOP, "CMakeLists.txt"), encoding="utf-8") as file:
        return re.search(r"project\(\w+ VERSION ([0-9.]+)", file.read()).group(1)


def epoch():
    """The one time of everything in a package: that of the last commit, or what the environment says."""
    given = os.environ.get("SOURCE_DATE_EPOCH")
    if given is None:
        given = run("git", "-C", TOP, "log", "-1", "--format=%ct")
    return int(given)


def run(*command, **options):
    """The output of a program that must succeed; in the language that other programs read."""
    environment = {**os.environ, "LC_ALL": "C.UTF-8"}
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, env=environment, encoding="utf-8", **options).stdout


class Stage:
    """The folder that becomes a package."""

    def __init__(self, root):
        self.root = root

    def path(self, place):
        whole = os.path.join(self.root, place)
        os.makedirs(os.path.dirname(whole), exist_ok=True)
        return whole

    def write(self, place, data, mode=0o644):
        whole = self.path(place)
        with open(whole, "wb") as file:
            file.write(data)
        # Nothing depends on the umask of whoever makes the package.
        os.chmod(whole, mode)

    def copy(self, source, place, mode=0o644):
        with open(source, "rb") as file:
            self.write(place, file.read(), mode)

    def strip(self, tool, source, place, mode=0o755):
        """A product without its symbols and debug information."""
        # Windows files carry a time of their own, which this option leaves at none.
        run(tool, "--strip-all", "--preserve-dates", "-o", self.path(place), source)
        os.chmod(self.path(place), mode)

    def documents(self, place):
        """The documents, the examples and the reference. Only committed files: no trace of whoever tried an example."""
        listed = run("git", "-C", TOP, "ls-files", "-z", *DOCUMENTS).split("\0")
        for name in filter(None, listed):
            if not LEFT_OUT.search(name):
                self.copy(os.path.join(TOP, name), os.path.join(place, name))
        pages = os.path.join(TOP, "build", "reference")
        for folder, _, names in os.walk(pages):
            for name in names:
                source = os.path.join(folder, name)
                self.copy(source, os.path.join(place, "docs", "reference", os.path.relpath(source, pages)))

    def licences(self, place, licences):
        for name, source in licences.items():
            self.copy(source, os.path.join(place, name))

    def files(self):
        """Every file and link, in the same order on every machine."""
        found = [os.path.relpath(os.path.join(folder, name), self.root)
                 for folder, _, names in os.walk(self.root) for name in names]
        return sorted(found)
