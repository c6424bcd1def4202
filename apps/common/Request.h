#pragma once

#include <app_control.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>

/** Launch requests to other applications, and replies to them. */
namespace app {

using Control = std::unique_ptr<app_control_s, int (*)(app_control_h)>;

/// A request to the application of that id, without extras; with null a reply.
Control makeControl(const char* application = nullptr);

void addExtra(const Control& control, const std::string& key, const std::string& value);

/// The extra of that key; none when the request or reply has none.
std::optional<std::string> extraOf(app_control_h control, const std::string& key);

/// Answers a request: done, or refused for that reason, one line that becomes the extra
/// kReasonExtra of AlertState.h. A caller that wants no answer gets none.
void reply(app_control_h request, const std::string& refusal, const Control& made = makeControl());

using ReadReply = std::function<void(app_control_h reply, app_control_result_e result)>;

/// Sends the request and runs the main loop until the reply has come, which is given to read, or
/// the seconds are over; a reply that comes later is dropped. False when the request cannot be
/// sent. The main loop must not be running yet; read must not throw.
bool ask(const Control& request, double seconds, const ReadReply& read);

} // namespace app
