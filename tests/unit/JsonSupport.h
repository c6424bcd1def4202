#pragma once

#include "AlarmJsonObject.h"

#include <json-glib/json-glib.h>
#include <string>

/// The object of a JSON text.
inline AlarmJsonObject objectOf(const std::string& text)
{
    AlarmJsonObject object;
    JsonNode* root = json_from_string(text.c_str(), nullptr);
    object.setJsonObject(json_node_get_object(root));
    json_node_unref(root);
    return object;
}

inline std::string textOf(AlarmJsonObject object)
{
    std::string text;
    object.getJsonMessage(text);
    return text;
}

/// Counts what GLib and JSON-GLib warn of, and keeps it off the terminal.
class GlibWarnings {
public:
    GlibWarnings() { g_log_set_default_handler(_count, &_counted); }
    GlibWarnings(const GlibWarnings&) = delete;
    GlibWarnings& operator=(const GlibWarnings&) = delete;
    ~GlibWarnings() { g_log_set_default_handler(g_log_default_handler, nullptr); }

    int count() const { return _counted; }

private:
    static void _count(
        const gchar* /*domain*/, GLogLevelFlags /*level*/, const gchar* /*text*/, gpointer counted)
    {
        ++*static_cast<int*>(counted);
    }

    int _counted = 0;
};
