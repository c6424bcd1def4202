#include "StoreFile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {
using Connection = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

Connection open(const std::string& path)
{
    sqlite3* connection = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &connection, SQLITE_OPEN_READWRITE, nullptr);
    Connection result(connection, sqlite3_close);
    if (code != SQLITE_OK)
        throw std::runtime_error("cannot open " + path);
    return result;
}

int collect(void* rows, int count, char** values, char** /*names*/)
{
    std::vector<std::string> row;
    for (int i = 0; i < count; ++i)
        row.push_back(values[i] ? values[i] : "NULL");
    static_cast<std::vector<std::vector<std::string>>*>(rows)->push_back(row);
    return 0;
}
} // namespace

StoreFile::StoreFile()
{
    std::string name = (fs::temp_directory_path() / "alarm-store-XXXXXX").string();
    if (!mkdtemp(&name[0]))
        throw std::runtime_error("cannot make " + name);
    _folder = name + "/";
}

StoreFile::~StoreFile()
{
    std::error_code ignored;
    fs::remove_all(_folder, ignored);
}

bool StoreFile::exists() const { return fs::exists(path()); }

std::string StoreFile::bytes() const
{
    std::ifstream in(path(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void StoreFile::write(const std::string& bytes) const
{
    std::ofstream(path(), std::ios::binary) << bytes;
}

void StoreFile::copyFrom(const std::string& from) const
{
    fs::copy_file(from, path());
    fs::permissions(path(), fs::perms::owner_write, fs::perm_options::add);
}

void StoreFile::run(const std::string& sql) const { rows(sql); }

std::vector<std::vector<std::string>> StoreFile::rows(const std::string& sql) const
{
    std::vector<std::vector<std::string>> result;
    const Connection connection = open(path());
    if (sqlite3_exec(connection.get(), sql.c_str(), collect, &result, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(connection.get()));
    return result;
}

std::string StoreFile::value(const std::string& sql) const { return rows(sql).at(0).at(0); }
