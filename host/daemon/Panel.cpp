#include "host/daemon/Panel.h"

#include "host/common/Log.h"
#include "host/common/Programs.h"
#include "host/daemon/Answering.h"
#include "host/daemon/Card.h"

namespace host {

namespace {

const int kTap = 0;

std::string encodedRequest(const Card& card, int button)
{
    if (button == kTap)
        return card.request;
    if (button < kTap || static_cast<std::size_t>(button) > card.buttons.size())
        throw sdbus::Error(kInvalidArgs, "it has no button " + std::to_string(button));
    return card.buttons[static_cast<std::size_t>(button) - 1].request;
}

// The application that the request is for. Only the poster's own package: otherwise anybody could
// launch anything with the user's tap and hostd's hands.
std::string targetOf(const Entries& request, const std::string& package)
{
    const std::string* application = findEntry(request, kApplicationIdKey);
    if (!application || application->empty())
        throw sdbus::Error(kInvalidArgs, "its request names no application");
    const std::string owner = packageOf(*application);
    if (owner.empty())
        throw sdbus::Error(kInvalidArgs, *application + " is not installed");
    if (owner != package)
        throw sdbus::Error(kAccessDenied, *application + " is of another package");
    return *application;
}

} // namespace

RequestSender::Request requestOfPress(const Notification& notification, int button)
{
    try {
        const auto request = decodeEntries(encodedRequest(cardOf(notification), button));
        if (!request)
            throw sdbus::Error(kInvalidArgs, "it has no request that can be read");
        return { targetOf(*request, notification.package), *request, "", nullptr };
    } catch (const sdbus::Error& error) {
        const std::string text = "Notification " + std::to_string(notification.id) + " of "
            + notification.application + " launches nothing: " + error.getMessage();
        logWarning(text);
        throw sdbus::Error(error.getName(), text);
    }
}

} // namespace host
