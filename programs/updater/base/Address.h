#pragma once

#include <QUrl>

/**
 * The addresses that the updater deals with, checked before anything is done with them. Pure functions; each
 * returns an empty text, or what is wrong with the address without quoting it: an address may hold a
 * password.
 */
namespace Address {

/// Longest address taken, in characters.
constexpr int maximumLength = 2048;

enum class UserInfo { Allowed, Refused };

/// An absolute http or https address with a host. A host's name may not hold what a proxy or a shell could
/// misread.
QString parseServer(const QString &text, UserInfo userInfo, QUrl *url);

/// Where a catalogue's redirect leads. It may leave http for https, never the other way.
QString parseRedirect(const QUrl &from, const QString &target, QUrl *url);

/**
 * The package of an update: absolute, or relative to the catalogue.
 *
 * Refused: other schemes, another host without a scheme ("//host"), user information, fragments, backslashes,
 * square brackets in the path, control characters, "." and ".." as path segments (also percent-encoded,
 * however often), an encoded slash, a path without a file name, and http behind an https catalogue.
 */
QString resolvePackage(const QUrl &catalogue, const QString &filePath, QUrl *package);

/// The same scheme, host and port.
bool isSameServer(const QUrl &one, const QUrl &other);

/// For messages: without user information, query and fragment, percent-encoded.
QString shown(const QUrl &url);

/// A host name or an IP address, as an option's value.
bool isHost(const QString &text);

} // namespace Address
