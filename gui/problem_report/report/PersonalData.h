#pragma once

#include "gui/KovGuiGlobal.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <functional>

/**
 * What in a text tells who the user is: the home folder, the sign-in name, the full name and the computer's
 * name, in the forms in which files hold them (plain, escaped for XML, encoded as in a URL).
 *
 * A name counts where it stands as a word, and from three characters on: a shorter one would mark every other
 * line. Letters are compared as they are. Pure functions but for the first; any thread.
 */
namespace PersonalData {

/// One text to look for, and what is put in its place.
struct Term
{
    QByteArray text; ///< UTF-8
    QByteArray replacement;
};

/// Of the present user.
KOVGUI_EXPORT QVector<Term> termsOfUser();
/// Of the given facts; empty ones count for nothing.
KOVGUI_EXPORT QVector<Term> terms(const QString &homeFolder, const QStringList &names,
                                  const QString &hostName);

struct Span
{
    int position = 0;
    int length = 0;
    int term = 0; ///< its index
};

/// In the order of their positions, without overlaps.
KOVGUI_EXPORT QVector<Span> find(const QByteArray &text, const QVector<Term> &terms);
KOVGUI_EXPORT QVector<Span> find(const QString &text, const QVector<Term> &terms);

/// `text` without them.
KOVGUI_EXPORT QByteArray withoutTerms(const QByteArray &text, const QVector<Term> &terms);

/// Asked after each block with the bytes so far; false ends the work.
using GoOn = std::function<bool(qint64 bytes)>;

/// How often they stand in a file, a block at a time; -1 when it cannot be read or the work was ended.
KOVGUI_EXPORT qint64 countInFile(const QString &path, const QVector<Term> &terms, const GoOn &goOn);

/// Puts the replacements into a file, a block at a time, through a new file beside it that takes its place at
/// the end. False, and the file as it was, when that is not possible or the work was ended.
KOVGUI_EXPORT bool takeOutOfFile(const QString &path, const QVector<Term> &terms, const GoOn &goOn);

} // namespace PersonalData
