#pragma once

#include <string>
#include <sys/types.h>

namespace host {

/// Who a program is in the session. Empty texts: nobody.
struct Identity {
    std::string package;
    std::string application; ///< empty for a program of the package that is no application
};

/// Whose program the process runs: one that is installed at <package>/bin/<its name> below the
/// session's ro/ or packages/, itself or by a link. Its name is its application id when it begins
/// with the package's. Throws std::system_error when that cannot be looked up for now. Any thread.
Identity identityOfProcess(pid_t process);

/// The file of an installed application; empty when none has the id. Any thread.
std::string programOf(const std::string& application);

/// The file that a process runs, also when it has been replaced since; empty when the process has
/// ended. Any thread.
std::string programOfProcess(pid_t process);

} // namespace host
