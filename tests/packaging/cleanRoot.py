"""A folder with a minimal Debian system, for tests that install packages. It consists of installed
packages of this system: those named, the essential ones, and their dependencies. It contains no
other files, so a package that works there declares everything that it needs."""

import os
import re
import shutil
import subprocess
from pathlib import Path

DATABASE = Path("/var/lib/dpkg")
NOT_COPIED = ("/usr/share/doc/", "/usr/share/info/", "/usr/share/locale/", "/usr/share/man/")
STATE = ("/var/lib/dpkg/", "/var/log/", "/var/cache/ldconfig/")
ENVIRONMENT = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8", "HOME": "/root",
               "DEBIAN_FRONTEND": "noninteractive"}


def stanzas():
    """The installed packages by name: the fields of each, and its text in the database."""
    packages = {}
    for text in (DATABASE / "status").read_text(encoding="utf-8").strip().split("\n\n"):
        fields = dict(re.findall(r"^([\w-]+): (.*)$", text, re.MULTILINE))
        if fields["Status"].endswith(" installed"):
            packages[fields["Package"]] = fields, text
    return packages


def with_dependencies(names, packages):
    """The packages with these names and their dependencies."""
    provided = {}
    for name, (fields, _) in packages.items():
        for entry in [name, *fields.get("Provides", "").split(",")]:
            provided.setdefault(entry.split("(")[0].strip(), name)
    wanted = set()
    left = list(names)
    while left:
        name = left.pop()
        if name in wanted:
            continue
        wanted.add(name)
        fields = packages[name][0]
        groups = fields.get("Depends", "") + "," + fields.get("Pre-Depends", "")
        for group in groups.split(","):
            choices = [re.split(r"[\s(:]", choice.strip())[0] for choice in group.split("|")]
            left.extend([provided[choice] for choice in choices if choice in provided][:1])
    return wanted


class CleanRoot:
    def __init__(self, folder):
        self.folder = Path(folder)
        self.installed = stanzas()
        self.packages = set()
        self.known = set()
        for link in ("bin", "sbin", "lib", "lib64", "lib32", "libx32"):
            if Path("/", link).is_symlink():
                target = os.readlink(Path("/", link))
                (self.folder / target).mkdir(parents=True, exist_ok=True)
                (self.folder / link).symlink_to(target)
        for name in ("info", "triggers", "updates", "alternatives", "parts"):
            (self.folder / "var/lib/dpkg" / name).mkdir(parents=True)
        for name in ("dev", "etc", "proc", "root", "tmp"):
            (self.folder / name).mkdir()
        for name in ("null", "urandom"):
            device = os.stat(f"/dev/{name}")
            try:
                os.mknod(self.folder / "dev" / name, device.st_mode, device.st_rdev)
            except PermissionError:  # in some containers; a file is enough for what runs here
                (self.folder / "dev" / name).write_bytes(os.urandom(256) * (name == "urandom"))
        for name in ("group", "passwd"):
            shutil.copy(Path("/etc", name), self.folder / "etc")
        self.known = self.files()
        self.add(name for name, (fields, _) in self.installed.items()
                 if "yes" in (fields.get("Essential"), fields.get("Protected")))

    def add(self, names):
        """Adds packages of this system, with their dependencies."""
        names = set(names)
        missing = names - set(self.installed)
        if missing:
            raise RuntimeError("not installed: " + " ".join(sorted(missing)))
        new = with_dependencies(names, self.installed) - self.packages
        self.packages |= new
        others = self.files() - self.known
        database = self.folder / "var/lib/dpkg"
        with (database / "status").open("a", encoding="utf-8") as status:
            status.writelines(self.installed[name][1] + "\n\n" for name in sorted(new))
        shutil.copy(DATABASE / "info" / "format", database / "info")
        names = set()
        for file in (DATABASE / "info").iterdir():
            if file.stem.split(":")[0] in new:
                shutil.copy2(file, database / "info")
                if file.suffix == ".list":
                    names.update(file.read_text(encoding="utf-8").splitlines())
        for file in (DATABASE / "triggers").iterdir():
            lines = [line for line in file.read_text().splitlines(keepends=True)
                     if re.split(r"[:/]", line.split()[-1])[0] in self.packages]
            if lines:
                (database / "triggers" / file.name).write_text("".join(lines))
        self.copy(name.lstrip("/") for name in names if os.path.lexists(name)
                  and not name.startswith(NOT_COPIED) and name != "/.")
        self.run("ldconfig")
        self.known = self.files() - others

    def copy(self, names):
        archive = subprocess.Popen(
            ["tar", "-C", "/", "--create", "--no-recursion", "--null", "--files-from=-"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        extraction = subprocess.Popen(
            ["tar", "-C", self.folder, "--extract", "--keep-directory-symlink"],
            stdin=archive.stdout)
        archive.stdin.write("\0".join(sorted(names)).encode())
        archive.stdin.close()
        archive.stdout.close()
        if archive.wait() or extraction.wait():
            raise RuntimeError("the files of the packages cannot be copied")

    def run(self, *command, cwd="/", check=True):
        """Runs a command within the root, and returns its output."""
        result = subprocess.run(
            ["chroot", self.folder, "/bin/sh", "-c", 'cd "$0" && exec "$@"', cwd, *command],
            env=ENVIRONMENT, text=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, timeout=300)
        if check and result.returncode:
            raise AssertionError(f"{' '.join(map(str, command))}: exit code {result.returncode}\n"
                                 + result.stdout)
        return result.stdout

    def files(self):
        """All files and folders, except those in which dpkg and ldconfig keep their state."""
        found = set()
        for folder, folders, files in os.walk(self.folder):
            path = Path("/") / Path(folder).relative_to(self.folder)
            found.update(str(path / name) for name in [*folders, *files])
        return {name for name in found if not name.startswith(STATE)}

    def left_over(self):
        """The files that do not belong to this system's packages."""
        return sorted(name for name in self.files() - self.known if not name.startswith("/tmp/"))
