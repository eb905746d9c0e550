#pragma once

#include "gui/mapping/values/Mappings.h"

#include <QObject>

#include <memory>

class CDataProvider;
class CMappingController;
class CWidgetIniter;
class QWidget;

/**
 * Binds widgets to stored values: shows the values, and sets what the user changes. What a widget is bound
 * to, its dynamic properties say (docs/reference/data-mapping.md), so that a form needs no code of its own:
 *
 *     CMappingModel model(CMappingModel::ManualSubmit);
 *     CMappingController controller(model);
 *     CDataProvider provider;
 *     CWidgetMapper mapper(controller, provider, nullptr, &dialog);
 *     mapper.addMappings(&dialog);
 *
 *     Apply:   enabled while isModified(); if (mapper.flush()) model.submit();
 *     Cancel and Reset:   mapper.revert();
 *
 * A widget that the user is typing into keeps what was typed, whatever happens to its value, until flush() or
 * revert(). Several widgets may show one value: they follow each other.
 *
 * Controller, provider, initer and widgets may be deleted at any time, and the mapper in a slot of its own
 * signals. Lives on the GUI thread.
 */
class KOVGUI_EXPORT CWidgetMapper : public QObject
{
    Q_OBJECT

public:
    /// @param initer  prepares the widgets; may be null
    CWidgetMapper(CMappingController &controller, CDataProvider &provider, CWidgetIniter *initer,
                  QObject *parent = nullptr);
    ~CWidgetMapper() override;

    /// Binds one widget and fills it.
    /// @return  false, with an error in the log, for a widget that is mapped already, and for a path with a
    ///          dynamic part when the widget does not say what stands for it; such a widget is not mapped
    bool addMapping(QWidget *widget);
    /// Binds every widget inside the form, itself included, that has the property "storages", and fills all
    /// of them with values that are read together. Emits initWidgetsFinished().
    /// @return  false when a widget could not be mapped; the others are
    bool addMappings(QWidget *form);
    /// The provider goes on to watch the widget.
    void removeMapping(QWidget *widget);

    /// Whether anything that the widgets show, values being typed included, or that the model was given,
    /// differs from what is stored. Costs the same for any number of widgets.
    bool isModified() const;
    /// Sets what was typed and not reported: to be called before the values are submitted, because a shortcut
    /// may press a button while the focus stays where it is.
    /// @return  false when a widget holds a text that it does not accept; that text is not set
    bool flush();

public Q_SLOTS:
    /// The widget's value has changed: sets it.
    void processValueChanged(QWidget *widget);
    /// The same for the widget that sends the signal: for widgets with "preprocessValue", whose value
    /// somebody else reports.
    void onPreprocessedValueChanged();
    /// Forgets what was typed and what was set but not submitted, and shows the stored values.
    void revert();

Q_SIGNALS:
    /// All mapped widgets were prepared and filled. Writing blocks their signals: who follows them by signals
    /// looks now.
    void initWidgetsFinished();
    /// A widget's changed values were set.
    void valuesChanged(const QHash<QString, QHash<QString, QVariant>> &values);
    void modificationChanged(bool modified);

private Q_SLOTS:
    void updateWidgets();

private:
    bool initPaths(QWidget *widget);
    void setWidgetValues(QWidget *widget);

    class Private;
    const std::unique_ptr<Private> d;
};
