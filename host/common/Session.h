#pragma once

#include "host/common/Programs.h"

#include <string>

/**
 * The session that this process belongs to: where its state lies, and which application the
 * process is. Read from the environment once; any thread.
 */
namespace host {

/// Who this process is, by its program file. For a program that is not installed,
/// ALARM_HOST_PACKAGE names the package whose folders it uses; hostd does not believe the variable.
const Identity& identity();

/// The session's state directory, ending in "/": ALARM_HOST_HOME, else a folder of the user's. Made
/// by makeDirectory when absent. Throws std::system_error.
const std::string& homePath();

/// The directory for state that ends with the session, ending in "/": ALARM_HOST_RUNTIME, else a
/// folder under XDG_RUNTIME_DIR, else one under /tmp/<user id>, which must be the user's, too. Made
/// by makeDirectory when absent. Throws std::system_error.
const std::string& runtimePath();

/// The watch's own link to its zone's data file.
inline const char* const kWatchZoneLink = "/opt/etc/localtime";

/// The session's link to the zone's data file: ALARM_HOST_LOCALTIME, else the watch's path.
const std::string& zoneLinkPath();

/// The id of the device's zone now, such as "Europe/Berlin": by the zone link, else by
/// /etc/localtime, else "UTC".
std::string zoneId();

/// Whether the machine has data of a zone with this id.
bool isZoneId(const std::string& id);

/// Points the zone link to the zone, in one step. Throws std::system_error.
void setZoneId(const std::string& id);

/// The path in this session of a file of the watch: its ringtones lie in the session's folder
/// ringtones, any other path stays as it is.
std::string deviceFile(const std::string& path);

/**
 * Makes a directory, mode 0700, and its parents, for the user alone. An existing one is given that
 * mode. Throws std::system_error, which names the directory and the reason, when the directory is a
 * link, another user's, or writable by everybody; or when on the way to it a link lies where others
 * can write, or in another user's directory everybody can replace what it holds.
 */
void makeDirectory(const std::string& path);

/// Makes an empty file, mode 0600 whatever the umask is, in a directory that makeDirectory has
/// made. An existing file keeps its content and is given that mode. Throws std::system_error, which
/// names the file and the reason, when it is a link, no regular file, or another user's.
void makePrivateFile(const std::string& path);

} // namespace host
