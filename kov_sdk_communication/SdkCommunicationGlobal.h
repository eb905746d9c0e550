#pragma once

#include <QtGlobal>

#if defined(KovSdkCommunication_EXPORTS)
#define KOVSDKCOMMUNICATION_EXPORT Q_DECL_EXPORT
#else
#define KOVSDKCOMMUNICATION_EXPORT Q_DECL_IMPORT
#endif
