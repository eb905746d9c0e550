#include "examples/console/pages/PreferencesPage.h"

#include "examples/console/preferences/PreferencesDialog.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

PreferencesPage::PreferencesPage(QWidget *parent)
    : ConsolePage(tr("Preferences"), parent)
{
    auto *text = new QLabel(
        tr("The form's widgets say by their properties what they show: the console's settings, and the "
           "configuration of a machine, which the service keeps."),
        area());
    text->setWordWrap(true);
    auto *open = new QPushButton(tr("&Preferences…"), area());
    open->setObjectName(QStringLiteral("openPreferences"));
    connect(open, &QPushButton::clicked, this, &PreferencesPage::open);
    auto *unavailable = new QCheckBox(tr("The service is &unavailable"), area());
    unavailable->setObjectName(QStringLiteral("serviceUnavailable"));
    connect(unavailable, &QCheckBox::toggled, this,
            [this](bool checked) { m_model.service().setAvailable(!checked); });
    auto *row = new QHBoxLayout;
    row->addWidget(open);
    row->addWidget(unavailable);
    row->addStretch();
    auto *layout = new QVBoxLayout(area());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(text);
    layout->addLayout(row);

    connect(&m_model, &PreferencesModel::loaded, this, [this](int result) {
        m_loaded = true;
        report(KOV_SUCCEEDED(result) ? tr("The service told the machine's configuration.")
                                     : tr("The service did not tell the machine's configuration."));
    });
    connect(&m_model, &CMappingModel::submitFinished, this, [this](int result) {
        report(KOV_SUCCEEDED(result) ? tr("The preferences are saved.")
                                     : tr("The preferences are not saved: result %1.").arg(result));
    });
}

void PreferencesPage::open()
{
    if (!m_dialog) {
        m_dialog = new PreferencesDialog(m_model, this);
        m_dialog->setAttribute(Qt::WA_DeleteOnClose);
        m_dialog->open();
    }
    m_loaded = false;
    m_model.load();
}

PreferencesDialog *PreferencesPage::dialog() const
{
    return m_dialog;
}
