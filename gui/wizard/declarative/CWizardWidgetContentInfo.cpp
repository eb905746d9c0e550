#include "gui/wizard/declarative/CWizardWidgetContentInfo.h"

CWizardWidgetContentInfo::~CWizardWidgetContentInfo() = default;

QUrl CWizardWidgetContentInfo::scene() const
{
    return QUrl(QStringLiteral("qrc:/qml/WizardProxyPage.qml"));
}
