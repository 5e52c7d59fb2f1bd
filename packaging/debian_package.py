"""The .deb for Linux."""
import email.utils
import gzip
import hashlib
import os
import re
import time

from contents import LICENCES, TOP, Stage, epoch, run, version

LIBRARIES = "usr/lib/x86_64-linux-gnu"
DOCUMENTS = "usr/share/doc/zantir"
MAINTAINER = "Zantir <zantir@zantir.invalid>"
TEMPLATES = os.path.join(TOP, "packaging", "debian")
COMPLETIONS = {
    "bash": "usr/share/bash-completion/completions/zantir",
    "zsh": "usr/share/zsh/vendor-completions/_zantir",
}


def fill(stage, build):
    stage.strip("strip", os.path.join(build, "libzantir64.so"), f"{LIBRARIES}/libzantir64.so", 0o644)
    for name in ("zantir", "sat-emulator"):
        stage.strip("strip", os.path.join(build, name), f"usr/bin/{name}")
    stage.copy(os.path.join(TOP, "include", "zantir.h"), "usr/include/zantir.h")
    for shell, place in COMPLETIONS.items():
        stage.write(place, run(os.path.join(build, "zantir"), "completar", shell).encode("utf-8"))
    stage.documents(DOCUMENTS)
    # One header, reached by the compiler's way and by the documents' links.
    header = stage.path(f"{DOCUMENTS}/include/zantir.h")
    os.remove(header)
    os.symlink("../../../../include/zantir.h", header)
    stage.licences(f"{DOCUMENTS}/licences", LICENCES)
    stage.copy(os.path.join(TEMPLATES, "copyright"), f"{DOCUMENTS}/copyright")
    compressed(stage, f"{DOCUMENTS}/changelog.gz", changelog())
    compressed(stage, "usr/share/man/man1/zantir.1.gz",
               manual(build, "zantir", "technician's command line for a SAT fiscal device", "--lang", "en"))
    compressed(stage, "usr/share/man/man1/sat-emulator.1.gz",
               manual(build, "sat-emulator", "emulated SAT fiscal device on a serial line"))
    stage.copy(os.path.join(TEMPLATES, "lintian-overrides"), "usr/share/lintian/overrides/zantir")


def compressed(stage, place, text):
    stage.write(place, gzip.compress(text.encode("utf-8"), 9, mtime=0))


def changelog():
    """In the form that the distribution's tools read; what changed stands in one file for all systems."""
    return (f"zantir ({version()}) unstable; urgency=medium\n\n  * See CHANGELOG.md beside this file.\n\n"
            f" -- {MAINTAINER}  {email.utils.formatdate(epoch())}\n")


def manual(build, name, summary, *options):
    """A manual page that says what --help says, so that the two never differ."""
    lines = run(os.path.join(build, name), *options, "--help").splitlines()
    body = [line.replace("\\", "\\e").replace("-", "\\-") for line in lines]
    # At the start of a line these two would be commands.
    body = ["\\&" + line if line[:1] in (".", "'") else line for line in body]
    date = time.strftime("%Y-%m-%d", time.gmtime(epoch()))
    return "\n".join([f'.TH {name.upper()} 1 {date} "zantir {version()}"', ".SH NAME", f"{name} \\- {summary}",
                      ".SH DESCRIPTION", ".nf", *body, ".fi", ""])


def dependencies(stage, work):
    """What the programs need, with the versions that they need, as the distribution's own tool finds it."""
    with open(os.path.join(work, "debian", "control"), "w", encoding="ascii") as file:
        file.write("Source: zantir\n\nPackage: zantir\nArchitecture: amd64\n")
    programs = [f"-e{stage.path(place)}" for place in
                (f"{LIBRARIES}/libzantir64.so", "usr/bin/zantir", "usr/bin/sat-emulator")]
    found = run("dpkg-shlibdeps", "-O", *programs, cwd=work)
    return re.search(r"^shlibs:Depends=(.+)$", found, re.MULTILINE).group(1)


def control(stage, work):
    """The files that the package manager itself reads."""
    files = stage.files()
    kilobytes = sum(-(-os.lstat(stage.path(name)).st_size // 1024) for name in files)
    sums = []
    for name in files:
        if not os.path.islink(stage.path(name)):
            with open(stage.path(name), "rb") as file:
                sums.append(f"{hashlib.md5(file.read()).hexdigest()}  {name}\n")
    with open(os.path.join(TEMPLATES, "control"), encoding="utf-8") as file:
        text = file.read().format(version=version(), maintainer=MAINTAINER, size=kilobytes, depends=dependencies(stage, work))
    stage.write("DEBIAN/control", text.encode("utf-8"))
    stage.write("DEBIAN/md5sums", "".join(sums).encode("utf-8"))
    stage.copy(os.path.join(TEMPLATES, "triggers"), "DEBIAN/triggers")


def make(build, work, output):
    """The path of the new package."""
    # Where the distribution's tools look for a package that is being made.
    stage = Stage(os.path.join(work, "debian", "zantir"))
    os.makedirs(stage.path("DEBIAN"))
    fill(stage, build)
    control(stage, work)
    date = epoch()
    for folder, _, names in os.walk(stage.root):
        os.chmod(folder, 0o755)
        for place in (folder, *(os.path.join(folder, name) for name in names)):
            os.utime(place, (date, date), follow_symlinks=False)
    path = os.path.join(output, f"zantir_{version()}_amd64.deb")
    # One thread: how a file is cut into parts for several is not the same on every machine.
    run("env", f"SOURCE_DATE_EPOCH={date}", "dpkg-deb", "--root-owner-group", "--threads-max=1", "-Zxz", "--build",
        stage.root, path)
    return path
