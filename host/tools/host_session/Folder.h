#pragma once

#include <string>

namespace session {

/**
 * The files of a session: a temporary directory, which goes with the object, and in it the state,
 * unless that is kept elsewhere.
 */
class Folder {
public:
    /// keep: the directory in which the state outlasts the session, made when absent; empty = none.
    /// Throws std::exception when something cannot be made.
    explicit Folder(const std::string& keep);
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    std::string file(const std::string& name) const { return _path + "/" + name; }

    /// Tells the environment where everything lies.
    void exportPaths() const;

    /// Makes a socket of that name, on which a server can listen. The caller closes it.
    int makeSocket(const std::string& name) const;

    /// The log file, open for the session's processes.
    int log() const { return _log; }
    /// What they have written there in this session.
    std::string logText() const;

private:
    Folder();

    void _makeState() const;
    void _makeZoneLink() const;
    void _writeBusConfig() const;
    void _openLog();

    std::string _path;
    std::string _build; ///< the folder of the build that this program belongs to
    std::string _home; ///< the state
    int _log = -1;
    long _logBegin = 0; ///< a kept log has the former sessions' text before this
};

} // namespace session
