#pragma once

#include <QtGlobal>

#if defined(AbstractTask_EXPORTS)
#define ABSTRACTTASK_EXPORT Q_DECL_EXPORT
#else
#define ABSTRACTTASK_EXPORT Q_DECL_IMPORT
#endif
