"""The zip for Windows."""
import hashlib
import os
import time
import zipfile

from contents import TOP, WINDOWS_LICENCES, Stage, epoch, run, version

STRIP = "x86_64-w64-mingw32-strip"
DEFINITION = os.path.join(TOP, "src", "api", "ZANTIR64.def")


def fill(stage, build):
    # The programs stand beside the library, where they and Windows look for it first.
    stage.copy(os.path.join(build, "ZANTIR64.dll"), "ZANTIR64.dll", 0o755)
    for name in ("zantir.exe", "sat-emulator.exe"):
        stage.strip(STRIP, os.path.join(build, name), name)
    stage.copy(os.path.join(build, "libZANTIR64.dll.a"), "lib/libZANTIR64.dll.a")
    stage.copy(DEFINITION, "lib/ZANTIR64.def")
    # The same for compilers that know no ".dll.a".
    run("llvm-dlltool", "-m", "i386:x86-64", "-D", "ZANTIR64.dll", "-d", DEFINITION, "-l", stage.path("lib/ZANTIR64.lib"))
    os.chmod(stage.path("lib/ZANTIR64.lib"), 0o644)
    # The program for this machine writes the same text as the one in the package.
    stage.write("zantir.ps1", run(os.path.join(TOP, "build", "linux", "zantir"), "completar", "powershell").encode("utf-8"))
    with open(os.path.join(TOP, "packaging", "LEIA-ME.txt"), encoding="utf-8") as file:
        # For editors that show nothing else as a line's end.
        stage.write("LEIA-ME.txt", file.read().replace("\n", "\r\n").encode("utf-8-sig"))
    stage.documents("")
    stage.licences("licences", WINDOWS_LICENCES)
    stage.write("SHA256SUMS", checksums(stage.root, stage.files()))


def checksums(root, names):
    """As `sha256sum` writes and checks them."""
    lines = []
    for name in names:
        with open(os.path.join(root, name), "rb") as file:
            lines.append(f"{hashlib.sha256(file.read()).hexdigest()}  {name}\n")
    return "".join(lines).encode("utf-8")


def make(build, work, output):
    """The path of the new zip."""
    name = f"zantir-{version()}-windows-x64"
    stage = Stage(os.path.join(work, name))
    fill(stage, build)
    date = time.gmtime(epoch())[:6]
    path = os.path.join(output, name + ".zip")
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for place in stage.files():
            entry = zipfile.ZipInfo(f"{name}/{place}", date)
            entry.create_system = 3  # the modes below are those of this system
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = os.stat(stage.path(place)).st_mode << 16
            with open(stage.path(place), "rb") as file:
                archive.writestr(entry, file.read(), compresslevel=9)
    return path
