"""Installs a build into a folder of its own, or packs it, and holds what comes out against what a desktop expects.

usage: check.py installed|entry|metainfo|manual|package|starts BUILD

The Debian package of the build is made once, and made again where the program is newer.
"""

import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

NAME = "com.tundra42.larkhaven"
FILES = {
    "bin/larkhaven",
    f"share/applications/{NAME}.desktop",
    f"share/dbus-1/services/{NAME}.service",
    "share/doc/larkhaven/changelog.gz",
    "share/doc/larkhaven/copyright",
    f"share/icons/hicolor/scalable/apps/{NAME}.svg",
    f"share/icons/hicolor/symbolic/apps/{NAME}-symbolic.svg",
    "share/man/man1/larkhaven.1.gz",
    f"share/metainfo/{NAME}.metainfo.xml",
}
PURPLE = "6a45d8"


def run(*command, environment=None, **options):
    """The output of a command that must succeed."""
    environment = {**os.environ, **(environment or {})}
    done = subprocess.run(command, capture_output=True, text=True, timeout=300, env=environment, check=False, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout + done.stderr


def demand(condition, text):
    if not condition:
        sys.exit(text)


@contextlib.contextmanager
def installation(build):
    with tempfile.TemporaryDirectory() as folder:
        run("cmake", "--install", build, "--prefix", "/usr", environment={"DESTDIR": folder})
        yield pathlib.Path(folder) / "usr"


def installed(build):
    with installation(build) as root:
        found = {path.relative_to(root).as_posix() for path in root.rglob("*") if path.is_file()}
        demand(found == FILES, f"missing {sorted(FILES - found)}, unexpected {sorted(found - FILES)}")
        service = (root / f"share/dbus-1/services/{NAME}.service").read_text()
        demand(f"Name={NAME}\n" in service and 'Exec="/usr/bin/larkhaven" --dbus-service\n' in service, service)
        scalable = (root / f"share/icons/hicolor/scalable/apps/{NAME}.svg").read_text()
        demand('viewBox="0 0 128 128"' in scalable and PURPLE in scalable, "the icon is another")
        symbolic = (root / f"share/icons/hicolor/symbolic/apps/{NAME}-symbolic.svg").read_text()
        demand(set(re.findall(r'fill="([^"]+)"', symbolic)) == {"#2e3436"}, "panels colour one colour only")


def entry(build):
    with installation(build) as root:
        path = root / f"share/applications/{NAME}.desktop"
        # Hints as well: none is expected.
        told = run("desktop-file-validate", path)
        demand(not told, told)
        text = path.read_text()
        for line in ('Exec="/usr/bin/larkhaven" %u', f"Icon={NAME}", "DBusActivatable=true", "StartupWMClass=larkhaven"):
            demand(f"\n{line}\n" in text, f"{line} is missing:\n{text}")


def metainfo(build):
    with installation(build) as root:
        # It looks for the desktop entry beside it.
        run("appstreamcli", "validate", "--no-net", root / f"share/metainfo/{NAME}.metainfo.xml")
        run("appstreamcli", "validate-tree", "--no-net", root.parent)


def manual(build):
    with installation(build) as root:
        page = root / "share/man/man1/larkhaven.1.gz"
        shown = run("man", "--warnings", "-E", "UTF-8", "-l", page, environment={"MANWIDTH": "80", "LC_ALL": "C.UTF-8"})
        demand("warning" not in shown, shown)
        for word in ("SYNOPSIS", "--dbus-service", "larkhaven.ini", "SSL_CERT_FILE"):
            demand(word in shown, f"{word} is missing:\n{shown}")


def packed(build):
    program = build / "app/larkhaven"
    known = sorted(build.glob("larkhaven_*.deb"))
    if known and known[0].stat().st_mtime > program.stat().st_mtime:
        return known[0]
    for old in known:
        old.unlink()
    run("cpack", "-G", "DEB", cwd=build)
    made = sorted(build.glob("larkhaven_*.deb"))
    demand(len(made) == 1, f"packages: {made}")
    return made[0]


def package(build):
    path = packed(build)
    files = {line.split()[-1] for line in run("dpkg-deb", "--contents", path).splitlines()}
    for name in FILES:
        demand(f"./usr/{name}" in files, f"{name} is not in the package")
    needed = run("dpkg-deb", "--field", path, "Depends")
    for name in ("breeze-icon-theme", "publicsuffix", "libpsl5", "libqt6svg6", "libqt6webenginewidgets6", "libenchant-2-2", "libsecret-1-0", "libssl3"):
        demand(re.search(rf"\b{re.escape(name)}\b", needed), f"{name} is not needed: {needed}")
    # As any user: the checks want no root.
    found = run("lintian", "--fail-on", "error,warning", "--allow-root", "--no-cfg", path)
    demand(not re.search(r"^[EW]:", found, re.M), found)
    print(found)
    print(run("apt-get", "install", "--dry-run", "--no-install-recommends", path))


def window_of(process, deadline):
    """The properties of the first window that is on the screen and has an icon."""
    while time.monotonic() < deadline:
        demand(process.poll() is None, f"the program ended with {process.returncode}")
        tree = run("xwininfo", "-root", "-tree")
        for window in re.findall(r"^\s+(0x[0-9a-f]+) .*larkhaven", tree, re.M):
            told = subprocess.run(["xprop", "-id", window, "WM_CLASS", "_NET_WM_ICON"],
                                  capture_output=True, text=True, timeout=30, check=False).stdout
            if "Icon (128 x 128)" in told:
                return told
        time.sleep(0.1)
    sys.exit("no window with an icon came up")


def starts(build):
    """The packed program, from a folder, on an empty profile, within a display and a session bus of its own."""
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        run("dpkg-deb", "--extract", packed(build), root / "system")
        folders = {f"XDG_{name}_HOME": str(root / name.lower()) for name in ("CONFIG", "CACHE", "DATA")}
        environment = {**os.environ, **folders, "HOME": str(root), "QT_QPA_PLATFORM": "xcb"}
        if os.geteuid() == 0:
            environment["QTWEBENGINE_DISABLE_SANDBOX"] = "1"
        with subprocess.Popen([root / "system/usr/bin/larkhaven"], env=environment) as process:
            try:
                told = window_of(process, time.monotonic() + 60)
                demand('WM_CLASS(STRING) = "larkhaven"' in told, told)
            finally:
                process.send_signal(signal.SIGTERM)
                process.wait(30)


def main():
    checks = {"installed": installed, "entry": entry, "metainfo": metainfo, "manual": manual, "package": package, "starts": starts}
    checks[sys.argv[1]](pathlib.Path(sys.argv[2]))
    print("as it should be")


if __name__ == "__main__":
    main()
