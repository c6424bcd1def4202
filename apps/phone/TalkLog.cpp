#include "TalkLog.h"

#include "common/Text.h"

#include <AlarmTime.h>
#include <app_common.h>
#include <fstream>
#include <HeapText.h>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

std::string clockNow()
{
    const tm local = companion::localTime(companion::currentTime());
    char text[16];
    strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

std::string elementsOf(const Json& list)
{
    std::string result = "[";
    for (const Json& element : list)
        result += (result.size() > 1 ? ",\n        " : "\n        ") + element.dump();
    return result + "\n      ]";
}

// The message with each member, and each element of a list, on a line of its own.
std::string pretty(const std::string& json)
{
    const Json message = Json::parse(json, nullptr, false);
    if (!message.is_object())
        return json;
    std::string result = "{";
    for (const auto& [name, value] : message.items()) {
        result += (result.size() > 1 ? ",\n      " : "\n      ") + jsonString(name) + ":"
            + (value.is_array() ? elementsOf(value) : value.dump());
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
