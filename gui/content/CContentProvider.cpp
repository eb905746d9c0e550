#include "gui/content/CContentProvider.h"

CContentProvider::CContentProvider(QObject *parent)
    : QObject(parent)
{ }

CContentProvider::~CContentProvider() = default;

bool CContentProvider::processCloseEvent()
{
    return true;
}
