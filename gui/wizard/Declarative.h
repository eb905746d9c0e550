#pragma once

#include <QQmlListProperty>
#include <QQuickItem>

// The names under which the declarative pages have always known these types.
using QDeclarativeItem = QQuickItem;
template <typename Type>
using QDeclarativeListProperty = QQmlListProperty<Type>;
