#pragma once

#include <QByteArray>
#include <QFile>

/// The contents of a file; null when there is none.
inline QByteArray fileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() + QByteArray("") : QByteArray();
}

/// Writes a file anew; false unless all of it was written.
inline bool writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}
