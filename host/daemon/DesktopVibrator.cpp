#include "host/daemon/DesktopVibrator.h"

#include "host/common/Bus.h"

#include <map>
#include <sdbus-c++/sdbus-c++.h>
#include <string>

namespace host {

namespace {

const char* const kInterface = "org.sigxcpu.Feedback";
const char* const kEvent = "alarm-clock-elapsed";
const char* const kApplication = "com.velmora.alarm-alert";
const std::int32_t kEndlessly = 0; ///< as a timeout for feedbackd

} // namespace

DesktopVibrator::DesktopVibrator()
    : _feedbackd(sdbus::createProxy(bus(), "org.sigxcpu.Feedback", "/org/sigxcpu/Feedback"))
{
}

void DesktopVibrator::begin()
{
    end();
    // feedbackd's profile "quiet" is the one without sound.
    const std::map<std::string, sdbus::Variant> hints = { { "profile", std::string("quiet") } };
    _feedbackd->callMethodAsync("TriggerFeedback")
        .onInterface(kInterface)
        .withArguments(std::string(kApplication), std::string(kEvent), hints, kEndlessly)
        .uponReplyInvoke([this, begun = _begun](const sdbus::Error* error, std::uint32_t id) {
            if (error)
                return;
            if (begun == _begun) {
                _running = id;
            } else {
                _endFeedback(id);
            }
        });
}

void DesktopVibrator::end()
{
    ++_begun;
    if (_running)
        _endFeedback(*_running);
    _running.reset();
}

void DesktopVibrator::_endFeedback(std::uint32_t id)
{
    _feedbackd->callMethodAsync("EndFeedback")
        .onInterface(kInterface)
        .withArguments(id)
        .uponReplyInvoke([](const sdbus::Error*) {});
}

} // namespace host
