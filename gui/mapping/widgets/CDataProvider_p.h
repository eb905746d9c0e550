#pragma once

#include "gui/mapping/values/Mappings.h"
#include "gui/mapping/widgets/WidgetKind_p.h"

#include <QHash>
#include <QPointer>
#include <QVector>
#include <QWidget>

class CTextEditValueWatcher;
/// The watched widgets, and the accessors of every kind: methods that are invoked by name.
class CDataProviderPrivate : public QObject
{
    Q_OBJECT

public:
    struct Watched
    {
        const WidgetKind *kind;
        QPointer<CTextEditValueWatcher> watcher;
        /// What the widget showed when it was written or reported last; a spin box its text, too.
        QVariant shown;
        QString text;
    };

    /// What the widget shows now counts as written.
    void remember(QWidget *widget);
    bool showsOther(const QWidget *widget) const;

    Q_INVOKABLE QVariant getQAbstractButtonValue(QWidget *widget, const QString &storage,
                                                 const QString &path);
    Q_INVOKABLE void setQAbstractButtonValue(QWidget *widget, const Mappings::Values &values);
    Q_INVOKABLE QVariant getQComboBoxValue(QWidget *widget, const QString &storage, const QString &path);
    Q_INVOKABLE void setQComboBoxValue(QWidget *widget, const Mappings::Values &values);
    Q_INVOKABLE QVariant getQLineEditValue(QWidget *widget, const QString &storage, const QString &path);
    Q_INVOKABLE void setQLineEditValue(QWidget *widget, const Mappings::Values &values);
    Q_INVOKABLE QVariant getQTextEditValue(QWidget *widget, const QString &storage, const QString &path);
    Q_INVOKABLE void setQTextEditValue(QWidget *widget, const Mappings::Values &values);
    Q_INVOKABLE QVariant getQDoubleSpinBoxValue(QWidget *widget, const QString &storage, const QString &path);
    Q_INVOKABLE void setQDoubleSpinBoxValue(QWidget *widget, const Mappings::Values &values);
    Q_INVOKABLE QVariant getQSpinBoxValue(QWidget *widget, const QString &storage, const QString &path);
    Q_INVOKABLE void setQSpinBoxValue(QWidget *widget, const Mappings::Values &values);
    Q_INVOKABLE QVariant getQSliderValue(QWidget *widget, const QString &storage, const QString &path);
    Q_INVOKABLE void setQSliderValue(QWidget *widget, const Mappings::Values &values);
    Q_INVOKABLE QVariant getQGroupBoxValue(QWidget *widget, const QString &storage, const QString &path);
    Q_INVOKABLE void setQGroupBoxValue(QWidget *widget, const Mappings::Values &values);

    QHash<const QObject *, Watched> watched;
    AccessorsByClass getters;
    AccessorsByClass setters;
    /// Into which the user typed since they were written or reported last.
    QVector<QPointer<QWidget>> typed;
    /// Widgets being written: a radio button that is checked unchecks its neighbour, which tells so.
    int loading = 0;
};
