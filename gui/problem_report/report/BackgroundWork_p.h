#pragma once

#include <QObject>
#include <QVariant>

#include <functional>
#include <memory>

/**
 * One piece of work on a thread of its own: starts with start(), tells its progress and its end by signals on
 * the object's thread.
 *
 * Destroying the object cancels the work and waits for it: the body asks often whether to go on. Nothing is
 * emitted then.
 */
class BackgroundWork : public QObject
{
    Q_OBJECT

public:
    /// Told the amount done; false: stop now. May be called as often as the body likes; what is passed on is
    /// bounded.
    using GoOn = std::function<bool(qint64 done)>;
    using Body = std::function<QVariant(const GoOn &goOn)>;

    explicit BackgroundWork(Body body, QObject *parent = nullptr);
    ~BackgroundWork() override;

    void start();
    /// finished() follows soon, with whatever the body returns.
    void cancel();
    bool isCancelled() const;

Q_SIGNALS:
    void progress(qint64 done);
    /// Once.
    void finished(const QVariant &result);

private:
    class Private;
    const std::unique_ptr<Private> d;
};
