#!/usr/bin/env python3
"""Fails on an include that points against the arrows between the folders, on a circle, and on a folder that is too full.

usage: check_includes.py [ROOT]

A room is a folder of ALLOWED with all that lies below it and has no row of its own; its row names the rooms and files that
its files may include. A room may always include itself. ALLOWED itself must be free of circles, so nothing points back up,
and so must the includes that it does not restrict. Tests, benchmarks and fuzz targets may include everything.
"""
import pathlib
import re
import sys

MOST_FILES = 25
FRAME = ['kov_sdk', 'abstract_task', 'kov_sdk_communication', 'gui/KovGuiGlobal.h', 'gui/KovVersion.h', 'gui/platform',
         'gui/log', 'gui/frame']
WINDOWS = FRAME + ['gui/help', 'gui/window']
BOXES = WINDOWS + ['gui/messages/record', 'gui/messages/box', 'gui/messages/notification']
MESSAGES = BOXES + ['gui/messages']
TASKS = MESSAGES + ['gui/tasks', 'gui/tasks/progress', 'gui/tasks/sign_in', 'gui/tasks/http']
UPDATES = TASKS + ['gui/tasks/download', 'gui/update/record', 'gui/update/launch', 'gui/data_model/base',
                   'gui/data_model/documents']
MAPPING = ['gui/mapping/values', 'gui/mapping/storage', 'gui/mapping/widgets']
WIZARD = FRAME + ['gui/content', 'gui/wizard/actions', 'gui/wizard/model']
WIZARDS = ['gui/content', 'gui/wizard', 'gui/wizard/actions', 'gui/wizard/model', 'gui/wizard/widgets',
           'gui/wizard/declarative']
REPORT = TASKS + ['gui/data_model/base', 'gui/data_model/documents', 'gui/problem_report/archive', 'gui/problem_report/report']
REPORTS = ['gui/problem_report/report', 'gui/problem_report/browser', 'gui/problem_report/send', 'gui/problem_report/dialog',
           'gui/problem_report']
LIBRARY = REPORTS + UPDATES + MAPPING + WIZARDS + ['gui/statistics', 'gui/tasks/proxy', 'gui/tasks/location', 'gui/update', 'gui/update/check', 'gui/update/dialogs',
                     'gui/update/install']
UPDATER = ['gui/KovVersion.h', 'gui/platform', 'gui/data_model/base', 'gui/data_model/documents',
           'gui/update/launch/UpdaterExitCode.h', 'gui/tasks/download/FileName.h', 'programs/updater/base']
ALLOWED = {
    'kov_sdk': [],
    'abstract_task': ['kov_sdk/KovTypes.h'],
    'kov_sdk_communication': ['kov_sdk'],
    'gui/data_model/base': ['gui/KovGuiGlobal.h'],
    'gui/data_model/documents': ['gui/KovGuiGlobal.h', 'gui/data_model/base'],
    'gui/platform': ['gui/KovGuiGlobal.h'],
    'gui/log': ['kov_sdk/KovTypes.h', 'gui/platform', 'gui/KovGuiGlobal.h'],
    'gui/frame': ['kov_sdk/KovTypes.h', 'gui/platform', 'gui/log', 'gui/KovGuiGlobal.h', 'gui/KovVersion.h'],
    'gui/help': FRAME,
    'gui/window': FRAME,
    'gui/mapping/values': FRAME,
    'gui/mapping/storage': FRAME + ['gui/mapping/values'],
    'gui/mapping/widgets': FRAME + ['gui/mapping/values', 'gui/mapping/storage'],
    'gui/statistics': FRAME,
    'gui/content': FRAME,
    'gui/wizard': FRAME,
    'gui/wizard/actions': FRAME,
    'gui/wizard/model': FRAME + ['gui/content', 'gui/wizard/actions'],
    'gui/wizard/widgets': WIZARD + ['gui/window'],
    'gui/wizard/declarative': WIZARD + ['gui/window', 'gui/wizard'],
    'gui/messages/record': FRAME + ['gui/help'],
    'gui/messages/box': WINDOWS + ['gui/messages/record'],
    'gui/messages/notification': WINDOWS + ['gui/messages/record', 'gui/messages/box'],
    'gui/messages': BOXES,
    'gui/tasks': FRAME,
    'gui/tasks/progress': FRAME,
    'gui/tasks/sign_in': MESSAGES,
    'gui/tasks/http': MESSAGES + ['gui/tasks', 'gui/tasks/sign_in'],
    'gui/tasks/proxy': TASKS,
    'gui/tasks/location': TASKS,
    'gui/tasks/download': TASKS,
    'gui/update/record': TASKS + ['gui/tasks/download'],
    'gui/update/launch': TASKS + ['gui/tasks/download', 'gui/update/record'],
    'gui/update/check': UPDATES,
    'gui/update/dialogs': UPDATES,
    'gui/update/install': UPDATES + ['gui/update/dialogs'],
    'gui/update': UPDATES + ['gui/update/check', 'gui/update/dialogs', 'gui/update/install'],
    'gui/problem_report/archive': ['gui/KovGuiGlobal.h', 'gui/platform', 'gui/tasks/download/FileName.h'],
    'gui/problem_report/report': TASKS + ['gui/data_model/base', 'gui/data_model/documents', 'gui/problem_report/archive'],
    'gui/problem_report/browser': REPORT,
    'gui/problem_report/send': REPORT,
    'gui/problem_report/dialog': REPORT + ['gui/problem_report/browser', 'gui/problem_report/send'],
    'gui/problem_report': REPORT + ['gui/problem_report/browser', 'gui/problem_report/send', 'gui/problem_report/dialog'],
    'kov_sdk/collector': ['kov_sdk', 'gui/platform', 'gui/data_model/base', 'gui/data_model/documents', 'gui/problem_report/archive'],
    # init() fills the implementation registry, so it names the classes of every folder.
    'gui': LIBRARY,
    'programs/download_utility': ['gui/platform', 'gui/tasks/download/FileName.h', 'gui/tasks/download/DownloadExitCode.h'],
    'programs/updater/base': UPDATER[:-1],
    'programs/updater/package': UPDATER,
    'programs/updater/trust': UPDATER,
    'programs/updater/check': UPDATER + ['programs/updater/package', 'programs/updater/trust'],
    'programs/updater/install': UPDATER + ['programs/updater/package', 'programs/updater/trust'],
    'programs/updater/publish': UPDATER + ['programs/updater/package', 'programs/updater/trust'],
    'programs/updater': UPDATER + ['programs/updater/package', 'programs/updater/trust', 'programs/updater/check',
                                   'programs/updater/install', 'programs/updater/publish'],
    'examples/report_service': [],
    'examples/minimal': LIBRARY + ['gui'],
    'examples/console/sample': LIBRARY + ['gui'],
    'examples/console/preferences': LIBRARY + ['gui', 'examples/console/sample'],
    'examples/console/wizard': LIBRARY,
    'examples/console/statistics': LIBRARY,
    'examples/console/pages': LIBRARY + ['gui', 'examples/console/sample', 'examples/console/preferences',
                                         'examples/console/wizard', 'examples/console/statistics'],
    'examples/console/tour': LIBRARY + ['gui', 'examples/console/sample', 'examples/console/pages',
                                        'examples/console/preferences', 'examples/console/wizard',
                                        'examples/console/statistics'],
    'examples/console': LIBRARY + ['gui', 'examples/console/sample', 'examples/console/pages', 'examples/console/tour'],
}
EVERYTHING = ('tests', 'benchmarks', 'fuzz')
SYSTEM_MACRO = re.compile(r'#\s*(?:if|ifdef|ifndef|elif)\b.*\b(_WIN32|WIN32|Q_OS_\w+|__linux__|__unix__)\b')
# The export macros of headers below Qt are the only other place.
MACRO_HOMES = ('gui/platform/', 'gui/log/LogExport.h', 'kov_sdk/KovSdk.h')
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')
OURS = re.compile(r'(abstract_task|kov_sdk|kov_sdk_communication|gui|programs|examples)/')


def covers(entry, path):
    return path == entry or path.startswith(entry + '/')


def room(path):
    return max((folder for folder in ALLOWED if covers(folder, path)), key=len, default='')


def allowed(owner, target):
    """A room's name allows the room without the rooms inside it; a file's name allows the file."""
    return room(target) in ALLOWED[owner] or target in ALLOWED[owner]


def circle(arrows):
    """A list of rooms that need each other, or none."""
    done, way = set(), []

    def visit(name):
        if name in way:
            return way[way.index(name):] + [name]
        if name in done:
            return None
        way.append(name)
        found = next(filter(None, map(visit, sorted(arrows.get(name, ())))), None)
        way.pop()
        done.add(name)
        return found

    return next(filter(None, map(visit, sorted(arrows))), None)


def complaints(root):
    promised = {owner: {entry for entry in entries if entry in ALLOWED} for owner, entries in ALLOWED.items()}
    if found := circle(promised):
        yield 'the table allows a circle: ' + ' -> '.join(found)
    arrows = {}
    for path in sorted(p for p in root.rglob('*') if p.suffix in ('.h', '.cpp', '.c')
                       and 'build' not in p.relative_to(root).parts):
        name = path.relative_to(root).as_posix()
        owner = room(name)
        if not owner:
            if OURS.match(name):
                yield f'{name}: no row of the table covers it'
            if not name.startswith(EVERYTHING):
                continue
        for number, line in enumerate(path.read_text(errors='replace').splitlines(), 1):
            if SYSTEM_MACRO.search(line) and not name.startswith(MACRO_HOMES + ('tests/',)):
                yield f'{name}:{number}: an operating system is asked for outside gui/platform'
            match = INCLUDE.match(line)
            if not owner or not match or not OURS.match(match[1]):
                continue
            home = room(match[1])
            if home == owner:
                continue
            if not allowed(owner, match[1]):
                yield f'{name}:{number}: {owner} must not include {match[1]}'
            elif match[1] not in ALLOWED[owner]:
                arrows.setdefault(owner, set()).add(home)
    if found := circle(arrows):
        yield 'these folders need each other: ' + ' -> '.join(found)
    for folder in sorted({p.parent for top in ('abstract_task', 'kov_sdk', 'gui', 'programs', 'examples')
                          for p in (root / top).rglob('*.h')}):
        files = sum(p.suffix in ('.h', '.cpp') for p in folder.iterdir())
        if files > MOST_FILES:
            yield f'{folder.relative_to(root).as_posix()}: {files} headers and sources; a folder holds {MOST_FILES}'


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent).resolve()
    found = list(complaints(root))
    print('\n'.join(found) if found else 'no forbidden include')
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
