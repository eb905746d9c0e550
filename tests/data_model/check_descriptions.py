#!/usr/bin/env python3
"""Fails unless the generator refuses each faulty description with a sentence that names the fault.

usage: check_descriptions.py GENERATOR
"""
import pathlib
import subprocess
import sys
import tempfile

FIELD = '{ tag = "Name", type = "exact", privacy = "personal", needed = true, text = "t" }'
GOOD = f'''title = "T"
file = "F"
text = "t"
[[class]]
name = "CPart"
element = "Part"
text = "t"
fields = [ {FIELD} ]
[[class]]
name = "CWhole"
element = "Whole"
text = "t"
fields = [ {{ tag = "Part", type = "CPart", list = true, text = "t" }} ]
'''
# What is replaced, by what, and what the generator says; no sentence: it is content.
CASES = [
    ('', '', ''),
    (' privacy = "personal",', '', 'tag Name: a text says by privacy whether it tells about a person'),
    ('"personal"', '"secret"', 'privacy is "public" or "personal"'),
    (', text = "t" }', ' }', 'text is missing'),
    ('"exact"', '"string"', 'no type and no class described before has the name string'),
    ('type = "CPart"', 'type = "CWhole"', 'no type and no class described before has the name CWhole'),
    ('tag = "Part"', 'tag = "Pieces"', 'the element of CPart has another tag'),
    ('needed = true', 'needed = true, list = true', 'only one of needed, list and attribute'),
    ('needed = true', 'computed = "x()"', 'only a needed value can be computed'),
    ('needed = true', 'requird = true', 'not known: requird'),
    ('needed = true', 'needed = "yes"', 'needed is not of the type bool'),
    (FIELD, f'{FIELD}, {FIELD}', 'tags and members stand once'),
    ('tag = "Name"', 'tag = "Read"', 'every class has a member read'),
    ('tag = "Name"', 'tag = "Na me"', 'tag and member are letters and digits'),
    ('name = "CWhole"', 'name = "CPart"', 'CPart is described twice'),
    ('[[class]]', '[limits]\nsise = 1\n[[class]]', 'the limits are size, depth, elements, unknown'),
]


def main():
    faults = 0
    with tempfile.TemporaryDirectory() as folder:
        for old, new, expected in CASES:
            path = pathlib.Path(folder) / 'Whole.toml'
            path.write_text(GOOD.replace(old, new, 1) if old else GOOD)
            run = subprocess.run([sys.executable, '-B', sys.argv[1], folder, folder, path], capture_output=True, text=True)
            is_right = expected in run.stderr and run.stderr.startswith('generate.py: Whole.toml') if expected \
                else run.returncode == 0
            if not is_right or (expected and run.returncode != 1):
                faults += 1
                print(f'{new or old or "the good one"}: exit code {run.returncode}, {run.stderr}')
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
