#pragma once

#include <string>

namespace session {

/**
 * The files of a session: a temporary directory, which is removed with the object. It contains the
 * state, unless that is kept elsewhere.
 */
class Folder {
public:
    /// keep: the directory for state that outlasts the session, made when absent; empty = none.
    /// Throws std::exception when a file or directory cannot be made.
    explicit Folder(const std::string& keep);
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    std::string file(const std::string& name) const { return _path + "/" + name; }

    /// Sets the environment variables that name the paths.
    void exportPaths() const;

    /// Makes a socket in the directory, on which a server can listen. The caller closes it.
    int makeSocket(const std::string& name) const;

    /// The descriptor of the log file, to which the session's processes write.
    int log() const { return _log; }
    /// What has been written to the log file in this session.
    std::string logText() const;

private:
    Folder();

    void _makeState() const;
    void _writeBusConfig() const;
    void _openLog();

    std::string _path;
    std::string _build; ///< the folder of the build that this program belongs to
    std::string _home; ///< the state directory
    int _log = -1;
    long _logBegin = 0; ///< before it, a kept log has the text of former sessions
};

} // namespace session
