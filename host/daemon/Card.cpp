#include "host/daemon/Card.h"

#include "host/common/Boundary.h"

#include <algorithm>
#include <glib.h>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string_view>

namespace host {

namespace {

using Json = nlohmann::json;

const std::size_t kLongestEntity = sizeof "&quot;" - 1;

std::string textOf(const Json& json, const std::string& pointer)
{
    const Json::json_pointer place(pointer);
    return json.contains(place) && json[place].is_string() ? json[place].get<std::string>() : "";
}

std::string textOf(const Notification& notification, notification_text_type_e type)
{
    const auto found = notification.texts.find(type);
    return found == notification.texts.end() ? "" : found->second.text;
}

std::vector<Card::Button> buttonsOf(const Json& json)
{
    static const Json::json_pointer list("/contents_info/custom_type/contents_list");
    std::vector<Card::Button> buttons;
    if (!json.contains(list) || !json[list].is_array())
        return buttons;
    for (const Json& entry : json[list]) {
        if (textOf(entry, "/type") == "button" && buttons.size() < Card::kMostButtons)
            buttons.push_back({ textOf(entry, "/text"), textOf(entry, "/button_clicked") });
    }
    return buttons;
}

// The character that the entity at this place stands for, and the entity's length; nothing when
// there is none.
std::pair<std::string_view, std::size_t> entityAt(std::string_view markup)
{
    static const std::map<std::string_view, std::string_view> characters
        = { { "&amp;", "&" }, { "&lt;", "<" }, { "&gt;", ">" }, { "&quot;", "\"" },
              { "&apos;", "'" }, { "&nbsp;", "\u00A0" } };
    const std::string_view entity
        = markup.substr(0, markup.substr(0, kLongestEntity).find(';') + 1);
    const auto found = characters.find(entity);
    return found == characters.end() ? std::make_pair(std::string_view(), std::size_t{ 0 })
                                     : std::make_pair(found->second, entity.size());
}

enum class Shade { None, Opaque, Translucent };

/// A part of a line between two tags of colours.
struct Run {
    std::string text;
    Shade shade = Shade::None;
};
using Line = std::vector<Run>;

// Of what follows the tag, <color=#rrggbb> or <color=#rrggbbaa>; nothing when it is another one.
std::optional<Shade> shadeAfter(std::string_view tag)
{
    const std::string_view begin = "<color=#";
    const std::size_t alpha = sizeof "<color=#rrggbb" - 1;
    if (tag == "</color>")
        return Shade::None;
    if (tag.substr(0, begin.size()) != begin)
        return std::nullopt;
    const bool isOpaque
        = tag.size() != alpha + 3 || tag.find_first_not_of("fF", alpha) == alpha + 2;
    return isOpaque ? Shade::Opaque : Shade::Translucent;
}

std::vector<Line> linesOf(const std::string& markup)
{
    static const std::set<std::string_view> breaks = { "<br>", "</br>", "<br/>" };
    const std::size_t lastEnd = markup.rfind('>');
    const std::string_view all = markup;
    std::vector<Line> lines = { { {} } };
    for (std::size_t at = 0; at < all.size();) {
        Line& line = lines.back();
        if (all[at] == '<' && lastEnd != std::string::npos && at < lastEnd) {
            const std::size_t end = all.find('>', at) + 1;
            const std::string_view tag = all.substr(at, end - at);
            at = end;
            if (breaks.count(tag) != 0) {
                lines.push_back({ { "", line.back().shade } });
            } else if (const auto shade = shadeAfter(tag)) {
                line.push_back({ "", *shade });
            }
        } else if (const auto [character, size] = entityAt(all.substr(at)); size != 0) {
            line.back().text += character;
            at += size;
        } else {
            line.back().text += all[at++];
        }
    }
    return lines;
}

bool has(const Line& line, Shade shade)
{
    return std::any_of(line.begin(), line.end(),
        [shade](const Run& run) { return run.shade == shade && !run.text.empty(); });
}

// asText makes the text of a run; it gets no shade in a line that has not both shades.
template <typename AsText>
std::string joined(const std::string& markup, const AsText& asText)
{
    std::string text;
    for (const Line& line : linesOf(markup)) {
        const bool isMixed = has(line, Shade::Opaque) && has(line, Shade::Translucent);
        for (const Run& run : line) {
            if (!run.text.empty())
                text += asText(run.text, isMixed ? run.shade : Shade::None);
        }
        text += '\n';
    }
    text.pop_back();
    return text;
}

std::string escaped(const std::string& text)
{
    const CText markup(g_markup_escape_text(text.c_str(), -1));
    return markup.get();
}

} // namespace

std::string plainText(const std::string& markup)
{
    return joined(markup, [](const std::string& text, Shade shade) {
        return shade == Shade::Translucent ? "\u00B7" : text;
    });
}

std::string desktopMarkup(const std::string& markup)
{
    return joined(markup, [](const std::string& text, Shade shade) {
        return shade == Shade::Opaque ? "<b>" + escaped(text) + "</b>" : escaped(text);
    });
}

Card cardOf(const Notification& notification)
{
    Card card;
    const Json json
        = Json::parse(textOf(notification, NOTIFICATION_TEXT_TYPE_EXTENSION), nullptr, false);
    if (json.is_object()) {
        const std::string custom = "/contents_info/custom_type";
        card.title = textOf(json, custom + "/title");
        card.body = plainText(textOf(json, custom + "/body"));
        card.markup = desktopMarkup(textOf(json, custom + "/body"));
        card.icon = textOf(json, "/app_info/img_path");
        card.request = textOf(json, custom + "/clicked");
        card.buttons = buttonsOf(json);
    } else {
        card.title = textOf(notification, NOTIFICATION_TEXT_TYPE_TITLE);
        card.body = textOf(notification, NOTIFICATION_TEXT_TYPE_CONTENT);
        card.markup = escaped(card.body);
    }
    if (card.title.empty())
        card.title = notification.application;
    return card;
}

} // namespace host
