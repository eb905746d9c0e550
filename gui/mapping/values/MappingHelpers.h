#pragma once

#include "gui/mapping/values/Mappings.h"

/**
 * Functions over value trees and paths.
 *
 * A trailing `storage` is a filter: empty means every storage. "First" means first by the storage's name,
 * then by the path, so that no result depends on the order of a hash.
 *
 * A path is a list of components joined by "."; an index in square brackets inside a component names an item
 * of a list: a.items[12].name.
 */
namespace MappingHelpers {

/// The same storages and paths with invalid values: a request for them.
/// @param onlyInvalid  only the paths whose value is invalid; a storage without such a path is left out
KOVGUI_EXPORT Mappings::Values createValuesTree(const Mappings::Values &values, bool onlyInvalid);
/// True for an empty tree.
KOVGUI_EXPORT bool isAllValuesValid(const Mappings::Values &values);

/// The value under exactly this path in the first storage that has the path; invalid when none has it.
KOVGUI_EXPORT QVariant getValueByPath(const Mappings::Values &values, const QString &path,
                                      const QString &storage = QString());
/// The value of the first path that ends with `name`; invalid when there is none.
KOVGUI_EXPORT QVariant getValueByName(const Mappings::Values &values, const QString &name,
                                      const QString &storage = QString());
KOVGUI_EXPORT bool hasPath(const Mappings::Values &values, const QString &path,
                           const QString &storage = QString());
/// Storage and path are made when they are missing.
KOVGUI_EXPORT void setValueByPath(Mappings::Values &values, const QString &path, const QString &storage,
                                  const QVariant &value);
/// True when something was removed. A storage that becomes empty stays.
KOVGUI_EXPORT bool removePath(Mappings::Values &values, const QString &path,
                              const QString &storage = QString());
KOVGUI_EXPORT bool removeAllPathsStartsWith(Mappings::Values &values, const QString &prefix,
                                            const QString &storage = QString());
/// The first valid value; invalid when there is none.
KOVGUI_EXPORT QVariant getFirstValue(const Mappings::Values &values);
/// Fills `target` with the valid values that `source` holds under the same storages and paths.
/// @return  false when some path of `target` found none; it keeps its value
KOVGUI_EXPORT bool getValuesFromList(const Mappings::Values &source, Mappings::Values &target);
/// The valid values of both; the second's where both hold a path.
KOVGUI_EXPORT Mappings::Values mergeValues(const Mappings::Values &first, const Mappings::Values &second);
/// A list's new item gets its real path: the value of each path that begins with `from` is stored once more,
/// under the path that begins with `to` instead.
KOVGUI_EXPORT void patchNewlyAddedListItemPath(Mappings::Values &values, const QString &from,
                                               const QString &to, const QString &storage = QString());

/// The number between the last "[" and the last "]"; 0 when there is none.
KOVGUI_EXPORT int getItemIdFromPath(const QString &path);
/// The last component.
KOVGUI_EXPORT QString getValueName(const QString &path);
/// The path without its last component; empty for a path of one component.
KOVGUI_EXPORT QString getParentObjectPath(const QString &path);

/// Writes the tree to the Qt message log, critical, a line an entry: `storage: path = value`. Control
/// characters are escaped. The values are written out: dump a request where they may be secret.
KOVGUI_EXPORT void dumpValues(const Mappings::Values &values, const QString &title);

/// Whether two values mean the same although a storage may have turned one of them into a text: 5 and "5",
/// true and "true", a list of one text and that text.
KOVGUI_EXPORT bool isSameValue(const QVariant &first, const QVariant &second);

} // namespace MappingHelpers
