#!/usr/bin/env python3
"""Fails on a piece of code in docs/integration.md that does not stand in examples/minimal/main.cpp."""
import pathlib
import re
import sys

root = pathlib.Path(__file__).parents[2]
lines = [line.strip() for line in (root / 'examples/minimal/main.cpp').read_text().splitlines()]
host = '\n'.join(line for line in lines if line)
pieces = re.findall(r'```cpp\n(.*?)```', (root / 'docs/integration.md').read_text(), re.S)
missing = [piece for piece in pieces
           if '\n'.join(line.strip() for line in piece.splitlines() if line.strip()) not in host]
for piece in missing:
    print(f'not in examples/minimal/main.cpp:\n{piece}')
sys.exit(1 if missing or not pieces else 0)
