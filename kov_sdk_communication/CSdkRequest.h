#pragma once

#include "kov_sdk/KovSdk.h"
#include "kov_sdk_communication/SdkCommunicationGlobal.h"
#include "kov_sdk_communication/SdkHandleWrap.h"

#include <QObject>
#include <QString>

#include <memory>

/**
 * One request to the service: a job that reports its end by a signal on the thread of the request object.
 *
 * Emits jobCompleted() exactly once, from the event loop, also for a job that had ended before the request
 * was made and for a null or invalid handle (with KOV_ERR_INVALID_HANDLE). Destroying the request leaves the
 * job alone and ends the signal; it may be destroyed inside a slot of jobCompleted(), and on its own thread
 * at any moment of a job that ends on another.
 *
 * Several requests may wait for one job. A request takes the job's completion function
 * (KovJob_SetCompletionFunction) for itself and its like: set none beside it. It holds a reference of the
 * job.
 */
class KOVSDKCOMMUNICATION_EXPORT CSdkRequest : public QObject
{
    Q_OBJECT

public:
    explicit CSdkRequest(const t_SdkHandleWrap &job, QObject *parent = nullptr);
    ~CSdkRequest() override;

    /// Null when the request was made with something that is no job.
    t_SdkHandleWrap job() const;
    /// True from the emission of jobCompleted() on, as everything below.
    bool isCompleted() const;
    /// The job's result; KOV_ERR_IN_PROGRESS before the end.
    KOV_RESULT result() const;
    /// The event that explains a failure, null when there is none.
    t_SdkHandleWrap errorEvent() const;
    /// Text data that the job brought back.
    QString data() const;

public Q_SLOTS:
    /// Cancels the job; jobCompleted(KOV_ERR_CANCELLED) follows unless it had ended.
    void cancel();

Q_SIGNALS:
    void jobCompleted(KOV_RESULT result);

private:
    Q_INVOKABLE void complete();

    class Private;
    const std::unique_ptr<Private> d;
};
