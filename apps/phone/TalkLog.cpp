#include "TalkLog.h"

#include "common/AlarmTime.h"
#include "common/Text.h"

#include <app_common.h>
#include <cstdlib>
#include <fstream>
#include <memory>

namespace {

std::string clockNow()
{
    const tm local = app::localTime(time(nullptr));
    char text[16];
    strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

// The members of the message and the elements of its list on lines of their own.
std::string pretty(const std::string& json)
{
    std::string result;
    std::string indent = "\n    ";
    size_t depth = 0;
    bool isText = false;
    for (size_t at = 0; at < json.size(); ++at) {
        const char c = json[at];
        const bool isOpening = !isText && (c == '{' || c == '[');
        const bool isClosing = !isText && (c == '}' || c == ']');
        if (isClosing && depth-- <= 2 && result.back() != '[' && result.back() != '{') {
            indent.resize(5 + 2 * depth);
            result += indent;
        }
        result += c;
        if (isText && c == '\\' && at + 1 < json.size()) {
            result += json[++at];
        } else if (c == '"') {
            isText = !isText;
        }
        const bool isEmpty = at + 1 < json.size() && (json[at + 1] == ']' || json[at + 1] == '}');
        if (isOpening && ++depth <= 2 && !isEmpty) {
            indent.resize(5 + 2 * depth, ' ');
            result += indent;
        } else if (!isText && c == ',') {
            result += depth <= 2 ? indent : " ";
        }
    }
    return result;
}

} // namespace

TalkLog::TalkLog()
{
    const std::unique_ptr<char, void (*)(void*)> folder(app_get_data_path(), free);
    _path = std::string(folder ? folder.get() : "") + "phone.log";
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
