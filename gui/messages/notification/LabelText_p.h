#pragma once

#include <QString>

/// A text that a label may show: labels open the files of pictures and style sheets by themselves, and offer
/// no way to stop them.
struct LabelText
{
    /**
     * Keeps of simple rich text the words, bold, italics, links and line breaks, and nothing else. Nothing is
     * loaded.
     * @param limit  most characters to keep, at least 1; a longer text ends in an ellipsis
     */
    static LabelText fromRichText(const QString &richText, int limit);

    /// Markup of this class's own making.
    QString html;
    /// The words alone, uncut.
    QString plain;
    bool hasLinks = false;
    bool isCut = false;
};
