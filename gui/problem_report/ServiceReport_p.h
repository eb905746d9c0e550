#pragma once

#include "kov_sdk_communication/SdkHandleWrap.h"

#include <QByteArray>

/// From the report that a job yields to its document. What is wrong is logged.
namespace ServiceReport {

/// The text form of a packed report; empty when there is none.
QByteArray readPacked(const t_SdkHandleWrap &job);
/// The same for a report of the old schema, which is one document.
QByteArray readOldSchema(const t_SdkHandleWrap &job);

/// The short description of a result code, for the log.
QByteArray descriptionOf(KOV_RESULT code);

} // namespace ServiceReport
