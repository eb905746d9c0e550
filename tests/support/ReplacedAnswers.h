#pragma once

#include <QString>
#include <QtGlobal>

/// Qt remarks on every answer that replaces a refused one. To be called from initTestCase().
inline void ignoreReplacedAnswers()
{
    static QtMessageHandler testHandler = nullptr;
    testHandler
        = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &text) {
              if (!text.contains(QLatin1String("overriding active cache entry")))
                  testHandler(type, context, text);
          });
}
