#pragma once

#include <app_control.h>
#include <app_control_internal.h>
#include <bundle.h>
#include <cstdlib>
#include <memory>
#include <notification.h>
#include <string>

/// How the tests of the tray post, each as an application of its own.

struct FreeNotification {
    void operator()(notification_h noti) const { notification_free(noti); }
};
using Noti = std::unique_ptr<_notification, FreeNotification>;

inline Noti newNoti(notification_type_e type = NOTIFICATION_TYPE_NOTI)
{
    return Noti(notification_create(type));
}

inline int setText(const Noti& noti, const char* text,
    notification_text_type_e type = NOTIFICATION_TEXT_TYPE_TITLE, const char* key = nullptr)
{
    return notification_set_text(noti.get(), type, text, key, NOTIFICATION_VARIABLE_TYPE_NONE);
}

/// Posts a notification with one text; tag: null for none. The code.
inline int post(const char* tag, const char* text,
    notification_text_type_e type = NOTIFICATION_TEXT_TYPE_TITLE,
    notification_type_e kind = NOTIFICATION_TYPE_NOTI)
{
    const Noti noti = newNoti(kind);
    if (tag)
        notification_set_tag(noti.get(), tag);
    setText(noti, text, type);
    return notification_post(noti.get());
}

/// A launch request as a card carries it.
inline std::string requestFor(const char* application, const char* text = "pressed")
{
    app_control_h request = nullptr;
    app_control_create(&request);
    app_control_set_operation(request, APP_CONTROL_OPERATION_DEFAULT);
    app_control_set_app_id(request, application);
    app_control_add_extra_data(request, "text", text);
    bundle* data = nullptr;
    app_control_to_bundle(request, &data);
    bundle_raw* raw = nullptr;
    int length = 0;
    bundle_encode(data, &raw, &length);
    std::string encoded(reinterpret_cast<char*>(raw), static_cast<std::size_t>(length));
    free(raw);
    app_control_destroy(request);
    return encoded;
}

/// Posts a card of that title, with an icon, a tap, and a button "Turn off". The code.
inline int postCard(const char* tag, const std::string& tap, const std::string& button = "",
    const std::string& title = "Upcoming alarm")
{
    const std::string json = R"({"app_info":{"img_path":"/a/my icon.png"},"contents_info":)"
                             R"({"custom_type":{"title":")"
        + title + R"(","body":"<b>7:30</b></br>Sun &amp; Mon","clicked":")" + tap
        + R"(","contents_list":[{"type":"button","text":"Turn off","button_clicked":")" + button
        + R"("}]}}})";
    return post(tag, json.c_str(), NOTIFICATION_TEXT_TYPE_EXTENSION);
}
