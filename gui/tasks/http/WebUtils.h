#pragma once

#include "gui/KovGuiGlobal.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

/// What requests to web services share: what they say about the product, and what of them may be read by
/// others.
namespace WebUtils {

using QueryItems = QList<QPair<QString, QString>>;

/// The address for logs and error texts: the first character of the local part, "***", and the domain. A text
/// that is no address (a name) keeps its first character only.
KOVGUI_EXPORT QString maskedEMail(const QString &address);

/**
 * The URL for logs and error texts: without user information, with the values of the query items "Password"
 * and "NewPassword" replaced by "xxx" and those of "Name", "Email" and "E-mail" by their maskedEMail(). Keys
 * are compared decoded and without regard to case. Empty for an invalid URL, of which nothing can be trusted.
 */
KOVGUI_EXPORT QString maskedUrl(const QUrl &url);

/**
 * A foreign text, such as an error of the network layer or a server's page, with the URLs in it masked.
 *
 * @param url  the URL that the text is about: it is found in every spelling that the toolkit gives it, also
 * those that hold blanks, and the values that maskedUrl() hides in it (of three characters and more) wherever
 * they stand. Other URLs are found by their "scheme://" and end at a blank, a quote or an angle bracket.
 */
KOVGUI_EXPORT QString withMaskedUrls(const QString &text, const QUrl &url);

/// What the web services want to know: "Product", "Version", "Os" and "Locale", with decoded values.
/// @param localeName  such as "de_DE"
KOVGUI_EXPORT QueryItems productInfo(const QString &localeName);

/// Appends the items to the URL's query, behind what stands there. Keys and values are taken literally: a
/// "&", "+" or "%" in them is encoded.
KOVGUI_EXPORT QUrl withQueryItems(const QUrl &url, const QueryItems &items);

} // namespace WebUtils
