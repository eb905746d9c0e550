#pragma once

#include "gui/content/CWidgetContentInfo.h"

/// An ordinary widget as a wizard page, below the page's title.
class KOVGUI_DECLARATIVE_EXPORT CWizardWidgetContentInfo : public CWidgetContentInfo
{
    Q_OBJECT

public:
    using CWidgetContentInfo::CWidgetContentInfo;
    ~CWizardWidgetContentInfo() override;

    QUrl scene() const override;
};
