#include "common/LineConnection.h"

#include "common/LocalSocket.h"
#include "HostSession.h"
#include "TempDir.h"

#include <array>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

const size_t kLimit = 10;

} // namespace

using testing::ElementsAre;
using testing::IsEmpty;

// A connection, and the other end of its socket.
class LineConnectionTest : public testing::Test {
protected:
    LineConnectionTest()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(
            0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()));
        _other = ends[1];
        app::LineConnection::Callbacks callbacks;
        callbacks.line = [this](const std::string& line) {
            lines.push_back(line);
            if (line == "end")
                connection.reset();
        };
        callbacks.tooLong = [this] {
            ++tooLong;
            if (endsOnTooLong)
                connection.reset();
        };
        callbacks.end = [this] {
            hasEnded = true;
            connection.reset();
        };
        connection = std::make_unique<app::LineConnection>(ends[0], kLimit, callbacks);
    }
    ~LineConnectionTest() override { closeOther(); }

    void closeOther()
    {
        if (_other >= 0)
            close(_other);
        _other = -1;
    }

    void write(const std::string& bytes)
    {
        ASSERT_EQ(static_cast<ssize_t>(bytes.size()), ::write(_other, bytes.data(), bytes.size()));
    }

    std::string readSome()
    {
        std::array<char, 65536> bytes;
        const ssize_t count = ::read(_other, bytes.data(), bytes.size());
        return count > 0 ? std::string(bytes.data(), static_cast<size_t>(count)) : "";
    }

    bool waitForLines(size_t count)
    {
        return session.waitFor([this, count] { return lines.size() >= count; });
    }

    HostSession session;
    std::unique_ptr<app::LineConnection> connection;
    std::vector<std::string> lines;
    int tooLong = 0;
    bool hasEnded = false;
    bool endsOnTooLong = false;

private:
    int _other = -1;
};

TEST_F(LineConnectionTest, LinesComeWholeHoweverTheyAreCut)
{
    write("one\n\ntw");
    ASSERT_TRUE(waitForLines(2));
    EXPECT_THAT(lines, ElementsAre("one", ""));

    write(std::string("o\n\0\n", 4));
    ASSERT_TRUE(waitForLines(4));
    EXPECT_THAT(lines, ElementsAre("one", "", "two", std::string(1, '\0')));
}

TEST_F(LineConnectionTest, LongLineIsToldOnceAndTheNextIsHeard)
{
    write("1234567890\n12345678901");
    ASSERT_TRUE(session.waitFor([this] { return tooLong == 1; }));
    write("23456789012345678\nnext\n");

    ASSERT_TRUE(waitForLines(2));
    EXPECT_THAT(lines, ElementsAre("1234567890", "next"));
    EXPECT_EQ(1, tooLong);
}

TEST_F(LineConnectionTest, EndIsToldAndAHalfLineIsNot)
{
    write("one\nha");
    closeOther();

    ASSERT_TRUE(session.waitFor([this] { return hasEnded; }));
    EXPECT_THAT(lines, ElementsAre("one"));
    EXPECT_FALSE(connection);
}

TEST_F(LineConnectionTest, NothingMoreIsToldOnceACallbackHasEndedIt)
{
    write("end\nmore\n");
    ASSERT_TRUE(waitForLines(1));
    EXPECT_FALSE(connection);
    EXPECT_THAT(lines, ElementsAre("end"));
    EXPECT_FALSE(hasEnded);
}

TEST_F(LineConnectionTest, ItMayEndOnALongLine)
{
    endsOnTooLong = true;
    write("12345678901\nmore\n");
    ASSERT_TRUE(session.waitFor([this] { return tooLong == 1; }));
    EXPECT_FALSE(connection);
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(LineConnectionTest, WhatIsSentWaitsForItsReader)
{
    const std::string bytes(4 << 20, 'x');
    connection->send(bytes);
    connection->send("last");

    std::string read;
    ASSERT_TRUE(session.waitFor([&] {
        read += readSome();
        return read.size() >= bytes.size() + 6;
    }));
    EXPECT_EQ(bytes + "\nlast\n", read);
}

TEST_F(LineConnectionTest, NothingIsHeardWhileMuchWaitsToGo)
{
    const std::string bytes(4 << 20, 'x');
    connection->sendBytes(bytes);
    session.waitFor([] { return false; }, 0.05); // as much as the socket takes
    write("one\n");
    EXPECT_FALSE(session.waitFor([this] { return !lines.empty(); }, 0.1));

    size_t count = 0;
    ASSERT_TRUE(session.waitFor([&] {
        count += readSome().size();
        return count == bytes.size();
    }));
    EXPECT_TRUE(waitForLines(1));
}

TEST_F(LineConnectionTest, ReaderThatIsGoneIsToldWhenSending)
{
    closeOther();
    connection->send("x");

    EXPECT_TRUE(session.waitFor([this] { return hasEnded; }));
}

TEST(LocalSocketTest, TwoMeetInAFolderWhosePathIsLong)
{
    const TempDir files;
    std::string folder = files.file(std::string(200, 'd'));
    std::filesystem::create_directory(folder);

    const int listener = app::listenIn(folder, "socket");
    ASSERT_GE(listener, 0);
    EXPECT_EQ(-1, app::acceptFrom(listener));
    const int one = app::connectIn(folder, "socket");
    ASSERT_GE(one, 0);
    const int other = app::acceptFrom(listener);
    ASSERT_GE(other, 0);

    EXPECT_EQ(1, write(one, "x", 1));
    char byte = 0;
    EXPECT_EQ(1, read(other, &byte, 1));
    EXPECT_EQ('x', byte);
    for (const int socket : { listener, one, other })
        close(socket);
    EXPECT_EQ(-1, app::connectIn(folder, "socket")) << "nobody listens any more";
    const int next = app::listenIn(folder, "socket");
    EXPECT_GE(next, 0) << "in place of the one that ended";
    close(next);
}

TEST(LocalSocketTest, ThereIsNoSocketWithoutItsFolder)
{
    const TempDir files;
    EXPECT_EQ(-1, app::listenIn(files.file("none"), "socket"));
    EXPECT_EQ(-1, app::connectIn(files.file("none"), "socket"));
    EXPECT_EQ(-1, app::connectIn(files.path(), "socket"));
}
