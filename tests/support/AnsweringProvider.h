#pragma once

#include "gui/messages/record/CMessageDataProvider.h"

/// A host's policy that may answer every question without asking.
class AnsweringProvider : public CMessageDataProvider
{
    Q_OBJECT

public:
    Q_INVOKABLE AnsweringProvider() = default;
    bool isMessageHasAutoAnswer(int code) override
    {
        return answers || CMessageDataProvider::isMessageHasAutoAnswer(code);
    }
    static inline bool answers = false;
};
