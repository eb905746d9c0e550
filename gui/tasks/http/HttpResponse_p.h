#pragma once

#include "gui/KovGuiGlobal.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

/**
 * The XML response of a web service, read from its bytes: a root element with an attribute "Version", and
 * children whose tag and text are a name and a value.
 *
 * No I/O. Time and memory grow with the size of the document, whatever its nesting; entities are expanded by
 * at most a few thousand characters, external ones never.
 */
struct HttpResponse
{
    enum Error {
        NoError = 0,
        FileMissing = 1, ///< for callers that read a file
        NotWellFormed = 3,
        NoResult = 4, ///< an empty document, or no child "Result"
        UnexpectedRootTag = 5,
    };

    /// @param expectedRootTag  empty: any
    static HttpResponse parse(const QByteArray &document, const QString &expectedRootTag);

    Error error = NoResult;
    /// Where and why a document is not well-formed, in English.
    QString complaint;
    /// Set, and elements with it, unless the document is empty or not well-formed.
    QString rootTag;
    /// "Unknown" for a root without the attribute.
    QString version;
    /// The root's children in document order, with the text of everything in them. Pieces that are nothing
    /// but white space are dropped.
    QList<QPair<QString, QString>> elements;
};
