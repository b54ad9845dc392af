"""file_managers_test.py EXTENSION-OF-NAUTILUS EXTENSION-OF-CAJA FOLDER: the menu items of file managers.

FOLDER holds the service menus. The bindings of the file managers are stood in for, and so is corvane-scan.
"""

import configparser
import importlib.util
import os
import sys
import tempfile
import types


class Item:
    """A menu item."""

    def __init__(self, name, label, tip):
        self.texts = (name, label, tip)
        self.handlers = []

    def connect(self, signal, handler, *arguments):
        self.handlers.append((signal, handler, arguments))

    def activate(self):
        for signal, handler, arguments in self.handlers:
            assert signal == "activate", signal
            handler(self, *arguments)


class File:
    """What is selected; without a path it is not local."""

    def __init__(self, path):
        self.path = path

    def get_location(self):
        return self

    def get_path(self):
        return self.path


def load(path, manager):
    """The extension, with bindings of one file manager."""
    repository = types.ModuleType("gi.repository")
    repository.GObject = types.SimpleNamespace(GObject=type("GObject", (), {}))
    setattr(repository, manager,
            types.SimpleNamespace(MenuProvider=type("MenuProvider", (), {}), MenuItem=Item))
    sys.modules["gi"] = types.ModuleType("gi")
    sys.modules["gi.repository"] = repository
    found = importlib.util.spec_from_file_location("extension_" + manager, path)
    module = importlib.util.module_from_spec(found)
    found.loader.exec_module(module)
    return module


def check_extension(path, manager, folder):
    told = os.path.join(folder, "told")
    module = load(path, manager)
    menu = module.CorvaneScanMenu()
    hostile = "/x/--action=delete \n\"$(touch /tmp/no)'"
    for arguments in [([File("/a"), File(hostile)],), ("window", [File("/a"), File(hostile)])]:
        os.mkfifo(told)
        items = menu.get_file_items(*arguments)
        assert [item.texts[1] for item in items] == ["Scan with Corvane"], items
        items[0].activate()
        with open(told, "rb") as pipe:
            got = pipe.read()
        os.unlink(told)
        assert got == b"--quiet\0--notify\0--\0/a\0" + hostile.encode() + b"\0", got
    assert menu.get_file_items([]) == []
    assert menu.get_file_items([File("/a"), File(None)]) == []


def check_service_menu(path, section, folder):
    parser = configparser.ConfigParser(interpolation=None, strict=True)
    parser.optionxform = str
    assert parser.read(os.path.join(folder, path), encoding="utf-8"), path
    entry = parser[section]
    assert entry["Exec"] == "corvane-scan --quiet --notify -- %F", entry["Exec"]
    assert entry["Name"] == "Scan with Corvane"
    return parser


def main(nautilus, caja, menus):
    with tempfile.TemporaryDirectory() as folder:
        program = os.path.join(folder, "corvane-scan")
        with open(program, "w", encoding="utf-8") as script:
            script.write("#!/bin/sh\nprintf '%s\\0' \"$@\" >'" + folder + "/told'\n")
        os.chmod(program, 0o755)
        os.environ["PATH"] = folder + ":" + os.environ["PATH"]
        check_extension(nautilus, "Nautilus", folder)
        check_extension(caja, "Caja", folder)
    check_service_menu("corvane-scan.nemo_action", "Nemo Action", menus)
    dolphin = check_service_menu("corvane-scan.desktop", "Desktop Action scanWithCorvane", menus)
    assert dolphin["Desktop Entry"]["Actions"] == "scanWithCorvane;"


main(*sys.argv[1:])
