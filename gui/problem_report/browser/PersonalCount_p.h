#pragma once

#include <QHash>
#include <QMetaType>
#include <QString>
#include <QStringList>

#include <memory>

class BackgroundWork;
class QObject;

/// How often the parts of a report tell who the user is: file names and numbers, those of nothing left out.
using PersonalCount = QHash<QString, qint64>;

/// Work that counts in the text files of a folder; finished() brings a PersonalCount.
BackgroundWork *countPersonalDataIn(const QString &folder, const QStringList &files, QObject *parent);

Q_DECLARE_METATYPE(PersonalCount)
