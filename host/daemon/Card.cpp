#include "host/daemon/Card.h"

#include <map>
#include <nlohmann/json.hpp>
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

} // namespace

std::string plainText(const std::string& markup)
{
    static const std::set<std::string_view> breaks = { "<br>", "</br>", "<br/>" };
    const std::size_t lastEnd = markup.rfind('>');
    const std::string_view all = markup;
    std::string plain;
    for (std::size_t at = 0; at < all.size();) {
        if (all[at] == '<' && lastEnd != std::string::npos && at < lastEnd) {
            const std::size_t end = all.find('>', at) + 1;
            if (breaks.count(all.substr(at, end - at)) != 0)
                plain += '\n';
            at = end;
        } else if (const auto [character, size] = entityAt(all.substr(at)); size != 0) {
            plain += character;
            at += size;
        } else {
            plain += all[at++];
        }
    }
    return plain;
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
        card.icon = textOf(json, "/app_info/img_path");
        card.request = textOf(json, custom + "/clicked");
        card.buttons = buttonsOf(json);
    } else {
        card.title = textOf(notification, NOTIFICATION_TEXT_TYPE_TITLE);
        card.body = textOf(notification, NOTIFICATION_TEXT_TYPE_CONTENT);
    }
    if (card.title.empty())
        card.title = notification.application;
    return card;
}

} // namespace host
