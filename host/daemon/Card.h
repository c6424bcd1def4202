#pragma once

#include "host/daemon/TrayStore.h"

#include <string>
#include <vector>

namespace host {

/// What the notification panel shows of a notification.
struct Card {
    struct Button {
        std::string text;
        std::string request; ///< the launch request that it sends, encoded
    };

    std::string title; ///< the application's id when it has none
    std::string body; ///< plain text of several lines
    std::string markup; ///< the body with the markup that desktops know
    std::string icon; ///< the path of a picture; empty = none
    std::string request; ///< what a tap on the card sends, encoded; empty = nothing
    static constexpr std::size_t kMostButtons = 10; ///< the others are left out
    std::vector<Button> buttons;
};

/// Reads the JSON of the notification's extension text, whose members may all be missing; without
/// such a text, or when that is not JSON, its title and content. Any text is accepted.
Card cardOf(const Notification& notification);

/// The text of the markup: without tags, with line breaks and the characters of the entities. Where
/// a line has parts in opaque and in translucent colours, a dot stands for each translucent one.
std::string plainText(const std::string& markup);

/// The same in the markup of desktops. Where plainText has dots, all parts are there, and the
/// opaque ones are bold.
std::string desktopMarkup(const std::string& markup);

} // namespace host
