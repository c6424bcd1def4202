#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace host {

using SettingValue = std::variant<int, bool, std::string>;

/// "int", "bool" or "str".
const char* typeName(const SettingValue& value);

/**
 * Typed values under keys, shared by the processes of the session: the device's settings and the
 * packages' preferences. A store is named "vconf" or by its package; keys of "vconf" that begin
 * with "memory/" last as long as the session. A write is on disk when write returns, and is
 * announced on the bus. Every call throws std::exception when the store cannot be read or written.
 * Main thread, but for read and list.
 */
class SettingsStore {
public:
    static SettingsStore& session();

    /// Any thread.
    std::optional<SettingValue> read(const std::string& store, const std::string& key);
    void write(const std::string& store, const std::string& key, const SettingValue& value);
    /// Writes all values or none, and no process sees a part of them. The keys must all last, or
    /// all end with the session.
    void write(
        const std::string& store, const std::vector<std::pair<std::string, SettingValue>>& values);
    /// False when the key was not set.
    bool erase(const std::string& store, const std::string& key);
    /// Any thread.
    std::vector<std::pair<std::string, SettingValue>> list(const std::string& store);

    /**
     * Calls changed on the main loop after each write of the key by any process, until the result
     * is dropped. Writes whose signals arrive in one turn of the loop are one call, so the value
     * must be read from the store. Keys are called in the order of their first signal, the
     * callbacks of a key in the order of watching. An exception of a callback is logged. The bus
     * sends this process no signals of keys that it does not watch.
     */
    using Changed = std::function<void()>;
    std::shared_ptr<void> watch(const std::string& store, const std::string& key, Changed changed);

private:
    SettingsStore();
    ~SettingsStore();
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

} // namespace host
