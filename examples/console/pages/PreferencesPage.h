#pragma once

#include "examples/console/pages/ConsolePage.h"
#include "examples/console/preferences/PreferencesModel.h"

#include <QPointer>

class PreferencesDialog;

/// Opens the preferences, and tells what becomes of them.
class PreferencesPage : public ConsolePage
{
    Q_OBJECT

public:
    explicit PreferencesPage(QWidget *parent = nullptr);

    /// The open dialog, null when there is none.
    PreferencesDialog *dialog() const;
    PreferencesModel &model() { return m_model; }
    bool isLoaded() const { return m_loaded; }

private:
    void open();

    PreferencesModel m_model;
    bool m_loaded = false;
    QPointer<PreferencesDialog> m_dialog;
};
