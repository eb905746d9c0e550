#!/usr/bin/env python3
"""Writes the classes of the data model from their descriptions.

usage: generate.py --list DESCRIPTION...
       generate.py SOURCES DOCUMENTATION DESCRIPTION...

For each class of the descriptions a header, for each description a source file with the tables and a page of
documentation. --list prints the names of the source files. A file that would not change is not touched. README.md beside
this file tells what a description may hold.
"""
import pathlib
import sys
import tomllib

import templates
from description import DescriptionError, load


def include_of(class_):
    return f'gui/data_model/documents/{class_.name}.h'


def header(class_):
    types = {field.cpp_type for field in class_.fields}
    project = {'gui/KovGuiGlobal.h', 'gui/data_model/base/XmlReport.h', 'gui/data_model/base/XmlUnknown.h'}
    project |= {include_of(field.model) for field in class_.fields if field.model}
    toolkit = {'QByteArray', 'QStringList', 'QVector'}
    toolkit |= {name for name in ('QDateTime', 'QString') if any(name in type_ for type_ in types)}
    if any(type_.startswith('std::optional') for type_ in types):
        toolkit.add('optional')
    members = [templates.MEMBER.format(text=templates.comment(field.text, '    /// '), type=field.cpp_type,
                                       member=field.member, value=f' = {field.value}' if field.value else '')
               for field in class_.fields]
    return templates.HEADER.format(
        source=class_.document.path.name, name=class_.name, element=class_.element,
        text=templates.comment(class_.text, ' * '),
        includes=''.join(f'#include "{path}"\n' for path in sorted(project)),
        toolkit=''.join(f'#include <{name}>\n' for name in sorted(toolkit, key=lambda n: (n.islower(), n))),
        constructor=f'    {class_.name}();\n\n' if class_.computed else '', members=''.join(members),
        size=templates.bytes_text(class_.document.limits['size']))


def table_row(class_, field):
    member = f'&{class_.name}::{field.member}'
    if field.model:
        return f'xmlModel<{member}>("{field.tag}", XmlOccurs::{field.occurs}, &{field.model.name}::xmlClass)'
    privacy = 'Personal' if field.is_personal else 'Public'
    return (f'xmlValue<{member}>("{field.tag}", XmlOccurs::{field.occurs}, XmlTypes::{field.kind.table_name}, '
            f'XmlPrivacy::{privacy})')


def source(document):
    parts = []
    for class_ in document.classes:
        rows = ''.join(f'        {table_row(class_, field)},\n' for field in class_.fields)
        limits = ', '.join(str(document.limits[name]) for name in ('size', 'depth', 'elements', 'unknown'))
        values = '\n    , '.join(f'{field.member}({field.computed})' for field in class_.computed)
        constructor = templates.CONSTRUCTOR.format(name=class_.name, values=values) if values else ''
        parts.append(constructor + templates.SOURCE.format(name=class_.name, element=class_.element, rows=rows,
                                                           limits=limits))
    includes = {include_of(class_) for class_ in document.classes} | {'gui/data_model/base/XmlModel_p.h'}
    includes |= set(document.includes)
    lines = ''.join(f'#include "{path}"\n' for path in sorted(includes))
    return templates.SOURCE_HEAD.format(source=document.path.name, includes=lines) + '\n'.join(parts)


def page(document):
    limits = document.limits
    text = templates.PAGE.format(
        title=document.title, text=document.text.strip(), file=document.file, root=document.classes[-1].element,
        size=templates.bytes_text(limits['size']), depth=limits['depth'], elements=limits['elements'],
        unknown=templates.bytes_text(limits['unknown']))
    for class_ in reversed(document.classes):
        rows = ''.join(
            f'| {"attribute " if field.occurs == "Attribute" else ""}`{field.tag}` '
            f'| {"any number" if field.occurs == "Repeated" else "yes" if field.occurs == "Required" else "no"} '
            f'| {field.value_text} | {"personal" if field.is_personal else ""} | {" ".join(field.text.split())} |\n'
            for field in class_.fields)
        text += templates.PAGE_CLASS.format(element=class_.element, name=class_.name, text=class_.text.strip(), rows=rows)
    return text


def write(path, text):
    if path.exists() and path.read_text() == text:
        return
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


def main(arguments):
    listing = arguments[:1] == ['--list']
    paths = arguments[1:] if listing else arguments[2:]
    if not paths:
        print(__doc__, file=sys.stderr)
        return 2
    try:
        documents = load([pathlib.Path(path) for path in paths])
    except (DescriptionError, OSError, tomllib.TOMLDecodeError) as error:
        print(f'generate.py: {error}', file=sys.stderr)
        return 1
    if listing:
        names = [f'{document.path.stem}.cpp' for document in documents]
        names += [f'{class_.name}.h' for document in documents for class_ in document.classes]
        print(';'.join(names))
        return 0
    sources, documentation = pathlib.Path(arguments[0]), pathlib.Path(arguments[1])
    for document in documents:
        write(sources / f'{document.path.stem}.cpp', source(document))
        write(documentation / f'{document.path.stem}.md', page(document))
        for class_ in document.classes:
            write(sources / f'{class_.name}.h', header(class_))
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
