#pragma once

#include "gui/window/CBaseDialog.h"

#include <memory>

class CWidgetMapper;
class PreferencesModel;

/// The console's preferences. What they show and where it is stored, the form says.
class PreferencesDialog : public CBaseDialog
{
    Q_OBJECT

public:
    /// @param model  outlives the dialog
    explicit PreferencesDialog(PreferencesModel &model, QWidget *parent = nullptr);
    ~PreferencesDialog() override;

public Q_SLOTS:
    /// Saves, and closes when everything was saved.
    void accept() override;
    /// Forgets every change.
    void reject() override;

Q_SIGNALS:
    /// @param result  negative: something is not saved, and the user was told why
    void applied(int result);

private:
    void apply();
    void submitWhenAnswered();
    void onSubmitted(int result);
    void updateButtons();
    void updateDependents();

    class Private;
    const std::unique_ptr<Private> d;
};
