#pragma once

#include <string>

/** The conversation with the watch, kept in a file, message by message. */
class TalkLog {
public:
    TalkLog();

    void addSent(const std::string& message) const { _add("phone -> watch", message); }
    void addReceived(const std::string& message) const { _add("watch -> phone", message); }
    void addNote(const std::string& text) const { _add("", text); }

    /// The whole conversation, fit to read: each member of a message, and each alarm, on its own
    /// line.
    std::string text() const;

private:
    void _add(const char* direction, const std::string& text) const;

    std::string _path;
};
