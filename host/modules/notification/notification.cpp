#include "notification.h"

#include "host/common/Boundary.h"
#include "host/common/Wire.h"

#include <com.velmora.host.Tray-proxy.h>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

struct _notification {
    std::int64_t id = 0; ///< in the tray; 0 = not posted
    std::string tag;
    int type = NOTIFICATION_TYPE_NOTI;
    int layout = NOTIFICATION_LY_NONE;
    int displays = 0;
    std::int64_t time = 0;
    std::map<int, std::pair<std::string, std::string>> texts; ///< with their keys, by type
};

namespace {

using TrayProxy = host::DaemonProxy<com::velmora::host::Tray_proxy>;
using WireText = sdbus::Struct<std::int32_t, std::string, std::string>;

// Why no notification was made or loaded.
thread_local int lastResult = NOTIFICATION_ERROR_NONE;

int codeOf(const std::exception& failure)
{
    static const std::string prefix = "org.freedesktop.DBus.Error.";
    static const std::map<std::string, int> codes = {
        { prefix + "AccessDenied", NOTIFICATION_ERROR_PERMISSION_DENIED },
        { prefix + "InvalidArgs", NOTIFICATION_ERROR_INVALID_PARAMETER },
        { prefix + "LimitsExceeded", NOTIFICATION_ERROR_OUT_OF_MEMORY },
        { prefix + "Failed", NOTIFICATION_ERROR_FROM_DB },
        { prefix + "ServiceUnknown", NOTIFICATION_ERROR_SERVICE_NOT_READY },
        { prefix + "Spawn.ChildExited", NOTIFICATION_ERROR_SERVICE_NOT_READY },
        { prefix + "Spawn.ExecFailed", NOTIFICATION_ERROR_SERVICE_NOT_READY },
        { prefix + "NoReply", NOTIFICATION_ERROR_SERVICE_NOT_READY },
        { prefix + "Timeout", NOTIFICATION_ERROR_SERVICE_NOT_READY },
        { host::kNoNotification, NOTIFICATION_ERROR_NOT_EXIST_ID },
    };
    const auto* error = dynamic_cast<const sdbus::Error*>(&failure);
    const auto found = error ? codes.find(error->getName()) : codes.end();
    return found == codes.end() ? host::OutOfMemoryOr{ NOTIFICATION_ERROR_FROM_DBUS }(failure)
                                : found->second;
}

// Runs a call to the tray and returns its NOTIFICATION_ERROR_* code.
template <typename Call>
int askTray(const Call& call)
{
    return host::guarded("the notification tray", codeOf, [&] {
        TrayProxy tray;
        call(tray);
        return NOTIFICATION_ERROR_NONE;
    });
}

// Changes the handle by work that fails only for a lack of memory.
template <typename Change>
int changed(notification_h noti, bool isRight, const Change& change)
{
    if (!noti || !isRight)
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    return host::guarded("a notification cannot be changed", NOTIFICATION_ERROR_OUT_OF_MEMORY, [&] {
        change();
        return NOTIFICATION_ERROR_NONE;
    });
}

bool isTextType(notification_text_type_e type)
{
    static const std::set<int> types = { NOTIFICATION_TEXT_TYPE_TITLE,
        NOTIFICATION_TEXT_TYPE_CONTENT, NOTIFICATION_TEXT_TYPE_EXTENSION };
    return types.count(type) != 0;
}

} // namespace

extern "C" notification_h notification_create(notification_type_e type)
{
    notification_h made = nullptr;
    const bool isRight = type == NOTIFICATION_TYPE_NOTI || type == NOTIFICATION_TYPE_ONGOING;
    lastResult = !isRight
        ? NOTIFICATION_ERROR_INVALID_PARAMETER
        : host::guarded("a notification cannot be made", NOTIFICATION_ERROR_OUT_OF_MEMORY, [&] {
              made = new _notification;
              made->type = type;
              return NOTIFICATION_ERROR_NONE;
          });
    return made;
}

extern "C" notification_h notification_load_by_tag(const char* tag)
{
    std::unique_ptr<_notification> noti;
    const auto load = [&](TrayProxy& tray) {
        const auto posted = tray.Load(tag);
        auto loaded = std::make_unique<_notification>();
        std::string application;
        std::int64_t when = 0;
        std::vector<WireText> texts;
        std::tie(loaded->id, application, when, loaded->tag, loaded->type, loaded->layout,
            loaded->displays, loaded->time, texts)
            = posted;
        for (const WireText& text : texts)
            loaded->texts[text.get<0>()] = { text.get<1>(), text.get<2>() };
        noti = std::move(loaded);
    };
    const auto loadIfThere = [&](TrayProxy& tray) {
        try {
            load(tray);
        } catch (const sdbus::Error& error) {
            if (error.getName() != host::kNoNotification)
                throw;
        }
    };
    lastResult = tag ? askTray(loadIfThere) : NOTIFICATION_ERROR_INVALID_PARAMETER;
    if (lastResult == NOTIFICATION_ERROR_NONE && !noti)
        lastResult = NOTIFICATION_ERROR_NOT_EXIST_ID;
    return noti.release();
}

extern "C" int get_last_result(void) { return lastResult; }

extern "C" int notification_get_id(notification_h noti, int* group_id, int* priv_id)
{
    if (!noti || !group_id || !priv_id)
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    if (noti->id == 0)
        return NOTIFICATION_ERROR_NOT_EXIST_ID;
    *group_id = 0;
    *priv_id = static_cast<int>(noti->id);
    return NOTIFICATION_ERROR_NONE;
}

extern "C" int notification_free(notification_h noti)
{
    if (!noti)
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    delete noti;
    return NOTIFICATION_ERROR_NONE;
}

extern "C" int notification_set_time(notification_h noti, time_t input_time)
{
    return changed(noti, true, [=] { noti->time = input_time; });
}

extern "C" int notification_set_display_applist(notification_h noti, int applist)
{
    return changed(noti, true, [=] { noti->displays = applist; });
}

extern "C" int notification_set_layout(notification_h noti, notification_ly_type_e layout)
{
    const bool isRight = layout >= NOTIFICATION_LY_NONE && layout <= NOTIFICATION_LY_EXTENSION;
    return changed(noti, isRight, [=] { noti->layout = layout; });
}

extern "C" int notification_set_text(notification_h noti, notification_text_type_e type,
    const char* text, const char* key, int args_type, ...)
{
    const bool isRight = isTextType(type) && text && args_type == NOTIFICATION_VARIABLE_TYPE_NONE;
    return changed(noti, isRight, [=] { noti->texts[type] = { text, key ? key : "" }; });
}

extern "C" int notification_set_tag(notification_h noti, const char* tag)
{
    return changed(noti, tag && *tag, [=] { noti->tag = tag; });
}

extern "C" int notification_post(notification_h noti)
{
    if (!noti)
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    if (noti->id != 0)
        return NOTIFICATION_ERROR_ALREADY_EXIST_ID;
    return askTray([=](TrayProxy& tray) {
        std::vector<WireText> texts;
        for (const auto& [type, text] : noti->texts)
            texts.emplace_back(type, text.first, text.second);
        noti->id
            = tray.Post(noti->tag, noti->type, noti->layout, noti->displays, noti->time, texts);
    });
}

extern "C" int notification_delete(notification_h noti)
{
    if (!noti)
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    if (noti->id == 0)
        return NOTIFICATION_ERROR_NOT_EXIST_ID;
    return askTray([=](TrayProxy& tray) {
        tray.Delete(noti->id);
        noti->id = 0;
    });
}

extern "C" int notification_delete_all(notification_type_e type)
{
    if (type < NOTIFICATION_TYPE_NONE || type > NOTIFICATION_TYPE_ONGOING)
        return NOTIFICATION_ERROR_INVALID_PARAMETER;
    return askTray([=](TrayProxy& tray) { tray.DeleteAll(type); });
}
