#include "DlogDouble.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {
const std::string kPrefix = "* Critical * ";

std::string messageOf(const std::string& text)
{
    const size_t escape = text.find('\033');
    const size_t begin = text.find('m', escape) + 1;
    const size_t end = text.rfind('\033');
    const std::string message = text.substr(begin, end - begin);
    return message.compare(0, kPrefix.size(), kPrefix) == 0 ? message.substr(kPrefix.size())
                                                            : message;
}

std::string functionOf(const std::string& text)
{
    const size_t begin = text.find(": ") + 2;
    return text.substr(begin, text.find('(', begin) - begin);
}
} // namespace

std::vector<std::string> DlogDouble::messages(log_priority priority) const
{
    std::vector<std::string> result;
    for (const Line& line : lines) {
        if (line.priority == priority)
            result.push_back(messageOf(line.text));
    }
    return result;
}

std::vector<std::string> DlogDouble::messagesWithFunctions(log_priority priority) const
{
    std::vector<std::string> result;
    for (const Line& line : lines) {
        if (line.priority == priority)
            result.push_back(functionOf(line.text) + ": " + messageOf(line.text));
    }
    return result;
}

DlogDouble& dlogDouble()
{
    static DlogDouble instance;
    return instance;
}

int dlog_print(log_priority prio, const char* tag, const char* fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, fmt, arguments);
    va_end(arguments);
    std::string text(static_cast<size_t>(length) + 1, '\0');
    vsnprintf(&text[0], text.size(), fmt, again);
    va_end(again);
    text.pop_back();
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    dlogDouble().lines.push_back({ prio, tag, text });
    return length;
}
