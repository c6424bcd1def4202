#pragma once

#include <string>

/** The conversation with the watch, kept in a file, message by message. */
class TalkLog {
public:
    TalkLog();

    void addSent(const std::string& message) const { _add("phone -> watch", message); }
    void addReceived(const std::string& message) const { _add("watch -> phone", message); }
    void addNote(const std::string& text) const { _add("", text); }

    /// All of it, for a reader: a message's members on lines of their own, an alarm on one.
    std::string text() const;

private:
    void _add(const char* direction, const std::string& text) const;

    std::string _path;
};
