#pragma once

#include "gui/messages/record/Messaging.h"

#include <QStringList>

#include <functional>
#include <optional>

/// Makes the records of messages from what the service knows.
namespace MessageFactory {

struct Source
{
    int code = KOV_SUCCESS;
    QString issuerId;
    QStringList shortMsgParams;
    QStringList longMsgParams;
    bool spontaneous = false;
};
/// The application's own placeholders in the short and the long text.
using SubstituteParameters = std::function<void(QString &shortMsg, QString &longMsg)>;
/// What an event inside the event adds to the text; empty for nothing.
using DetailsOf = std::function<QString(const t_SdkHandleWrap &nestedEvent, const QString &text)>;

/// A record with the service's texts of the code and the provider's answers.
Messaging::MessageData fromCode(const Source &source, const SubstituteParameters &substituteParameters);

/// A record of an event or a finished job; nothing, with the reason in the log, for a handle without a result
/// code.
std::optional<Messaging::MessageData> fromHandle(const t_SdkHandleWrap &handle, const DetailsOf &detailsOf);

} // namespace MessageFactory
