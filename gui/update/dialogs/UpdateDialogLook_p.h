#pragma once

#include <QString>

class CProductUpdateInfo;
class QAbstractButton;
class QLabel;
class QWidget;

/// What the two update dialogs have in common.
namespace UpdateDialogLook {

/// Shows the application's icon, or the style's when it has none, sharp at the label's resolution.
void showIcon(QLabel *label);
/// Sees that the row is never narrower than the captions of its buttons.
void keepButtonsWhole(QWidget *row);
/// Says at a button that skips a version that this holds for good.
void explainSkip(QAbstractButton *button);
/// "%1 Update" with the application's name.
QString windowTitle();
/// The record's version as it is shown: in the application mode 6 without its build number. That of its
/// package when its id tells none.
QString versionOf(const CProductUpdateInfo &info);
/// The library's own version, as it is shown.
QString currentVersion();

} // namespace UpdateDialogLook
