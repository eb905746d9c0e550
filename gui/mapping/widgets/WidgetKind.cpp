#include "gui/mapping/widgets/WidgetKind_p.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QTextEdit>

#include <algorithm>

namespace {

template <typename Widget, auto Content>
QVariant content(const QWidget *widget)
{
    return (static_cast<const Widget *>(widget)->*Content)();
}

QVariant checked(const QWidget *widget)
{
    return widget->property("checked");
}

const WidgetKind kinds[] = {
    {&QComboBox::staticMetaObject, content<QComboBox, &QComboBox::currentIndex>},
    {&QLineEdit::staticMetaObject, content<QLineEdit, &QLineEdit::text>},
    {&QTextEdit::staticMetaObject, content<QTextEdit, &QTextEdit::toPlainText>},
    {&QDoubleSpinBox::staticMetaObject, content<QDoubleSpinBox, &QDoubleSpinBox::value>},
    {&QSpinBox::staticMetaObject, content<QSpinBox, &QSpinBox::value>},
    {&QSlider::staticMetaObject, content<QSlider, &QAbstractSlider::value>},
    {&QWidget::staticMetaObject, checked},
};

} // namespace

const WidgetKind &WidgetKind::of(const QWidget *widget)
{
    for (const WidgetKind &kind : kinds) {
        if (widget->metaObject()->inherits(kind.base))
            return kind;
    }
    Q_UNREACHABLE();
}

QVariant bindingProperty(const QWidget *widget, const char *name)
{
    const QList<QByteArray> names = widget->dynamicPropertyNames();
    const auto isIt = [name](const QByteArray &known) { return qstrcmp(known, name) == 0; };
    return std::any_of(names.begin(), names.end(), isIt) ? widget->property(name) : QVariant();
}

Accessor Accessor::find(const QWidget *widget, const char *property, const char *verb, const char *arguments,
                        const std::initializer_list<QObject *> &objects)
{
    const auto accessor = [&](const QByteArray &name) {
        const QByteArray signature = name + arguments;
        for (QObject *object : objects) {
            const int index = object->metaObject()->indexOfMethod(signature.constData());
            if (index >= 0)
                return Accessor{object->metaObject()->method(index), object, QString::fromUtf8(name)};
        }
        return Accessor{QMetaMethod(), nullptr, QString::fromUtf8(name)};
    };
    const auto ofClass
        = [&](const char *className) { return accessor(QByteArray(verb) + className + "Value"); };

    const QByteArray named = bindingProperty(widget, property).toString().toUtf8();
    if (!named.isEmpty())
        return accessor(named);
    if (widget->inherits("QAbstractButton") || widget->inherits("CMultilineCheckBox"))
        return ofClass("QAbstractButton");
    for (const QMetaObject *meta = widget->metaObject(); meta; meta = meta->superClass()) {
        const Accessor found = ofClass(meta->className());
        if (found.object)
            return found;
    }
    return ofClass(widget->metaObject()->className());
}
