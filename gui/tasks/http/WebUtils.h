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
 * The URL for logs and error texts: without user information and query values. The values become "xxx", those
 * of "Name", "Email" and "E-mail" (compared decoded and without regard to case) their maskedEMail(). Empty
 * for a URL that is invalid, or has an "@" but no host: nothing in it can be trusted.
 */
KOVGUI_EXPORT QString maskedUrl(const QUrl &url);

/**
 * A foreign text, such as an error of the network layer, a server's page or a command line, with the URLs in
 * it masked as by maskedUrl(). They are found by their "scheme:/" and end at a blank, a quote or an angle
 * bracket; what is no URL in spite of that keeps its scheme only.
 *
 * @param url  the URL that the text is about: it is found in every spelling that the toolkit gives it, also
 * those that hold blanks, and the values that maskedUrl() hides in it wherever they stand (user information,
 * passwords and addresses of three characters and more, others of eight and more)
 */
KOVGUI_EXPORT QString withMaskedUrls(const QString &text, const QUrl &url = QUrl());

/**
 * Whether an address may be handed to a child process, whose arguments every user of the machine can read:
 * http or https, a host behind its "//", and no user information, which may be a password or a token.
 *
 * With one slash or three ("http:/user:password@host") what one reader takes for a path is a login to
 * another.
 */
KOVGUI_EXPORT bool isOpenAddress(const QString &address);

/// What the web services want to know: "Product", "Version", "Os" and "Locale", with decoded values.
/// @param localeName  such as "de_DE"
KOVGUI_EXPORT QueryItems productInfo(const QString &localeName);

/// Appends the items to the URL's query, behind what stands there. Keys and values are taken literally: a
/// "&", "+" or "%" in them is encoded.
KOVGUI_EXPORT QUrl withQueryItems(const QUrl &url, const QueryItems &items);

} // namespace WebUtils
