#pragma once

#include "gui/KovGuiGlobal.h"

#include <QObject>

/// The kinds of actions that a wizard has. 0 to 8 are the numbers of QWizard's buttons.
class KOVGUI_EXPORT WizardActions
{
    Q_GADGET

public:
    enum ActionType {
        Back = 0,
        Next = 1,
        Commit = 2,
        Finish = 3,
        Cancel = 4,
        Help = 5,
        Custom1 = 6,
        Custom2 = 7,
        Custom3 = 8,
        Twitter = 9,
        Facebook = 10,
        Close = 11,
    };
    Q_ENUM(ActionType)

    WizardActions() = delete;
};
