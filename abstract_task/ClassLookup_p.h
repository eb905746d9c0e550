#pragma once

#include <QMetaObject>
#include <QString>

namespace Tasks {

/// The class name of a kind, empty when the kind has no key.
QString className(unsigned type);

/// What the installed resolver says; null without one.
const QMetaObject *resolveClass(const QString &className);

} // namespace Tasks
