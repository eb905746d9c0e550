#include "kov_sdk_communication/CSdkRequest.h"
#include "tests/sdk/SdkLog.h"
#include "tests/support/KovTest.h"

#include <atomic>
#include <thread>

static t_SdkHandleWrap newJob()
{
    t_SdkHandleWrap job;
    KovService_CreateJob(job.out());
    return job;
}

static KOV_RESULT complete(KOV_HANDLE job, KOV_RESULT result)
{
    return KovService_CompleteJob(job, result, nullptr, nullptr);
}

static void count(KOV_HANDLE, KOV_RESULT, void *context)
{
    ++*static_cast<std::atomic<int> *>(context);
}

static void setAnotherFromInside(KOV_HANDLE job, KOV_RESULT, void *context)
{
    KovJob_SetCompletionFunction(job, count, context); // runs at once, and must not wait for this very call
}

struct SlowFunction
{
    std::atomic<bool> isRunning{false};
    std::atomic<bool> hasReturned{false};

    static void run(KOV_HANDLE, KOV_RESULT, void *context)
    {
        auto *const self = static_cast<SlowFunction *>(context);
        self->isRunning = true;
        for (int turn = 0; turn < 2000; ++turn)
            std::this_thread::yield();
        self->hasReturned = true;
    }
};

/// Jobs, the handles that own them, and requests whose job ends on another thread.
class tst_SdkRequest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { SdkLog::take(); }
    void cleanup() { QCOMPARE(SdkLog::take(), QStringList()); } // every handle was used and freed rightly

    void wrapCountsReferences()
    {
        t_SdkHandleWrap job = newJob();
        const KOV_HANDLE handle = job;
        {
            t_SdkHandleWrap copy = job;
            t_SdkHandleWrap moved = std::move(copy);
            QVERIFY(copy.isNull());
            job = t_SdkHandleWrap::share(moved);
            job = *&job; // to itself
            moved.out();
            QVERIFY(moved.isNull());
        }
        QCOMPARE(KovHandle_GetType(handle), KHT_JOB);
        job.reset();
        job.reset();
        QCOMPARE(KovHandle_GetType(handle), KHT_INVALID);
    }

    void completionFunctionRules()
    {
        std::atomic<int> first{0};
        std::atomic<int> second{0};
        const t_SdkHandleWrap job = newJob();
        KovJob_SetCompletionFunction(job, count, &first);
        KovJob_SetCompletionFunction(job, setAnotherFromInside, &second);
        QCOMPARE(complete(job, 1), KOV_SUCCESS);
        QCOMPARE(first.load(), 0);
        QCOMPARE(second.load(), 1);
        KovJob_SetCompletionFunction(job, count, &first); // ended: at once
        QCOMPARE(first.load(), 1);
        const t_SdkHandleWrap removed = newJob();
        KovJob_SetCompletionFunction(removed, count, &first);
        KovJob_SetCompletionFunction(removed, nullptr, nullptr);
        KovJob_Cancel(removed);
        QCOMPARE(first.load(), 1);
    }

    void replacedFunctionDoesNotRun()
    {
        const t_SdkHandleWrap job = newJob();
        SlowFunction slow;
        KovJob_SetCompletionFunction(job, &SlowFunction::run, &slow);
        std::thread ends([&job] { complete(job, KOV_SUCCESS); });
        while (!slow.isRunning)
            std::this_thread::yield();
        KovJob_SetCompletionFunction(job, nullptr, nullptr);
        const bool hasReturned = slow.hasReturned;
        ends.join();
        QVERIFY(hasReturned);
    }

    void completesOnceFromTheEventLoop_data()
    {
        Table<QString, KOV_RESULT> row;
        row("ended before", "before", 15282);
        row("ended by another thread", "thread", 15282);
        row("cancelled", "cancel", KOV_ERR_CANCELLED);
        row("null", "null", KOV_ERR_INVALID_HANDLE);
        row("no job", "event", KOV_ERR_INVALID_HANDLE);
    }

    void completesOnceFromTheEventLoop()
    {
        const auto [how, result] = cells<QString, KOV_RESULT>();
        t_SdkHandleWrap event;
        KovService_CreateEvent(15282, nullptr, event.out());
        t_SdkHandleWrap job = newJob();
        const auto end = [&] { KovService_CompleteJob(job, 15282, event, "K\xc3\xb6ln"); };
        if (how == "before")
            end();
        if (how == "null")
            job.reset();

        CSdkRequest request(how == "event" ? event : job);
        QSignalSpy completed(&request, &CSdkRequest::jobCompleted);
        if (how == "thread")
            std::thread(end).join();
        if (how == "cancel")
            request.cancel();
        QCOMPARE(completed.size(), 0);
        QVERIFY(!request.isCompleted());
        QCOMPARE(request.result(), KOV_ERR_IN_PROGRESS);
        QVERIFY(completed.wait());
        request.cancel();
        QCoreApplication::processEvents();
        QCOMPARE(completed.size(), 1);
        QCOMPARE(completed.first().first().toInt(), result);
        QCOMPARE(request.result(), result);
        const bool hasMore = result == 15282;
        QCOMPARE(request.data(), hasMore ? QString::fromUtf8("Köln") : QString());
        QCOMPARE(request.errorEvent().handle(), hasMore ? event.handle() : nullptr);
    }

    void oneJobManyRequests()
    {
        const t_SdkHandleWrap job = newJob();
        CSdkRequest first(job);
        auto second = std::make_unique<CSdkRequest>(job);
        CSdkRequest third(job);
        QSignalSpy firstCompleted(&first, &CSdkRequest::jobCompleted);
        QSignalSpy thirdCompleted(&third, &CSdkRequest::jobCompleted);
        second.reset();
        complete(job, KOV_SUCCESS);
        CSdkRequest late(job);
        QSignalSpy lateCompleted(&late, &CSdkRequest::jobCompleted);
        QCoreApplication::processEvents();
        QCOMPARE(firstCompleted.size(), 1);
        QCOMPARE(thirdCompleted.size(), 1);
        QCOMPARE(lateCompleted.size(), 1);
    }

    void destroyedInsideItsSlot()
    {
        const t_SdkHandleWrap job = newJob();
        auto *const request = new CSdkRequest(job);
        int calls = 0;
        connect(request, &CSdkRequest::jobCompleted, [&] {
            ++calls;
            delete request;
        });
        complete(job, KOV_SUCCESS);
        QCoreApplication::processEvents();
        QCOMPARE(calls, 1);
    }

    void destroyedWhileTheJobEnds()
    {
        int completed = 0;
        for (int turn = 0; turn < 500; ++turn) {
            const t_SdkHandleWrap job = newJob();
            auto request = std::make_unique<CSdkRequest>(job);
            connect(request.get(), &CSdkRequest::jobCompleted, [&completed] { ++completed; });
            std::thread ends([&job] { complete(job, KOV_SUCCESS); });
            if (turn % 2)
                QCoreApplication::processEvents();
            request.reset();
            ends.join();
        }
        QVERIFY(completed <= 250);
    }

    void endedByTwoThreads()
    {
        for (int turn = 0; turn < 300; ++turn) {
            const t_SdkHandleWrap job = newJob();
            std::atomic<int> calls{0};
            KovJob_SetCompletionFunction(job, count, &calls);
            KOV_RESULT completion = 0;
            std::thread completes([&] { completion = complete(job, KOV_SUCCESS); });
            KovJob_Cancel(job);
            completes.join();
            KOV_RESULT result = 1;
            QCOMPARE(KovJob_GetRetCode(job, &result), KOV_SUCCESS);
            QCOMPARE(result, KOV_SUCCEEDED(completion) ? KOV_SUCCESS : KOV_ERR_CANCELLED);
            QCOMPARE(calls.load(), 1);
        }
    }

private:
    SdkLog m_log;
};

KOV_TEST_MAIN(QCoreApplication, tst_SdkRequest)
#include "tst_sdk_request.moc"
