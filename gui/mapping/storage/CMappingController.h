#pragma once

#include "gui/mapping/values/Mappings.h"

#include <QObject>

#include <memory>

class CMappingModel;
class CMappingValueHandler;

/**
 * Stands between the widgets' mapper and a model: answers reads, collects values, offers each to the value
 * handler and hands what passes to the model.
 *
 * The order of a commit:
 * 1. the values are recorded in valuesToCommit(); a newer value of a path takes the older one's place;
 * 2. beforeCommitChanges() is called, once for each setValue() or setValues() that begins a commit;
 * 3. an invalid value is dropped, with an error in the Qt message log;
 * 4. without a handler all values pass; otherwise each is offered to it, in the order of storages and paths.
 *    One that it takes over holds up those behind it until the answer;
 * 5. what has passed goes to the model in one CMappingModel::setValues(), and leaves valuesToCommit() with
 *    that.
 *
 * An accepted value goes to the model as the handler gives it. A rejected one is dropped; valueRejected() has
 * the widgets show the model's value again. A value that was recorded for a path while its older value was
 * held is offered after the answer, whatever the answer. An answer for which nobody waits is a warning in the
 * log.
 *
 * Values recorded in a slot or hook during a commit are committed by it. Model and handler may be deleted at
 * any time; without a model nothing is read, and what is set is dropped with an error in the log.
 */
class KOVGUI_EXPORT CMappingController : public QObject
{
    Q_OBJECT

public:
    explicit CMappingController(CMappingModel &model, QObject *parent = nullptr);
    ~CMappingController() override;

    /// @param uncommitted  true: a value that waits to be committed counts; false: only what the model gives
    virtual QVariant getValue(const QString &storage, const QString &path, bool uncommitted) const;
    /// Fills every path, values that wait to be committed included. A path without a value is an error in the
    /// Qt message log.
    /// @return  what the model returned; false without a model
    virtual bool getValues(Mappings::Values &values) const;
    virtual void setValue(const QString &storage, const QString &path, QVariant value);
    virtual void setValues(const Mappings::Values &values);

protected:
    /// May read and change valuesToCommit().
    virtual void beforeCommitChanges();

public:
    /// The controller owns a handler without a parent. The handler before is deleted: at once, or after its
    /// call of handleValue() has returned.
    /// @param handler  null for none
    void setValueHandler(CMappingValueHandler *handler);
    CMappingValueHandler *valueHandler() const;
    Mappings::Values &valuesToCommit();

    /// Whether a value waits to be committed, or the model's values differ from the stored ones.
    /// @param instead  values that count instead of the model's for their paths
    bool isModified(const Mappings::Values &instead = Mappings::Values()) const;

public Q_SLOTS:
    /// Drops the values that wait to be committed and reverts the model. The value that the handler holds is
    /// dropped whatever the answer; until then no other is offered.
    void revert();

Q_SIGNALS:
    /// The model's signal.
    void dataChanged();
    /// The model's signal.
    void valueChanged(const QString &storage, const QString &path);
    void valueRejected(const QString &storage, const QString &path);
    /// isModified() may have changed.
    void modifiedChanged();

private Q_SLOTS:
    void onHandleValueFinished(bool accepted, QString storage, QString path, QVariant value);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
