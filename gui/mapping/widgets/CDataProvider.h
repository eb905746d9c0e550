#pragma once

#include "gui/mapping/values/Mappings.h"

#include <QObject>
#include <QVector>

#include <memory>

class CDataProviderPrivate;
class QWidget;

/**
 * The widgets' side of data mapping: notices what the user changes in a widget and moves values into widgets
 * and out of them, converted as their properties say (docs/reference/data-mapping.md).
 *
 * Buttons, check boxes and checkable group boxes, combo boxes, line and text edits, spin boxes and sliders
 * are known, and what derives from them. A subclass of the provider adds kinds by methods of its own that can
 * be invoked:
 *
 *     Q_INVOKABLE QVariant getClassNameValue(QWidget *widget, const QString &storage, const QString &path);
 *     Q_INVOKABLE void setClassNameValue(QWidget *widget, const Mappings::Values &values);
 *
 * What a widget shows was last written or last reported, or else it is a change: leaving a widget that shows
 * the same as before reports nothing, even where it cannot show the stored value exactly. Numbers that do not
 * fit are the nearest that do; text never becomes markup.
 *
 * Widgets may be deleted at any time. Lives on the GUI thread.
 */
class KOVGUI_EXPORT CDataProvider : public QObject
{
    Q_OBJECT

public:
    /// What the user typed into a widget since it was written or reported last.
    enum class EditState {
        None, ///< nothing, or what it showed before
        Edited, ///< another value
        Unfinished ///< something that is not the widget's value yet
    };

    explicit CDataProvider(QObject *parent = nullptr);
    ~CDataProvider() override;

    /// A widget that is watched already is a warning in the log. With "preprocessValue" nothing is connected.
    virtual void connectWidgetSignals(QWidget *widget);
    virtual void disconnectWidgetSignals(QWidget *widget);
    /// Fills each path of the tree.
    /// @return  false when there is no getter for the widget: an error in the log, and the tree is as it was
    virtual bool getWidgetValues(QWidget *widget, Mappings::Values &values);
    /// Writes the first valid value of the tree without reporting a change. The widget stays as it is when
    /// there is no such value, when the value is of no use for it, and when there is no setter for it; the
    /// latter two are errors in the log.
    virtual void setWidgetValues(QWidget *widget, const Mappings::Values &values);

    EditState editState(QWidget *widget) const;
    QVector<QWidget *> editedWidgets() const;
    /// Takes what was typed for the widget's value, which is reported when it is another one.
    /// @return  false when the widget does not accept it
    bool finishEditing(QWidget *widget);
    /// What the widget shows counts as written.
    void forgetEdit(QWidget *widget);

Q_SIGNALS:
    void valueChanged(QWidget *widget);
    /// The user is typing.
    void edited(QWidget *widget);

private Q_SLOTS:
    void onValueChanged();
    void onTextEditorValueChanged();

private:
    void watch(QWidget *widget);
    void report(QWidget *widget);
    void noteTyping(QWidget *widget);

    const std::unique_ptr<CDataProviderPrivate> d;
};
