#include "tests/sdk/SdkLog.h"
#include "tests/support/KovTest.h"

#include <functional>
#include <thread>

using Call = std::function<KOV_RESULT(KOV_HANDLE)>;

static KOV_HANDLE newEvent(KOV_RESULT code = KOV_ERR_FAILURE)
{
    KOV_HANDLE handle = nullptr;
    KovService_CreateEvent(code, "issuer", &handle);
    return handle;
}

static KOV_HANDLE parameter(KOV_HANDLE event, const char *name)
{
    KOV_HANDLE handle = nullptr;
    KovEvent_GetParamByName(event, name, &handle);
    return handle;
}

/// Handles, events and their parameters: what a program may do wrong, and what nesting does.
class tst_Handles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { SdkLog::take(); }

    void misuseIsAnError_data()
    {
        Table<Call> row;
        row("AddRef", KovHandle_AddRef);
        row("Free", KovHandle_Free);
        row("GetErrCode", [](KOV_HANDLE handle) { return KovEvent_GetErrCode(handle, nullptr); });
        row("GetErrString",
            [](KOV_HANDLE handle) { return KovEvent_GetErrString(handle, 1, 1, nullptr, nullptr); });
        row("GetIssuerId", [](KOV_HANDLE handle) { return KovEvent_GetIssuerId(handle, nullptr, nullptr); });
        row("GetParamsCount", [](KOV_HANDLE handle) { return KovEvent_GetParamsCount(handle, nullptr); });
        row("GetParam", [](KOV_HANDLE handle) { return KovEvent_GetParam(handle, 0, nullptr); });
        row("GetParamByName",
            [](KOV_HANDLE handle) { return KovEvent_GetParamByName(handle, nullptr, nullptr); });
        row("GetName", [](KOV_HANDLE handle) { return KovEvtPrm_GetName(handle, nullptr, nullptr); });
        row("GetType", [](KOV_HANDLE handle) { return KovEvtPrm_GetType(handle, nullptr); });
        row("ToString", [](KOV_HANDLE handle) { return KovEvtPrm_ToString(handle, nullptr, nullptr); });
        row("ToInt32", [](KOV_HANDLE handle) { return KovEvtPrm_ToInt32(handle, nullptr); });
        row("ToHandle", [](KOV_HANDLE handle) { return KovEvtPrm_ToHandle(handle, nullptr); });
        row("GetRetCode", [](KOV_HANDLE handle) { return KovJob_GetRetCode(handle, nullptr); });
        row("GetError", [](KOV_HANDLE handle) { return KovJob_GetError(handle, nullptr); });
        row("Cancel", KovJob_Cancel);
        row("GetData", [](KOV_HANDLE handle) { return KovJob_GetData(handle, nullptr, nullptr); });
        row("SetCompletionFunction",
            [](KOV_HANDLE handle) { return KovJob_SetCompletionFunction(handle, nullptr, nullptr); });
        row("AddStringParam",
            [](KOV_HANDLE handle) { return KovService_AddStringParam(handle, nullptr, nullptr); });
        row("AddInt32Param", [](KOV_HANDLE handle) { return KovService_AddInt32Param(handle, nullptr, 0); });
        row("AddHandleParam",
            [](KOV_HANDLE handle) { return KovService_AddHandleParam(handle, nullptr, nullptr); });
        row("nested value", [](KOV_HANDLE handle) {
            const KOV_HANDLE outer = newEvent();
            const KOV_RESULT result = KovService_AddHandleParam(outer, "internal_event", handle);
            KovHandle_Free(outer);
            return result;
        });
        row("CompleteJob",
            [](KOV_HANDLE handle) { return KovService_CompleteJob(handle, KOV_SUCCESS, nullptr, nullptr); });
    }

    void misuseIsAnError()
    {
        const auto [call] = cells<Call>();
        const KOV_HANDLE freed = newEvent();
        KovHandle_Free(freed);
        int foreign = 0;
        QVector<KOV_HANDLE> wrong{nullptr, freed, reinterpret_cast<KOV_HANDLE>(&foreign),
                                  reinterpret_cast<KOV_HANDLE>(~quintptr(0))};
        const QByteArray name(QTest::currentDataTag());
        const bool takesEveryKind = name == "AddRef" || name == "Free";
        KOV_HANDLE holder = newEvent();
        KovService_AddInt32Param(holder, "number", 1);
        KOV_HANDLE job = nullptr;
        KovService_CreateJob(&job);
        const QVector<KOV_HANDLE> kinds{holder, parameter(holder, "number"), job};

        for (const KOV_HANDLE handle : qAsConst(wrong)) {
            QCOMPARE(call(handle), KOV_ERR_INVALID_HANDLE);
            QCOMPARE(SdkLog::take().size(), 1);
            QCOMPARE(KovHandle_GetType(handle), KHT_INVALID);
        }
        int refusals = 0;
        for (const KOV_HANDLE handle : kinds) {
            if (!takesEveryKind && call(handle) == KOV_ERR_INVALID_HANDLE)
                ++refusals;
            QCOMPARE(KovHandle_Free(handle), KOV_SUCCESS);
        }
        QCOMPARE(refusals, takesEveryKind ? 0 : 2);
    }

    void tooManyFreesEndOneHandleOnly()
    {
        const KOV_HANDLE outer = newEvent();
        const KOV_HANDLE inner = newEvent(KOV_ERR_IN_PROGRESS);
        QCOMPARE(KovService_AddHandleParam(outer, "internal_event", inner), KOV_SUCCESS);
        QCOMPARE(KovHandle_Free(inner), KOV_SUCCESS);
        QCOMPARE(KovHandle_Free(inner), KOV_ERR_INVALID_HANDLE);

        const KOV_HANDLE param = parameter(outer, "internal_event");
        QCOMPARE(KovHandle_Free(outer), KOV_SUCCESS); // a parameter outlives its event
        KOV_HANDLE again = nullptr;
        QCOMPARE(KovEvtPrm_ToHandle(param, &again), KOV_SUCCESS);
        QVERIFY(again != inner);
        KOV_RESULT code = 0;
        QCOMPARE(KovEvent_GetErrCode(again, &code), KOV_SUCCESS);
        QCOMPARE(code, KOV_ERR_IN_PROGRESS);
        KovHandle_Free(param);
        KovHandle_Free(again);
    }

    void bufferSizes_data()
    {
        // given: -1: a null buffer
        Table<QByteArray, int, KOV_RESULT, uint> row;

        const QByteArray umlaut("K\xc3\xb6ln");
        row("asks for the size", umlaut, -1, KOV_SUCCESS, 5u);
        row("no room for the NUL", umlaut, 5, KOV_ERR_BUFFER_OVERRUN, 6u);
        row("fits exactly", umlaut, 6, KOV_SUCCESS, 5u);
        row("empty text, no room", "", 0, KOV_ERR_BUFFER_OVERRUN, 1u);
        row("broken bytes are replaced", "a\xff", 100, KOV_SUCCESS, 4u);
    }

    void bufferSizes()
    {
        const auto [text, given, result, needed] = cells<QByteArray, int, KOV_RESULT, uint>();
        KOV_HANDLE handle = nullptr;
        QCOMPARE(KovService_CreateEvent(0, text.constData(), &handle), KOV_SUCCESS);
        QByteArray buffer(128, '?');
        uint32_t size = given < 0 ? 77 : static_cast<uint32_t>(given);
        QCOMPARE(KovEvent_GetIssuerId(handle, given < 0 ? nullptr : buffer.data(), &size), result);
        QCOMPARE(size, needed);
        const bool isWritten = given > static_cast<int>(size);
        const QByteArray expected = QString::fromUtf8(text).toUtf8() + '\0';
        QCOMPARE(buffer, (isWritten ? expected : QByteArray())
                             + QByteArray(128 - (isWritten ? expected.size() : 0), '?'));
        QCOMPARE(KovEvent_GetIssuerId(handle, buffer.data(), nullptr), KOV_ERR_INVALID_ARG);
        KovHandle_Free(handle);
    }

    void parametersKeepTheirKind()
    {
        const KOV_HANDLE holder = newEvent();
        KovService_AddStringParam(holder, "text", "7");
        KovService_AddInt32Param(holder, "number", INT32_MIN);
        const KOV_HANDLE text = parameter(holder, "text");
        const KOV_HANDLE number = parameter(holder, "number");
        int32_t value = 5;
        char buffer[32];
        uint32_t size = sizeof buffer;
        KOV_HANDLE handle = nullptr;
        QCOMPARE(KovEvtPrm_ToInt32(text, &value), KOV_ERR_NO_DATA);
        QCOMPARE(KovEvtPrm_ToString(number, buffer, &size), KOV_SUCCESS);
        QCOMPARE(buffer, "-2147483648");
        QCOMPARE(KovEvtPrm_ToHandle(text, &handle), KOV_ERR_NO_DATA);
        QCOMPARE(KovEvent_GetParam(holder, 2, &handle), KOV_ERR_NO_DATA);
        for (const KOV_HANDLE used : {holder, text, number})
            QCOMPARE(KovHandle_Free(used), KOV_SUCCESS);
    }

    void cyclesAreRefused()
    {
        const KOV_HANDLE a = newEvent();
        const KOV_HANDLE b = newEvent();
        const KOV_HANDLE c = newEvent();
        QCOMPARE(KovService_AddHandleParam(a, "internal_event", a), KOV_ERR_INVALID_ARG);
        QCOMPARE(KovService_AddHandleParam(a, "internal_event", b), KOV_SUCCESS);
        QCOMPARE(KovService_AddHandleParam(b, "internal_event", c), KOV_SUCCESS);
        QCOMPARE(KovService_AddHandleParam(c, "internal_event", a), KOV_ERR_INVALID_ARG);
        QCOMPARE(KovService_AddHandleParam(a, "second", c), KOV_SUCCESS); // twice is no circle
        uint32_t count = 9;
        QCOMPARE(KovEvent_GetParamsCount(c, &count), KOV_SUCCESS);
        QCOMPARE(count, 0u);
        for (const KOV_HANDLE used : {a, b, c})
            KovHandle_Free(used);
    }

    void deepNestingDies()
    {
        const KOV_HANDLE outermost = newEvent();
        KovHandle_AddRef(outermost);
        KOV_HANDLE innermost = outermost;
        for (int depth = 0; depth < 200000; ++depth) {
            const KOV_HANDLE next = newEvent();
            KovService_AddHandleParam(innermost, "internal_event", next);
            KovHandle_Free(innermost);
            innermost = next;
        }
        QCOMPARE(KovHandle_Free(innermost), KOV_SUCCESS);
        QCOMPARE(KovHandle_Free(outermost), KOV_SUCCESS);
        QCOMPARE(KovHandle_GetType(outermost), KHT_INVALID);
    }

    void handlesFromManyThreads()
    {
        const KOV_HANDLE shared = newEvent();
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([shared] {
                for (int turn = 0; turn < 500; ++turn) {
                    const KOV_HANDLE own = newEvent();
                    KovService_AddHandleParam(own, "internal_event", shared);
                    KovService_AddHandleParam(shared, "internal_event", own); // refused: a circle
                    KovService_AddInt32Param(shared, "number", turn);
                    const KOV_HANDLE param = parameter(shared, "number");
                    KovHandle_AddRef(shared);
                    for (const KOV_HANDLE used : {param, own, shared})
                        KovHandle_Free(used);
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        uint32_t count = 0;
        QCOMPARE(KovEvent_GetParamsCount(shared, &count), KOV_SUCCESS);
        QCOMPARE(count, 2000u);
        QCOMPARE(KovHandle_Free(shared), KOV_SUCCESS);
        const QStringList lines = SdkLog::take();
        QCOMPARE(lines.size(), 2000);
        QVERIFY(lines.first().contains("hold itself"));
    }

private:
    SdkLog m_log;
};

KOV_TEST_MAIN(QCoreApplication, tst_Handles)
#include "tst_handles.moc"
