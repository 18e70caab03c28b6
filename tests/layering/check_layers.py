#!/usr/bin/env python3
"""Fails when a source includes a header of a layer above its own, or when a source below the
widgets includes a Qt Gui or Qt Widgets header.

    check_layers.py SOURCE_ROOT QT_INCLUDE_ROOT
"""
import pathlib
import re
import sys

# What each folder may include besides itself; the same table the CMake targets link by.
FOUNDATIONS = {"common", "errors"}
MODEL = FOUNDATIONS | {"outlook"}
ALLOWED = {
    "common": set(),
    "errors": {"common"},
    "outlook": FOUNDATIONS,
    "store/local": MODEL,
    # The header cache keeps its rows with the embedded store's SQLite wrapper.
    "store/maildir": MODEL | {"store/local"},
    # Headers and folder names are decoded as the Maildir backend decodes them.
    "store/imap": MODEL | {"store/maildir", "store/local"},
    "store": MODEL | {"store/local", "store/maildir", "store/imap"},
    "window": MODEL,
    "tree": MODEL | {"window"},
    "cache": MODEL | {"window", "tree"},
    "grid": MODEL | {"window", "tree", "cache"},
    "marking": MODEL | {"window", "tree", "cache", "grid"},
    "clean": MODEL | {"window", "tree", "cache", "grid", "marking"},
    "settings": FOUNDATIONS,
    "layout": FOUNDATIONS | {"window"},
    "help": FOUNDATIONS | {"window", "layout", "settings"},
    "app": MODEL | {"window", "tree", "cache", "grid", "marking", "clean", "layout", "settings",
                    "help"},
    # Saved cleanings put their marks back through the window's logic.
    "cleanings": MODEL | {"window", "tree", "cache", "grid", "marking", "clean", "layout",
                          "settings", "help", "app"},
    # The front end without a window: the window's logic and every store backend.
    "cli": MODEL | {"store", "store/local", "store/maildir", "store/imap", "window", "tree",
                    "cache", "grid", "marking", "clean", "layout", "settings", "help", "app",
                    "cleanings"},
}
# Folders whose sources must build without Qt Gui and Qt Widgets: everything but the views.
HEADLESS = set(ALLOWED)

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)


def folder_of(path: pathlib.PurePosixPath) -> str:
    """The longest folder of the table that holds path ("store/local", "app")."""
    parts = path.parts[:-1]
    for n in range(len(parts), 0, -1):
        candidate = "/".join(parts[:n])
        if candidate in ALLOWED:
            return candidate
    return ""


def gui_headers(qt_root: pathlib.Path) -> set:
    names = set()
    for module in ("QtGui", "QtWidgets", "QtOpenGL", "QtOpenGLWidgets", "QtHelp"):
        directory = qt_root / module
        if directory.is_dir():
            for header in directory.iterdir():
                names.add(header.name)
                names.add(f"{module}/{header.name}")
            names.add(module)
    return names


def main() -> int:
    root = pathlib.Path(sys.argv[1]).resolve()
    qt_root = pathlib.Path(sys.argv[2])
    forbidden_qt = gui_headers(qt_root)
    if not forbidden_qt:
        print(f"check_layers: no Qt Gui headers under {qt_root}", file=sys.stderr)
        return 2
    problems = []
    checked = 0
    for source in sorted(root.rglob("*")):
        if source.suffix not in (".h", ".cpp") or not source.is_file():
            continue
        relative = pathlib.PurePosixPath(source.relative_to(root).as_posix())
        if relative.parts[0].startswith("build") or "widgets" in relative.parts:
            continue
        folder = folder_of(relative)
        if not folder:
            continue
        checked += 1
        for kind, name in INCLUDE.findall(source.read_text(encoding="utf-8")):
            if kind == "<":
                if folder in HEADLESS and name in forbidden_qt:
                    problems.append(f"{relative}: includes <{name}>, a Qt Gui or Widgets header")
                continue
            target = folder_of(pathlib.PurePosixPath(name))
            if target and target != folder and target not in ALLOWED[folder]:
                problems.append(f"{relative}: includes \"{name}\" from {target}/, "
                                f"which {folder}/ may not use")
    for problem in problems:
        print(problem)
    print(f"check_layers: {checked} sources, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
