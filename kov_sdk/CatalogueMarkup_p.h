#pragma once

#include <QString>
#include <QStringList>

/**
 * The markup of catalogue texts: <b>, <i>, <br> and links to http, https and kovhelp addresses, with the
 * entities &amp; &lt; &gt; &quot; &nbsp;. Pure functions.
 */
namespace CatalogueMarkup {

/// What is wrong with the text, empty when nothing is. Refuses every other tag and entity, tags that do not
/// nest, a percent sign in an address (it would read as a placeholder) and control characters.
QString complaint(const QString &text);

/// The bare text of a text without complaint: links become their words, <br> a line feed.
QString plain(const QString &text);

/// Text of unknown origin as markup that shows exactly that text.
QString escaped(const QString &text);

/// %1 to %99 replaced in one pass, so that a value which looks like a placeholder stays as it is. A
/// placeholder without a value stays.
QString withArguments(const QString &text, const QStringList &arguments);

} // namespace CatalogueMarkup
