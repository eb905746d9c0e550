#pragma once

#include <QtGlobal>

/// The platform without a screen warns each time that a window manager would be told something: a window's
/// smallest size, or that it wants to be in front. To be called from initTestCase(): every other warning
/// still reaches the test.
inline void ignoreOffscreenWarnings()
{
    static QtMessageHandler testHandler = nullptr;
    testHandler
        = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &text) {
              if (!text.startsWith(QLatin1String("This plugin does not support ")))
                  testHandler(type, context, text);
          });
}
