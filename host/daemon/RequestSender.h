#pragma once

#include "host/common/Entries.h"
#include "host/common/Timer.h"
#include "host/daemon/Applications.h"

#include <functional>
#include <map>
#include <memory>
#include <sdbus-c++/sdbus-c++.h>
#include <string>
#include <vector>

namespace host {

/// Sends launch requests to applications, which are started when they do not run. Main loop.
class RequestSender {
public:
    /// applications must outlive the sender.
    explicit RequestSender(Applications& applications);

    struct Request {
        std::string application;
        Entries entries;
        std::string once; ///< of requests with the same text only one is handled; empty = each is
        std::function<bool()> isWanted; ///< asked when the application is there; null = it is
    };
    /// error: null when the application's callback for the request has returned.
    using Answered = std::function<void(const sdbus::Error* error)>;
    /// answered is called once, maybe before this returns, but not for a request that is not wanted
    /// any more.
    void send(Request request, Answered answered);

private:
    struct Sending {
        Request request;
        Answered answered;
        int tries = 0;
    };

    void _find(const std::shared_ptr<Sending>& sending);
    void _call(const std::shared_ptr<Sending>& sending, const std::string& connection);
    void _end(const Sending* sending);

    Applications& _applications;
    /// Calls that wait for their answers, since the end of a proxy is the end of its calls.
    std::map<const Sending*, std::unique_ptr<sdbus::IProxy>> _calls;
    std::vector<std::unique_ptr<sdbus::IProxy>> _ended; ///< until their callbacks have returned
    std::unique_ptr<Timer> _sweep;
};

} // namespace host
