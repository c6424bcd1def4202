#include "host/daemon/TrayService.h"

#include "host/daemon/Answering.h"
#include "host/daemon/Card.h"
#include "host/daemon/Panel.h"

#include <ctime>
#include <memory>

namespace host {

namespace {

void refuseUnless(bool good, const char* text)
{
    if (!good)
        throw std::invalid_argument(text);
}

bool isIn(int value, int low, int high) { return value >= low && value <= high; }

bool isTextType(int type)
{
    return type == NOTIFICATION_TEXT_TYPE_TITLE || type == NOTIFICATION_TEXT_TYPE_CONTENT
        || type == NOTIFICATION_TEXT_TYPE_EXTENSION;
}

Notification theOne(const std::vector<Notification>& found, const std::string& tag)
{
    if (found.empty())
        throw sdbus::Error(kNoNotification, "no notification has the tag " + tag);
    if (found.size() > 1) {
        throw sdbus::Error(kInvalidArgs,
            found[0].application + " and " + found[1].application
                + " both have a notification with the tag " + tag);
    }
    return found[0];
}

} // namespace

TrayService::TrayService(TrayStore& store, Applications& applications, RequestSender& sender,
    std::function<void()> changed)
    : _store(store)
    , _applications(applications)
    , _sender(sender)
    , _changed(std::move(changed))
{
}

Identity TrayService::_caller()
{
    Identity caller = _applications.who(callerName());
    if (caller.application.empty())
        throw sdbus::Error(kAccessDenied, "The caller is no installed application");
    return caller;
}

int64_t TrayService::Post(const std::string& tag, const int32_t& type, const int32_t& layout,
    const int32_t& displays, const int64_t& time, const std::vector<WireText>& texts)
{
    return answering([&] {
        const Identity caller = _caller();
        refuseUnless(
            isIn(type, NOTIFICATION_TYPE_NOTI, NOTIFICATION_TYPE_ONGOING), "There is no such type");
        refuseUnless(isIn(layout, NOTIFICATION_LY_NONE, NOTIFICATION_LY_EXTENSION),
            "There is no such layout");
        Notification notification{ 0, caller.package, caller.application, ::time(nullptr), tag,
            type, layout, displays, time, {} };
        for (const WireText& text : texts) {
            refuseUnless(isTextType(text.get<0>()), "There is no such type of text");
            notification.texts[text.get<0>()] = { text.get<1>(), text.get<2>() };
        }
        const std::int64_t id = _store.post(notification);
        _changed();
        return id;
    });
}

TrayService::WireNotification TrayService::Load(const std::string& tag)
{
    return answering([&] {
        const auto found = _store.find(_caller().application, tag);
        if (!found)
            throw sdbus::Error(kNoNotification, "The caller has no notification with this tag");
        return _toWire(*found);
    });
}

void TrayService::Delete(const int64_t& id)
{
    answering([&] {
        if (!_store.remove(_caller().application, id))
            throw sdbus::Error(kNoNotification, "The caller has no notification of this id");
        _changed();
    });
}

void TrayService::DeleteAll(const int32_t& type)
{
    answering([&] {
        _store.removeAll(_caller().application, type);
        _changed();
    });
}

std::vector<TrayService::WireNotification> TrayService::List()
{
    return answering([&] {
        std::vector<WireNotification> list;
        for (const Notification& notification : _store.all())
            list.push_back(_toWire(notification));
        return list;
    });
}

TrayService::WireNotification TrayService::_toWire(const Notification& notification)
{
    std::vector<WireText> texts;
    for (const auto& [type, text] : notification.texts)
        texts.emplace_back(type, text.text, text.key);
    return { notification.id, notification.application, notification.posted, notification.tag,
        notification.type, notification.layout, notification.displays, notification.time, texts };
}

std::vector<TrayService::WireCard> TrayService::Show()
{
    return answering([&] {
        std::vector<WireCard> cards;
        for (const Notification& notification : _store.all()) {
            const Card card = cardOf(notification);
            std::vector<std::string> buttons;
            for (const Card::Button& button : card.buttons)
                buttons.push_back(button.text);
            cards.emplace_back(notification.application, notification.tag, notification.posted,
                card.title, card.body, card.icon, buttons);
        }
        return cards;
    });
}

std::vector<sdbus::Struct<int64_t, std::string>> TrayService::Reports()
{
    return answering([&] {
        std::vector<sdbus::Struct<int64_t, std::string>> entries;
        for (const Report& report : _store.reports())
            entries.emplace_back(report.posted, report.text);
        return entries;
    });
}

void TrayService::Press(sdbus::Result<std::string>&& pressed, std::string tag, int32_t button)
{
    // Shared, because the callback is copied on its way and a result cannot be.
    const auto answer = std::make_shared<sdbus::Result<std::string>>(std::move(pressed));
    answering([&] {
        RequestSender::Request request = requestOfPress(theOne(_store.withTag(tag), tag), button);
        const std::string application = request.application;
        _sender.send(std::move(request), [answer, application](const sdbus::Error* error) {
            if (error) {
                answer->returnError(*error);
            } else {
                answer->returnResults(application);
            }
        });
    });
}

} // namespace host
