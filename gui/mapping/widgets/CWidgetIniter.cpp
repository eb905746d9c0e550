#include "gui/mapping/widgets/CWidgetIniter.h"

CWidgetIniter::CWidgetIniter(QObject *parent)
    : QObject(parent)
{ }

void CWidgetIniter::initWidget(QWidget *, const QVariant &) { }
