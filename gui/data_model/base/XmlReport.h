#pragma once

#include <QStringList>
#include <QVector>

/**
 * What reading or writing an XML model had to say: one line an entry, at most maximumEntries of each kind
 * (reading stops at the last error). The texts may quote names from the file; they hold no line feeds.
 */
struct XmlReport
{
    static constexpr int maximumEntries = 100;

    /// Where in the document: "/TessarineUpdates/Product[2]/Version[1]/Major". Counted from 1 where tags
    /// repeat.
    struct Place
    {
        QString path;
        /// From 1; 0 for a document that is being written.
        int line = 0;
    };

    /// Not empty means that the read or the write failed as a whole.
    QStringList errors;
    /// What is absent, or not kept; they never make a read fail.
    QStringList warnings;
    /// The places of the errors, one each.
    QVector<Place> errorPlaces;
    /// The places of the warnings, one each.
    QVector<Place> warningPlaces;

    /// The errors followed by their places: "Error in class …: … (/TessarineUpdates, line 3)".
    QStringList locatedErrors() const
    {
        QStringList texts;
        for (int i = 0; i < errors.size(); ++i) {
            const Place &place = errorPlaces.at(i);
            const QString line = place.line > 0 ? QStringLiteral(", line %1").arg(place.line) : QString();
            texts.append(QStringLiteral("%1 (%2%3)").arg(errors.at(i), place.path, line));
        }
        return texts;
    }
};

/// A value of a document that tells about a person, or may.
struct XmlPersonalValue
{
    /// As in XmlReport::Place. An attribute is "@name", an element that the class does not know its tag.
    QString path;
    /// The value; the markup of an element that the class does not know.
    QString text;
};
