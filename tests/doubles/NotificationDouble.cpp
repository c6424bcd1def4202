#include "NotificationDouble.h"

#include "CallJournal.h"

#include <algorithm>

namespace {
int lastResult = TIZEN_ERROR_NONE;

int answer(const char* call)
{
    callJournal().note(call);
    const auto& results = notificationDouble().results;
    const auto found = results.find(call);
    return found == results.end() ? NOTIFICATION_ERROR_NONE : found->second;
}

template <typename Work>
int answerAndDo(const char* call, const Work& work)
{
    const int result = answer(call);
    if (result == NOTIFICATION_ERROR_NONE)
        work();
    return result;
}

notification_h newHandle(const _notification& notification)
{
    auto& alive = notificationDouble().alive;
    alive.push_back(std::make_unique<_notification>(notification));
    return alive.back().get();
}
} // namespace

NotificationDouble& notificationDouble()
{
    static NotificationDouble instance;
    return instance;
}

notification_h notification_create(notification_type_e type)
{
    if (answer(__func__) != NOTIFICATION_ERROR_NONE)
        return nullptr;
    notification_h made = newHandle({});
    made->type = type;
    return made;
}

notification_h notification_load_by_tag(const char* tag)
{
    const auto& tray = notificationDouble().tray;
    const auto found = tray.find(tag);
    lastResult = answer(__func__);
    if (lastResult == NOTIFICATION_ERROR_NONE && found == tray.end())
        lastResult = NOTIFICATION_ERROR_NOT_EXIST_ID;
    return lastResult == NOTIFICATION_ERROR_NONE ? newHandle(found->second) : nullptr;
}

int notification_free(notification_h noti)
{
    callJournal().note(__func__);
    auto& alive = notificationDouble().alive;
    const auto found = std::find_if(
        alive.begin(), alive.end(), [noti](const auto& handle) { return handle.get() == noti; });
    if (found == alive.end()) {
        ++notificationDouble().wronglyFreed;
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    }
    alive.erase(found);
    return NOTIFICATION_ERROR_NONE;
}

int get_last_result(void) { return lastResult; }

int notification_get_id(notification_h noti, int* group_id, int* priv_id)
{
    return answerAndDo(__func__, [=] {
        *group_id = 0;
        *priv_id = noti->id;
    });
}

int notification_set_time(notification_h noti, time_t input_time)
{
    return answerAndDo(__func__, [=] { noti->time = input_time; });
}

int notification_set_display_applist(notification_h noti, int applist)
{
    return answerAndDo(__func__, [=] { noti->places = applist; });
}

int notification_set_layout(notification_h noti, notification_ly_type_e layout)
{
    return answerAndDo(__func__, [=] { noti->layout = layout; });
}

int notification_set_text(notification_h noti, notification_text_type_e type, const char* text,
    const char* key, int args_type, ...)
{
    return answerAndDo(__func__, [=] {
        noti->texts[type] = text;
        noti->hasTextKey = key != nullptr;
        noti->arguments = args_type;
    });
}

int notification_set_tag(notification_h noti, const char* tag)
{
    return answerAndDo(__func__, [=] { noti->tag = tag; });
}

int notification_post(notification_h noti)
{
    NotificationDouble& state = notificationDouble();
    const int result = answerAndDo(__func__, [&] {
        noti->id = ++state.posts;
        state.tray[noti->tag] = *noti;
    });
    return state.isAnswerLost ? NOTIFICATION_ERROR_FROM_DBUS : result;
}

int notification_delete(notification_h noti)
{
    return answerAndDo(__func__, [=] { notificationDouble().tray.erase(noti->tag); });
}

int notification_delete_all(notification_type_e type)
{
    return answerAndDo(__func__, [=] { notificationDouble().allDeleted.push_back(type); });
}
