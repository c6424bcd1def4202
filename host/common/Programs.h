#pragma once

#include <string>
#include <sys/types.h>

namespace host {

/// The package and the application that a program belongs to. Both are empty for a program that is
/// not installed.
struct Identity {
    std::string package;
    std::string application; ///< empty for a program that is no application
};

/// Whose program the process runs: one that is installed at <package>/bin/<name> below the
/// session's ro/ or packages/, itself or by a link. The program's name is its application id when
/// it begins with the package's name. Throws std::system_error when that cannot be looked up for
/// now. Any thread.
Identity identityOfProcess(pid_t process);

/// The program file of an installed application; empty for any other id. Any thread.
std::string programOf(const std::string& application);

/// The package of an installed application; empty for any other id. Any thread.
std::string packageOf(const std::string& application);

/// The program file of a process, also when the file has been replaced since; empty when the
/// process has ended. Any thread.
std::string programOfProcess(pid_t process);

} // namespace host
