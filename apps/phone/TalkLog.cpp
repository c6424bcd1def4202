#include "TalkLog.h"

#include "common/Text.h"

#include <AlarmTime.h>
#include <app_common.h>
#include <fstream>
#include <HeapText.h>
#include <json-glib/json-glib.h>
#include <memory>

namespace {

std::string clockNow()
{
    const tm local = companion::localTime(companion::currentTime());
    char text[16];
    strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

using Parser = std::unique_ptr<JsonParser, void (*)(void*)>;

std::string textOf(JsonNode* node)
{
    const std::unique_ptr<char, void (*)(void*)> text(json_to_string(node, FALSE), g_free);
    return text.get();
}

std::string elementsOf(JsonArray* array)
{
    std::string result = "[";
    for (guint at = 0; at < json_array_get_length(array); ++at) {
        result
            += (at > 0 ? ",\n        " : "\n        ") + textOf(json_array_get_element(array, at));
    }
    return result + "\n      ]";
}

// The message with each member, and each element of a list, on a line of its own.
std::string pretty(const std::string& json)
{
    const Parser parser(json_parser_new(), g_object_unref);
    if (!json_parser_load_from_data(
            parser.get(), json.data(), static_cast<gssize>(json.size()), nullptr))
        return json;
    JsonNode* root = json_parser_get_root(parser.get());
    if (!root || !JSON_NODE_HOLDS_OBJECT(root))
        return json;
    std::string result = "{";
    JsonObjectIter members;
    json_object_iter_init_ordered(&members, json_node_get_object(root));
    const char* name = nullptr;
    JsonNode* value = nullptr;
    while (json_object_iter_next_ordered(&members, &name, &value)) {
        const bool isList = JSON_NODE_HOLDS_ARRAY(value);
        result += (result.size() > 1 ? ",\n      " : "\n      ") + jsonString(name) + ":"
            + (isList ? elementsOf(json_node_get_array(value)) : textOf(value));
    }
    return result + "\n    }";
}

} // namespace

TalkLog::TalkLog()
    : _path(companion::takeText(app_get_data_path()) + "phone.log")
{
}

std::string TalkLog::text() const
{
    std::ifstream file(_path);
    std::string result;
    std::string line;
    while (std::getline(file, line)) {
        const size_t end = line.find('{');
        result += end == std::string::npos ? line : line.substr(0, end) + pretty(line.substr(end));
        result += '\n';
    }
    return result;
}

void TalkLog::_add(const char* direction, const std::string& text) const
{
    std::ofstream(_path, std::ios::app)
        << clockNow() << "  " << direction << (*direction ? "  " : "") << printable(text) << '\n';
}
