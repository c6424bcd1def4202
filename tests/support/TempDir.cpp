#include "TempDir.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

TempDir::TempDir()
    : _path(fs::temp_directory_path() / "alarm-test.XXXXXX")
{
    if (!mkdtemp(_path.data()))
        throw std::system_error(errno, std::generic_category(), _path);
}

TempDir::~TempDir()
{
    std::error_code error;
    fs::remove_all(_path, error);
}
