#pragma once

#include <string>
#include <vector>

/// A folder of its own for the store's file, and a look into that file past the library. Removed at
/// the end.
class StoreFile {
public:
    StoreFile();
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;
    ~StoreFile();

    /// Ends in "/", as the platform gives a data path.
    std::string folder() const { return _folder; }
    std::string path() const { return _folder + ".alarm.db"; }
    bool exists() const;
    std::string bytes() const;
    void write(const std::string& bytes) const;
    void copyFrom(const std::string& path) const;

    /// Runs statements on a connection of its own; the test fails when one cannot run.
    void run(const std::string& sql) const;

    /// Rows of a query, a column as text, NULL as "NULL".
    std::vector<std::vector<std::string>> rows(const std::string& sql) const;

    /// The first column of the first row.
    std::string value(const std::string& sql) const;

private:
    std::string _folder;
};
