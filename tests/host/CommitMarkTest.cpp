#include "host/common/CommitMark.h"

#include "TempDir.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <sqlite3.h>
#include <string>

namespace {

int mapsOfShortFiles = 0;

// Files as a VFS makes them that knows no shared memory: what lies behind the methods of the first
// version is not to be called.
int openShortFile(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* given)
{
    static sqlite3_io_methods methods;
    auto* real = static_cast<sqlite3_vfs*>(vfs->pAppData);
    const int code = real->xOpen(real, name, file, flags, given);
    if (file->pMethods && (flags & SQLITE_OPEN_MAIN_DB) != 0) {
        methods = *file->pMethods;
        methods.iVersion = 1;
        methods.xShmMap = [](sqlite3_file*, int, int, int, void volatile**) {
            ++mapsOfShortFiles;
            return SQLITE_IOERR;
        };
        file->pMethods = &methods;
    }
    return code;
}

const char* shortFiles()
{
    static sqlite3_vfs vfs = *sqlite3_vfs_find(nullptr);
    vfs.zName = "short-files";
    vfs.pAppData = sqlite3_vfs_find(nullptr);
    vfs.xOpen = openShortFile;
    sqlite3_vfs_register(&vfs, 0);
    return vfs.zName;
}

class Connection {
public:
    explicit Connection(const std::string& file, const char* vfs = nullptr)
    {
        EXPECT_EQ(SQLITE_OK,
            sqlite3_open_v2(
                file.c_str(), &_handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, vfs));
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { sqlite3_close(_handle); }

    void run(const char* sql)
    {
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(_handle, sql, nullptr, nullptr, nullptr))
            << sqlite3_errmsg(_handle);
    }

    sqlite3* handle() const { return _handle; }

private:
    sqlite3* _handle = nullptr;
};

class CommitMarkTest : public testing::Test {
protected:
    TempDir directory;
    const std::string file = directory.file("store.db");
};

} // namespace

TEST_F(CommitMarkTest, MovesAtFirstAndWithEveryCommit)
{
    Connection reader(file);
    reader.run("PRAGMA journal_mode=WAL; CREATE TABLE item (value); SELECT * FROM item");
    Connection writer(file);
    host::CommitMark mark(reader.handle());

    EXPECT_TRUE(mark.moved());
    EXPECT_FALSE(mark.moved());
    for (int i = 0; i < 3; ++i) {
        writer.run("INSERT INTO item VALUES (1)");
        EXPECT_TRUE(mark.moved());
        EXPECT_FALSE(mark.moved());
    }
    writer.run("BEGIN; INSERT INTO item VALUES (2)");
    EXPECT_FALSE(mark.moved());
    writer.run("COMMIT; PRAGMA wal_checkpoint(TRUNCATE); INSERT INTO item VALUES (3)");
    EXPECT_TRUE(mark.moved());
}

TEST_F(CommitMarkTest, AlwaysMovesWithoutAWriteAheadLog)
{
    Connection connection(file);
    connection.run("PRAGMA journal_mode=DELETE; CREATE TABLE item (value)");
    host::CommitMark mark(connection.handle());

    EXPECT_TRUE(mark.moved());
    EXPECT_TRUE(mark.moved());
}

TEST_F(CommitMarkTest, AlwaysMovesInMemory)
{
    Connection connection(":memory:");
    connection.run("PRAGMA journal_mode=WAL; CREATE TABLE item (value)");
    host::CommitMark mark(connection.handle());

    EXPECT_TRUE(mark.moved());
    EXPECT_TRUE(mark.moved());
}

TEST_F(CommitMarkTest, AlwaysMovesWhereFilesHaveNoSharedMemory)
{
    Connection connection(file, shortFiles());
    connection.run("PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=WAL;"
                   "CREATE TABLE item (value); SELECT * FROM item");
    sqlite3_file* opened = nullptr;
    ASSERT_EQ(SQLITE_OK,
        sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_FILE_POINTER, &opened));
    ASSERT_EQ(1, opened->pMethods->iVersion);
    host::CommitMark mark(connection.handle());

    EXPECT_TRUE(mark.moved());
    EXPECT_TRUE(mark.moved());

    EXPECT_EQ(0, mapsOfShortFiles);
}

TEST_F(CommitMarkTest, AlwaysMovesOnAFileThatIsNoDatabase)
{
    FILE* broken = fopen(file.c_str(), "w");
    ASSERT_NE(nullptr, broken);
    fputs(std::string(8192, 'x').c_str(), broken);
    fclose(broken);
    Connection connection(file);
    host::CommitMark mark(connection.handle());

    EXPECT_TRUE(mark.moved());
    EXPECT_TRUE(mark.moved());
}
