#pragma once

#include <QMetaMethod>
#include <QVariant>

class QWidget;

/// What the library knows of a kind of widget.
struct WidgetKind
{
    const char *className;
    /// What the user's changes are told by. Null ends the list early.
    const char *changeSignals[2];
    /// What typing is told by, of the widget or of the line edit inside it; null for a widget without.
    const char *typingSignal;
    /// The content, as something to compare.
    QVariant (*shown)(const QWidget *widget);

    /// By inheritance. Whatever is none of the others is taken for something that can be checked.
    static const WidgetKind &of(const QWidget *widget);
};

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
