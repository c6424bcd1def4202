#pragma once

#include <string>

/// A directory of its own, which goes with the object.
class TempDir {
public:
    TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir();

    /// Without a slash at its end.
    const std::string& path() const { return _path; }
    std::string file(const std::string& name) const { return _path + "/" + name; }

private:
    std::string _path;
};
