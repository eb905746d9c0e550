#pragma once

#include <QtGlobal>

/// The platform without a screen warns each time that a window with a layout is shown, because nobody is there to take
/// its smallest size. To be called from initTestCase(): every other warning still reaches the test.
inline void ignoreSizeHintWarnings()
{
    static QtMessageHandler testHandler = nullptr;
    testHandler
        = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &text) {
              if (text != QLatin1String("This plugin does not support propagateSizeHints()"))
                  testHandler(type, context, text);
          });
}
