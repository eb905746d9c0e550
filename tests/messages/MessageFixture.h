#pragma once

#include "gui/KovGui.h"
#include "gui/messages/CMessageBoxBuilder.h"
#include "gui/messages/CMessageProcessor.h"
#include "gui/messages/CSearchParentHelper.h"
#include "gui/messages/record/CMessageDataProvider.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Policies.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryFile>

struct CatalogueCode
{
    int code;
    const char *type;
    const char *brief;
    const char *full;
    bool mayBeHidden;
};

inline bool loadCatalogue(const QVector<CatalogueCode> &codes)
{
    QJsonArray messages;
    for (const CatalogueCode &code : codes) {
        QJsonObject message{{"code", code.code},
                            {"type", QLatin1String(code.type)},
                            {"brief", QString::fromUtf8(code.brief)}};
        if (*code.full)
            message.insert("full", QString::fromUtf8(code.full));
        if (code.mayBeHidden)
            message.insert("mayBeHidden", true);
        messages.append(message);
    }
    QTemporaryFile file;
    if (!file.open())
        return false;
    file.write(QJsonDocument({{"format", 1}, {"messages", messages}}).toJson());
    file.close();
    return KovApi_LoadMessageCatalogue(QFile::encodeName(file.fileName()).constData()) == KOV_SUCCESS;
}
