#pragma once

#include <QHash>
#include <QMetaMethod>
#include <QVariant>

class QWidget;

/// What the library knows of a kind of widget.
struct WidgetKind
{
    const QMetaObject *base;
    /// The content, as something to compare.
    QVariant (*shown)(const QWidget *widget);

    /// By inheritance. Whatever is none of the others is taken for something that can be checked.
    static const WidgetKind &of(const QWidget *widget);
};

/// A dynamic property of the widget. QObject::property() looks through all others first, which takes its
/// time.
QVariant bindingProperty(const QWidget *widget, const char *name);

/// The accessor of a widget: a method of one of the given objects, the first that has it.
struct Accessor
{
    /// Invalid when no object has the method.
    QMetaMethod method;
    QObject *object = nullptr;
    QString name;

    /// @param property   holds the method's name; without it the name is made of `verb` and the name of the
    ///                   widget's class, or of the nearest base class for which there is a method
    /// @param arguments  of the method, normalized
    static Accessor find(const QWidget *widget, const char *property, const char *verb, const char *arguments,
                         const std::initializer_list<QObject *> &objects);
};

/// The accessors of classes that were found once.
using AccessorsByClass = QHash<const QMetaObject *, Accessor>;
