#pragma once

#include "gui/KovGuiGlobal.h"

#include <QHash>
#include <QString>
#include <QVariant>

/**
 * The vocabulary of data mapping: the tree in which values travel, and the dynamic properties with which a
 * widget says what it shows (docs/reference/data-mapping.md).
 */
namespace Mappings {

/// Storage name, path inside the storage, value. An invalid value is one that is asked for and not known.
using Values = QHash<QString, QHash<QString, QVariant>>;

/// The storage that every model knows: the application's QSettings.
constexpr const char *QSettingsStorage = "QSettings";

/// The storages that the widget takes its values from: a list of texts. For each of them, the property of the
/// storage's own name lists the paths in it.
constexpr const char *StoragesProp = "storages";
/// A placeholder in a path and the property whose text takes its place.
constexpr const char *DynamicPathPart = "DYNAMIC_PART";
/// True for a widget whose changes are reported by somebody else, see
/// CWidgetMapper::onPreprocessedValueChanged().
constexpr const char *PreprocessValueProp = "preprocessValue";
/// Names of other accessors than those of the widget's class, see CDataProvider.
constexpr const char *GetterProp = "getter";
constexpr const char *SetterProp = "setter";
/// For an application's CWidgetIniter: how it prepares the widget. The library does not read it.
constexpr const char *IniterProp = "initer";
/// shown = stored * multiplier / divisor. Whole numbers; what is below 1 counts as 1.
constexpr const char *MultiplierProp = "multiplier";
constexpr const char *DivisorProp = "divisor";
/// The stored number is a double, or an unsigned int; without either it is an int.
constexpr const char *ValueTypeDoubleProp = "typeDouble";
constexpr const char *ValueTypeUIntProp = "typeUInt";
/// A checked button stands for a stored false.
constexpr const char *InvertValueProp = "invertValue";
/// For an application's own accessors. The library does not read it.
constexpr const char *UnckeckableButtonProp = "unckeckableButton";

/// Every storage and path of both. Where both hold a path: the second's value if it is valid, else the
/// first's.
KOVGUI_EXPORT Values unitePaths(const Values &first, const Values &second);

} // namespace Mappings
