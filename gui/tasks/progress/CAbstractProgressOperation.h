#pragma once

#include "gui/KovGuiGlobal.h"

#include <QMap>
#include <QObject>
#include <QVariant>

#include <memory>

/**
 * A long operation as a view sees it: a state, a percentage, free progress data, texts, and what may be done
 * to it. A progress dialog or a declarative page binds to the properties.
 *
 * It does nothing by itself: a derived class overrides start(), pause() and cancel() and reports with the
 * protected setters. Each setter notifies only on a change. Lives on the GUI thread.
 */
class KOVGUI_EXPORT CAbstractProgressOperation : public QObject
{
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    /// 0 to 100 by convention; any value is passed on as it is.
    Q_PROPERTY(int progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QMap<QString, QVariant> progressData READ progressData NOTIFY progressDataChanged)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QString description READ description NOTIFY descriptionChanged)
    /// What cancelling means, to be shown where the user may cancel.
    Q_PROPERTY(QString cancelHint READ cancelHint WRITE setCancelHint NOTIFY cancelHintChanged)
    Q_PROPERTY(bool cancellable READ isCancellable WRITE setCancellable NOTIFY cancellableChanged)
    Q_PROPERTY(bool pausable READ isPausable WRITE setPausable NOTIFY pausableChanged)

public:
    enum State {
        NotStarted = 0,
        Running = 1,
        Paused = 2,
        Reconnecting = 3,
        /// The last of the states that a loop visits: Reconnecting is a kind of running, not one of them.
        Last = Paused,
    };
    Q_ENUM(State)

    explicit CAbstractProgressOperation(QObject *parent = nullptr);
    ~CAbstractProgressOperation() override;

    State state() const;
    int progress() const;
    QMap<QString, QVariant> progressData() const;
    QString name() const;
    QString description() const;
    QString cancelHint() const;
    bool isCancellable() const;
    bool isPausable() const;

    void setName(const QString &name);
    void setCancelHint(const QString &hint);
    void setCancellable(bool cancellable);
    void setPausable(bool pausable);

public Q_SLOTS:
    /// By default these three do nothing.
    virtual void start();
    virtual void pause();
    virtual void cancel();
    /// start() when not started or paused, else pause().
    void toggleStartPause();

Q_SIGNALS:
    void stateChanged(State state);
    void progressChanged(int progress);
    void progressDataChanged(const QMap<QString, QVariant> &data);
    void nameChanged(const QString &name);
    void descriptionChanged(const QString &description);
    void cancelHintChanged(const QString &hint);
    void cancellableChanged(bool cancellable);
    void pausableChanged(bool pausable);

protected:
    void setState(State state);
    void setProgress(int progress);
    void setProgressData(const QMap<QString, QVariant> &data);
    void setDescription(const QString &description);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
