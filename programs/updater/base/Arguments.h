#pragma once

#include <QMap>
#include <QStringList>

/// Values of a command's options by their names; its one word, such as a file, stands under an empty name.
using Values = QMap<QString, QString>;

/**
 * Takes the arguments of a command apart: at most one word, and options that take one value each, each at
 * most once.
 * @return empty, or what is wrong as one sentence without a full stop
 */
QString parseArguments(const QStringList &arguments, const QStringList &options, Values *values);
