#include "host/common/Session.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace host {

namespace {

std::string environment(const char* name)
{
    const char* value = getenv(name);
    return value ? value : "";
}

std::string withSlash(std::string path)
{
    if (path.empty() || path.back() != '/')
        path += '/';
    return path;
}

// The directory that the variable names, else alarm-host below the base; made when absent.
std::string stateDirectory(const char* name, std::string (*base)())
{
    const std::string named = environment(name);
    const fs::path place = named.empty() ? withSlash(base()) + "alarm-host" : named;
    std::string path = withSlash(fs::absolute(place));
    makeDirectory(path);
    return path;
}

std::string stateBase()
{
    const std::string base = environment("XDG_STATE_HOME");
    return base.empty() ? environment("HOME") + "/.local/state" : base;
}

// The folder below /tmp is checked by makeDirectory, since anybody may have made it, and would own
// what is made in it.
std::string runtimeBase()
{
    std::string base = environment("XDG_RUNTIME_DIR");
    if (base.empty()) {
        base = "/tmp/" + std::to_string(geteuid());
        makeDirectory(base);
    }
    return base;
}

const mode_t kDirectoryMode = 0700;
const mode_t kFileMode = 0600;

[[noreturn]] void refuse(int error, const std::string& path, const std::string& reason)
{
    throw std::system_error(error, std::generic_category(), path + " is not used: " + reason);
}

struct stat statusOf(const std::string& path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0)
        throw std::system_error(errno, std::generic_category(), path);
    return status;
}

// Refuses a file or directory that is not the user's own, and takes away the access of others. They
// cannot replace it meanwhile: the way to it has been checked.
void claim(const std::string& path, mode_t type, mode_t mode)
{
    const struct stat status = statusOf(path);
    if (S_ISLNK(status.st_mode))
        refuse(ELOOP, path, "it is a link");
    if (type == S_IFDIR && !S_ISDIR(status.st_mode))
        refuse(ENOTDIR, path, "it is no directory");
    if ((status.st_mode & S_IFMT) != type)
        refuse(EINVAL, path, "it is no regular file");
    if (status.st_uid != geteuid())
        refuse(EPERM, path, "it belongs to user " + std::to_string(status.st_uid));
    // A directory such as /tmp must not be closed to others, nor be trusted with what is made in
    // it.
    if (type == S_IFDIR && (status.st_mode & S_IWOTH) != 0)
        refuse(EPERM, path, "everybody can write to it");
    if ((status.st_mode & ACCESSPERMS) != mode && chmod(path.c_str(), mode) != 0)
        throw std::system_error(errno, std::generic_category(), path);
}

// Makes one directory on the way to another when it is absent. An existing one may have any mode,
// unless others may have led the way elsewhere: by a link, or by replacing what the directory
// holds.
void passThrough(const fs::path& path)
{
    if (mkdir(path.c_str(), kDirectoryMode) == 0)
        return;
    if (errno != EEXIST)
        throw std::system_error(errno, std::generic_category(), path);
    struct stat status = statusOf(path);
    if (S_ISLNK(status.st_mode)) {
        const fs::path folder = path.has_parent_path() ? path.parent_path() : ".";
        if ((statusOf(folder / ".").st_mode & (S_IWGRP | S_IWOTH)) != 0)
            refuse(ELOOP, path, "it is a link in a directory that others can write to");
        status = statusOf(path / ".");
    }
    if (!S_ISDIR(status.st_mode))
        refuse(ENOTDIR, path, "it is no directory");
    if ((status.st_mode & S_IWOTH) != 0 && (status.st_mode & S_ISVTX) == 0
        && status.st_uid != geteuid())
        refuse(EPERM, path, "everybody can replace what it holds");
}

Identity readIdentity()
{
    try {
        Identity installed = identityOfProcess(getpid());
        if (!installed.package.empty())
            return installed;
    } catch (const std::system_error&) {
        // No session, so nothing is installed.
    }
    return { environment("ALARM_HOST_PACKAGE"), "" };
}

const char* const kZoneData = "/usr/share/zoneinfo/";

// "Europe/Berlin" from ".../zoneinfo/Europe/Berlin", wherever that folder lies; empty when the link
// does not lead there.
std::string zoneIdOfLink(const std::string& link)
{
    static const std::string folder = "zoneinfo/";
    std::error_code error;
    const std::string target = fs::read_symlink(link, error);
    auto at = target.find(folder);
    while (at != std::string::npos && at != 0 && target[at - 1] != '/')
        at = target.find(folder, at + 1);
    return error || at == std::string::npos ? "" : target.substr(at + folder.size());
}

} // namespace

std::string deviceFile(const std::string& path)
{
    static const std::string ringtones = "/opt/usr/data/settings/Ringtones/";
    if (path.compare(0, ringtones.size(), ringtones) != 0)
        return path;
    return homePath() + "ringtones/" + path.substr(ringtones.size());
}

void makeDirectory(const std::string& path)
{
    fs::path directory = path;
    if (!directory.has_filename())
        directory = directory.parent_path();
    fs::path way;
    for (const fs::path& part : directory.parent_path()) {
        way /= part;
        passThrough(way);
    }
    if (mkdir(directory.c_str(), kDirectoryMode) != 0 && errno != EEXIST)
        throw std::system_error(errno, std::generic_category(), path);
    claim(directory, S_IFDIR, kDirectoryMode);
}

void makePrivateFile(const std::string& path)
{
    // An existing file is not opened, because closing it would release the locks that this process
    // holds on it.
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
    if (file < 0 && errno != EEXIST)
        throw std::system_error(errno, std::generic_category(), path);
    if (file >= 0)
        close(file);
    claim(path, S_IFREG, kFileMode);
}

const Identity& identity()
{
    static const Identity who = readIdentity();
    return who;
}

const std::string& homePath()
{
    static const std::string path = stateDirectory("ALARM_HOST_HOME", stateBase);
    return path;
}

const std::string& runtimePath()
{
    static const std::string path = stateDirectory("ALARM_HOST_RUNTIME", runtimeBase);
    return path;
}

const std::string& zoneLinkPath()
{
    static const std::string named = environment("ALARM_HOST_LOCALTIME");
    static const std::string path = named.empty() ? kWatchZoneLink : named;
    return path;
}

std::string zoneId()
{
    for (const std::string& link : { zoneLinkPath(), std::string("/etc/localtime") }) {
        std::string id = zoneIdOfLink(link);
        if (!id.empty())
            return id;
    }
    return "UTC";
}

bool isZoneId(const std::string& id)
{
    if (id.empty() || id.front() == '/' || id.find("..") != std::string::npos)
        return false;
    const std::string file = kZoneData + id;
    std::error_code error;
    char magic[4] = {};
    return fs::is_regular_file(file, error) && std::ifstream(file).read(magic, sizeof magic)
        && std::string(magic, sizeof magic) == "TZif";
}

void setZoneId(const std::string& id)
{
    const std::string& link = zoneLinkPath();
    // The new link has a name of its own in each process, since several may set the zone at once.
    const std::string made = link + '.' + std::to_string(getpid());
    std::error_code error;
    fs::remove(made, error);
    fs::create_symlink(kZoneData + id, made);
    fs::rename(made, link);
}

} // namespace host
