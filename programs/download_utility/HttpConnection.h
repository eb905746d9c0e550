#pragma once

#include "programs/download_utility/CommandLine.h"
#include "programs/download_utility/ResponseHead.h"
#include "programs/download_utility/Result.h"
#include "programs/download_utility/Url.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/**
 * Asks for one address and hands over the answer, piece by piece. Redirects are followed: to HTTP and HTTPS
 * only, never from HTTPS back to HTTP, and user and password stay with the origin they were given for.
 *
 * It keeps its connection and its proxy login between calls. Environment variables do not choose a proxy, and
 * without the proxy it was told to use there is no connection. One thread.
 */
class HttpConnection
{
public:
    /// What happens to an answer. Every call may fail, which ends the exchange with that failure.
    class Sink
    {
    public:
        virtual ~Sink() = default;
        /// The head of the final answer: no redirect, no question for a password. Before the first body().
        virtual Result head(const ResponseHead &head) = 0;
        virtual Result body(const char *data, std::size_t size) = 0;
        /// Several times a second, also when nothing arrives.
        virtual Result tick() = 0;
    };

    struct Question
    {
        Url url;
        std::uint64_t from = 0; ///< first byte wanted; 0 asks for the whole file
        std::string validator; ///< sent as "If-Range" when from is not 0 and this is not empty
    };

    struct Answer
    {
        /// Success: the body arrived whole. ExitCode::NoConnection, ExitCode::Interrupted: another try may
        /// help.
        Result result;
        unsigned retryAfter = 0; ///< seconds that the server asks to wait; 0: it does not say
    };

    /// @param options        for the proxy, the time limits and the trusted certificates; must outlive the
    /// object
    /// @param proxyPassword  sent to the proxy only
    HttpConnection(const Options &options, const std::string &proxyPassword);
    ~HttpConnection();

    Answer ask(const Question &question, Sink &sink);
    /// True once any connection stood.
    bool hasConnected() const;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
