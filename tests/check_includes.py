#!/usr/bin/env python3
"""Fails on an include that points against the arrows between the folders.

usage: check_includes.py [ROOT]

ALLOWED names, for each folder, the project folders that its files may include; a folder may always include itself.
The longest matching folder counts. Tests, benchmarks and fuzz targets may include everything but the example.
"""
import pathlib
import re
import sys

BASE = ['kov_sdk/KovTypes.h']
FRAME = BASE + ['kov_sdk', 'abstract_task', 'kov_sdk_communication', 'gui/KovGuiGlobal.h', 'gui/KovVersion.h', 'gui/KovGui.h', 'gui/Clock.h',
                'gui/GUI.h', 'gui/ImplementationRegistry_p.h', 'gui/LibraryVersion_p.h', 'gui/log', 'gui/platform']
ALLOWED = {
    'kov_sdk': [],
    'abstract_task': BASE,
    'kov_sdk_communication': ['kov_sdk'],
    'gui/platform': ['gui/KovGuiGlobal.h'],
    'gui/log': BASE + ['gui/platform', 'gui/KovGuiGlobal.h', 'gui/KovGui.h'],
    'gui/help': FRAME,
    'gui/window': FRAME,
    'gui/messages': FRAME + ['gui/help', 'gui/window'],
    'gui/tasks': FRAME + ['gui/help', 'gui/window', 'gui/messages'],
    'gui/update/catalogue': ['gui/KovGuiGlobal.h'],
    'gui/update': FRAME + ['gui/update/catalogue', 'gui/help', 'gui/window', 'gui/messages', 'gui/tasks'],
    # The frame fills the implementation registry, so it names the classes of every folder.
    'gui': FRAME + ['gui/help', 'gui/window', 'gui/messages', 'gui/tasks', 'gui/update'],
    'programs/updater': ['gui/update/catalogue', 'gui/KovVersion.h'],
    'programs/download_utility': ['gui/tasks/FileName.h'],
    'examples/console': FRAME + ['gui'],
    'tests': FRAME + ['gui', 'programs'],
    'benchmarks': FRAME + ['gui'],
    'fuzz': FRAME + ['gui', 'programs'],
}
SYSTEM_MACRO = re.compile(r'#\s*(?:if|ifdef|ifndef|elif)\b.*\b(_WIN32|WIN32|Q_OS_\w+|__linux__|__unix__)\b')
# The export macros of headers below Qt are the only other place.
MACRO_HOMES = ('gui/platform/', 'gui/log/LogExport.h', 'kov_sdk/KovSdk.h')
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def covers(entry, path):
    return path == entry or path.startswith(entry + '/')


def complaints(root):
    for path in sorted(p for p in root.rglob('*') if p.suffix in ('.h', '.cpp', '.c')
                       and 'build' not in p.relative_to(root).parts):
        name = path.relative_to(root).as_posix()
        owners = [folder for folder in ALLOWED if covers(folder, name)]
        if not owners:
            continue
        owner = max(owners, key=len)
        text = path.read_text(errors='replace')
        for number, line in enumerate(text.splitlines(), 1):
            if SYSTEM_MACRO.search(line) and not name.startswith(MACRO_HOMES) and not name.startswith('tests/'):
                yield f'{name}:{number}: an operating system is asked for outside gui/platform'
            match = INCLUDE.match(line)
            if not match or not re.match(r'(abstract_task|kov_sdk|kov_sdk_communication|gui|programs|examples)/', match[1]):
                continue
            target = match[1]
            home = max((f for f in ALLOWED if covers(f, target)), key=len, default='')
            if home != owner and not any(covers(entry, target) for entry in ALLOWED[owner]):
                yield f'{name}:{number}: {owner} must not include {target}'


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent).resolve()
    found = list(complaints(root))
    print('\n'.join(found) if found else 'no forbidden include')
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
