#pragma once

#include "gui/window/CBaseDialog.h"

#include <QString>

/// Shows the details of a message: a text that can be read, selected and copied, and a Close button. The text
/// is plain: markup in it is shown as it stands.
class KOVGUI_EXPORT CDetailsDialog : public CBaseDialog
{
    Q_OBJECT

public:
    explicit CDetailsDialog(const QString &details, QWidget *parent = nullptr,
                            Qt::WindowFlags flags = Qt::WindowFlags(),
                            CustomWindowFlags customFlags = NoCustomFlags);
    ~CDetailsDialog() override;
};
