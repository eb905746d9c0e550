#pragma once

#include "programs/updater/check/UpdateChoice.h"

#include <QByteArray>
#include <QUrl>

/**
 * The report about an update as the calling application takes it apart: one line a field, the description
 * last, between its two markers. The application searches the first occurrence of each marker in any letter
 * case, so no value may spell one: the fields allow too few characters for that, and the description stands
 * behind all fields.
 *
 * @param output  receives the report in UTF-8; left alone on failure
 * @return empty, or which value of the update is not usable
 */
QString composeCheckOutput(const ChosenUpdate &chosen, const QUrl &package, QByteArray *output);
