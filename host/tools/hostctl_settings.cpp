#include "host/common/Keys.h"
#include "host/common/SettingsStore.h"
#include "host/tools/hostctl.h"

#include <charconv>
#include <cstdio>

namespace hostctl {

namespace {

using host::SettingsStore;
using host::SettingValue;

const char* const kAlarmPackage = "com.velmora.alarm";

SettingValue parseInt(const std::string& text)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw UsageError(
            "\"" + text + "\" is no int; it must be a whole number within -2147483648..2147483647");
    }
    return value;
}

SettingValue parseBool(const std::string& text)
{
    if (text == "true" || text == "1")
        return true;
    if (text == "false" || text == "0")
        return false;
    throw UsageError("\"" + text + "\" is no bool; it must be true, false, 1 or 0");
}

SettingValue parse(const std::string& type, const std::string& text)
{
    if (type == "int")
        return parseInt(text);
    if (type == "bool")
        return parseBool(text);
    if (type == "str")
        return text;
    throw UsageError("there is no type \"" + type + "\"; it must be int, bool or str");
}

std::string show(const SettingValue& value)
{
    if (const auto* number = std::get_if<int>(&value))
        return std::to_string(*number);
    if (const auto* flag = std::get_if<bool>(&value))
        return *flag ? "true" : "false";
    return std::get<std::string>(value);
}

std::runtime_error unset(const std::string& name)
{
    return std::runtime_error(name + " is not set");
}

void list(const std::string& store)
{
    for (const auto& [name, value] : SettingsStore::session().list(store))
        printf("%s\t%s\t%s\n", name.c_str(), host::typeName(value), show(value).c_str());
}

void run(const std::string& command, const std::string& store, const Arguments& words)
{
    SettingsStore& settings = SettingsStore::session();
    const std::string action = words.empty() ? "" : words[0];
    if (words.size() > 1 && words[1].empty())
        throw UsageError("the key is empty");
    if (action == "get" && words.size() == 2) {
        const std::optional<SettingValue> value = settings.read(store, words[1]);
        if (!value)
            throw unset(words[1]);
        printf("%s\n", show(*value).c_str());
    } else if (action == "set" && words.size() == 4) {
        settings.write(store, words[1], parse(words[2], words[3]));
    } else if (action == "unset" && words.size() == 2) {
        if (!settings.erase(store, words[1]))
            throw unset(words[1]);
    } else if (action == "list" && words.size() == 1) {
        list(store);
    } else {
        throw UsageError("it must be " + command + " get KEY, " + command
            + " set KEY int|bool|str VALUE, " + command + " unset KEY or " + command + " list");
    }
}

} // namespace

void key(const Arguments& arguments) { run("key", host::kDeviceStore, arguments); }

void preference(const Arguments& arguments)
{
    std::string package = kAlarmPackage;
    Arguments words = arguments;
    if (!words.empty() && words[0] == "--package") {
        if (words.size() < 2 || words[1].empty())
            throw UsageError("--package needs a package, such as " + package);
        package = words[1];
        words.erase(words.begin(), words.begin() + 2);
    }
    run("preference", package, words);
}

} // namespace hostctl
