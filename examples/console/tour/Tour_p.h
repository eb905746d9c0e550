#pragma once

#include "examples/console/pages/ConsoleWindow.h"
#include "examples/console/tour/Tour.h"

#include <QMetaObject>
#include <QPointer>

template <typename Function>
auto Tour::ask(Function function) -> decltype(function())
{
    if constexpr (std::is_void_v<decltype(function())>) {
        QMetaObject::invokeMethod(m_window, function, Qt::BlockingQueuedConnection);
    } else {
        decltype(function()) result{};
        QMetaObject::invokeMethod(
            m_window, [&] { result = function(); }, Qt::BlockingQueuedConnection);
        return result;
    }
}
