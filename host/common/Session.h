#pragma once

#include "host/common/Programs.h"

#include <string>

/**
 * The session that this process belongs to: where its state lies, and which application the
 * process is. Read from the environment once; any thread.
 */
namespace host {

/// Who this process is, by its program; ALARM_HOST_PACKAGE names the package of a program that is
/// not installed, of which its own folders follow, but which hostd does not believe.
const Identity& identity();

/// The state directory, ending in "/": ALARM_HOST_HOME, else a folder of the user's. Made when
/// absent, by makeDirectory. Throws std::system_error.
const std::string& homePath();

/// Where the state lies that ends with the session, ending in "/": ALARM_HOST_RUNTIME, else a
/// folder under XDG_RUNTIME_DIR, else under /tmp/<user id>, which has to be the user's too. Made
/// when absent, by makeDirectory. Throws std::system_error.
const std::string& runtimePath();

/// Where the watch has the link to its zone's data file.
inline const char* const kWatchZoneLink = "/opt/etc/localtime";

/// The session's link to the zone's data file: ALARM_HOST_LOCALTIME, else the watch's path.
const std::string& zoneLinkPath();

/// The device's zone now, such as "Europe/Berlin", by the zone link, else by /etc/localtime; "UTC"
/// when neither tells.
std::string zoneId();

/// Whether the zone data have that zone.
bool isZoneId(const std::string& id);

/// Points the zone link there, in one step. Throws std::system_error.
void setZoneId(const std::string& id);

/// Where a file of the watch lies here: its ringtones are in the session's folder ringtones. Any
/// other path is its own.
std::string deviceFile(const std::string& path);

/**
 * Makes a directory that is the user's alone, with its parents, mode 0700. One that exists is given
 * that mode. Throws std::system_error, which names the directory and says why, when it is a link,
 * is of another user or writable by everybody; and when on the way to it a link lies where others
 * can write, or a directory is another's in which everybody can replace what it holds.
 */
void makeDirectory(const std::string& path);

/// Makes an empty file, mode 0600 whatever the umask, in a directory of makeDirectory's. One that
/// exists keeps what it holds and is given that mode. Throws std::system_error, which names the
/// file and says why, when it is a link, no regular file, or of another user.
void makePrivateFile(const std::string& path);

} // namespace host
