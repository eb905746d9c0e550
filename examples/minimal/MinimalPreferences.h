#pragma once

#include "gui/mapping/storage/CMappingController.h"
#include "gui/mapping/storage/CMappingModel.h"
#include "gui/mapping/widgets/CDataProvider.h"
#include "gui/mapping/widgets/CWidgetMapper.h"

#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

/// Settings in widgets.
class MinimalPreferences : public QDialog
{
    struct Model : CMappingModel
    {
        Model()
            : CMappingModel(ManualSubmit)
        { }
        QVariant getDefaultValue(const QString &, const QString &) const override { return QString(); }
    };

public:
    explicit MinimalPreferences(QWidget *parent)
        : QDialog(parent)
    {
        setAttribute(Qt::WA_DeleteOnClose);
        auto *name = new QLineEdit(this);
        name->setAccessibleName(tr("Your name"));
        name->setProperty("storages", QStringLiteral("QSettings")); // a form of Qt Designer has these, too
        name->setProperty("QSettings", QStringLiteral("user.name"));
        auto *apply = new QPushButton(tr("&Apply"), this);
        apply->setEnabled(false);
        connect(&m_mapper, &CWidgetMapper::modificationChanged, apply, &QWidget::setEnabled);
        connect(apply, &QPushButton::clicked, this, [this] {
            if (m_mapper.flush()) // what is being typed
                m_model.submit();
        });
        auto *layout = new QVBoxLayout(this);
        layout->addWidget(name);
        layout->addWidget(apply);
        m_mapper.addMappings(this);
    }

private:
    Model m_model;
    CMappingController m_controller{m_model};
    CDataProvider m_provider;
    CWidgetMapper m_mapper{m_controller, m_provider, nullptr};
};
