"""Reads the descriptions of documents and checks them: a fault here would be a fault of a class."""
import dataclasses
import re
import tomllib


class DescriptionError(Exception):
    pass


@dataclasses.dataclass
class Kind:
    table_name: str
    cpp_type: str
    value: str
    text: str


KINDS = {
    'text': Kind('text', 'QString', '', 'text'),
    'exact': Kind('exact', 'QString', '', 'text, every character counts'),
    'bool': Kind('truth', 'bool', 'false', '`true` or `false`'),
    'uint32': Kind('uint32', 'quint32', '0', 'number from 0'),
    'int32': Kind('int32', 'qint32', '0', 'number'),
    'size': Kind('size', 'qint64', '0', 'number from 0, 63 bits'),
    'real': Kind('real', 'double', '0', 'decimal number'),
    'datetime': Kind('dateTime', 'QDateTime', '', '`yyyy-MM-dd hh:mm:ss` in UTC'),
}
LIMITS = {'size': 8 * 1024 * 1024, 'depth': 16, 'elements': 200000, 'unknown': 256 * 1024}
NAME = re.compile(r'[A-Za-z][A-Za-z0-9]*\Z')
# What every class has already.
TAKEN = {'read', 'write', 'differingPaths', 'personalValues', 'clearPersonalValues', 'unknown', 'xmlClass'}


class Field:
    def __init__(self, where, values):
        self.where = where
        self.tag = take(where, values, 'tag', str)
        self.where = f'{where}, tag {self.tag}'
        self.type_name = take(self.where, values, 'type', str)
        self.text = take(self.where, values, 'text', str)
        self.member = take(self.where, values, 'member', str, self.tag[:1].lower() + self.tag[1:])
        privacy = take(self.where, values, 'privacy', str, '')
        needed = take(self.where, values, 'needed', bool, False)
        repeated = take(self.where, values, 'list', bool, False)
        attribute = take(self.where, values, 'attribute', bool, False)
        self.computed = take(self.where, values, 'computed', str, '')
        nothing_left(self.where, values)
        require(self.where, NAME.match(self.tag) and NAME.match(self.member), 'tag and member are letters and digits')
        require(self.where, needed + repeated + attribute <= 1, 'only one of needed, list and attribute')
        require(self.where, needed or not self.computed, 'only a needed value can be computed: an absent one stays')
        require(self.where, self.member not in TAKEN, f'every class has a member {self.member}')
        self.occurs = 'Required' if needed else 'Repeated' if repeated else 'Attribute' if attribute else 'Optional'
        self.kind = KINDS.get(self.type_name)
        self.model = None
        self.is_personal = privacy == 'personal'
        require(self.where, privacy in ('', 'public', 'personal'), 'privacy is "public" or "personal"')
        is_text = self.kind is not None and self.kind.cpp_type == 'QString'
        require(self.where, privacy or not is_text, 'a text says by privacy whether it tells about a person')
        require(self.where, not attribute or self.type_name == 'text', 'an attribute is a text')
        self.has_privacy = bool(privacy)

    def resolve(self, classes):
        if not self.kind:
            self.model = classes.get(self.type_name)
            require(self.where, self.model, f'no type and no class described before has the name {self.type_name}')
            require(self.where, not self.has_privacy, 'the parts of an element have a privacy, it has none')
            require(self.where, self.model.element == self.tag, f'the element of {self.type_name} has another tag')

    @property
    def cpp_type(self):
        plain = self.model.name if self.model else self.kind.cpp_type
        if self.occurs == 'Repeated':
            return f'QVector<{plain}>'
        return f'std::optional<{plain}>' if self.occurs == 'Optional' and (self.model or self.kind.value) else plain

    @property
    def value(self):
        return self.kind.value if self.kind and self.cpp_type == self.kind.cpp_type else ''

    @property
    def value_text(self):
        return f'element, `{self.model.name}`' if self.model else self.kind.text


class Class:
    def __init__(self, document, values):
        where = document.path.name
        self.document = document
        self.name = take(where, values, 'name', str)
        where = f'{where}, {self.name}'
        self.element = take(where, values, 'element', str)
        self.text = take(where, values, 'text', str)
        self.fields = [Field(where, field) for field in take(where, values, 'fields', list)]
        nothing_left(where, values)
        require(where, re.match(r'C[A-Z]', self.name) and NAME.match(self.name), 'a class is named C and a noun')
        require(where, NAME.match(self.element) and self.fields, 'a class has an element and fields')
        for names in ([field.tag for field in self.fields if field.occurs != 'Attribute'],
                      [field.member for field in self.fields]):
            require(where, len(set(names)) == len(names), 'tags and members stand once')
        self.computed = [field for field in self.fields if field.computed]


class Document:
    def __init__(self, path):
        self.path = path
        with open(path, 'rb') as file:
            values = tomllib.load(file)
        where = path.name
        self.title = take(where, values, 'title', str)
        self.file = take(where, values, 'file', str)
        self.text = take(where, values, 'text', str)
        self.includes = take(where, values, 'includes', list, [])
        self.limits = LIMITS | take(where, values, 'limits', dict, {})
        require(where, set(self.limits) == set(LIMITS), 'the limits are ' + ', '.join(LIMITS))
        require(where, all(type(limit) is int and 0 < limit < 2**30 for limit in self.limits.values()),
                'a limit is a number from 1 to 2^30')
        self.classes = [Class(self, class_) for class_ in take(where, values, 'class', list)]
        nothing_left(where, values)


def load(paths):
    """All documents. A class uses classes of its own document that stand before it, or of other documents."""
    documents = [Document(path) for path in paths]
    classes = {}
    # A document comes after those whose classes it uses; a circle of classes would be a document without end.
    waiting = list(documents)
    while waiting:
        own = {class_.name for document in waiting for class_ in document.classes}
        ready = [document for document in waiting
                 if not any(field.type_name in own - {class_.name for class_ in document.classes}
                            for class_ in document.classes for field in class_.fields)]
        require(waiting[0].path.name, ready, 'documents need each other')
        for document in ready:
            for class_ in document.classes:
                for field in class_.fields:
                    field.resolve(classes)
                require(document.path.name, class_.name not in classes, f'{class_.name} is described twice')
                classes[class_.name] = class_
            waiting.remove(document)
    return documents


def take(where, values, key, type_, default=None):
    value = values.pop(key, default)
    require(where, value is not None, f'{key} is missing')
    require(where, isinstance(value, type_), f'{key} is not of the type {type_.__name__}')
    return value


def nothing_left(where, values):
    require(where, not values, 'not known: ' + ', '.join(values))


def require(where, holds, text):
    if not holds:
        raise DescriptionError(f'{where}: {text}')
