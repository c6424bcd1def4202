#pragma once

#include "PlatformHandle.h"

#include <json-glib/json-glib.h>
#include <string>

using JsonTree = PlatformHandle<JsonNode*, json_node_free>;

/// Writes the tree as compact text to out, which stays as it is when there is no text.
inline void writeJson(JsonNode* root, std::string& out)
{
    const PlatformHandle<JsonGenerator*, g_object_unref> generator(json_generator_new());
    json_generator_set_root(generator.get(), root);
    const GlibText text(json_generator_to_data(generator.get(), nullptr));
    if (text.get())
        out = text.get();
}
