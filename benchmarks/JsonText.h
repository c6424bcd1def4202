#pragma once

#include <json-glib/json-glib.h>
#include <string>

/// The object as compact text, by JSON-GLib alone. Takes the object.
inline std::string jsonText(JsonObject* object)
{
    JsonNode* root = json_node_new(JSON_NODE_OBJECT);
    json_node_take_object(root, object);
    char* text = json_to_string(root, FALSE);
    json_node_unref(root);
    std::string result(text);
    g_free(text);
    return result;
}
