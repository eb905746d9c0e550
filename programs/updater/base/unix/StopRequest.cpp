#include "programs/updater/base/StopRequest.h"

#include <csignal>
#include <initializer_list>

namespace StopRequest {

namespace {

volatile std::sig_atomic_t isRequested = 0;

void onSignal(int)
{
    isRequested = 1;
}

} // namespace

void watch()
{
    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = onSignal;
    // A read or a rename that was under way is not to fail.
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        // Who started the program may have shielded it from a signal: a shell in the background, nohup.
        struct sigaction present = {};
        if (sigaction(number, nullptr, &present) == 0 && present.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
}

bool isPending()
{
    return isRequested != 0;
}

} // namespace StopRequest
