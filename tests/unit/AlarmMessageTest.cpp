#include "AlarmMessage.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <type_traits>

namespace {
int tablesMade = 0;

struct KindCase {
    const char* name;
    AlarmMessage::Type type;
    int value;
    const char* id;
};
class MessageKindTest : public testing::TestWithParam<KindCase> {};

AlarmMessage::Type kindOf(int value) { return static_cast<AlarmMessage::Type>(value); }

static_assert(std::has_virtual_destructor_v<AlarmMessage>);
} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
GHashTable* __real_g_hash_table_new(GHashFunc hash, GEqualFunc equal);

GHashTable* __wrap_g_hash_table_new(GHashFunc hash, GEqualFunc equal)
{
    ++tablesMade;
    return __real_g_hash_table_new(hash, equal);
}
}
// NOLINTEND(bugprone-reserved-identifier)

TEST_P(MessageKindTest, HasItsValueAndItsName)
{
    const KindCase& kind = GetParam();
    std::string id = "preset";
    AlarmMessage::getId(kind.type, id);

    EXPECT_EQ(kind.value, kind.type);
    EXPECT_EQ(kind.id, id);
    EXPECT_EQ(kind.type, AlarmMessage::getType(std::string(kind.id)));
    EXPECT_EQ(kind.type, AlarmMessage::getType(kind.id));
}

INSTANTIATE_TEST_SUITE_P(Table, MessageKindTest,
    testing::Values(KindCase{ "FirstConnectionReq", AlarmMessage::FirstConnectionReq, 0,
                        "alarm-first-connection-req" },
        KindCase{ "FirstConnectionRsp", AlarmMessage::FirstConnectionRsp, 1,
            "alarm-first-connection-rsp" },
        KindCase{ "SequenceReq", AlarmMessage::SequenceReq, 2, "alarm-sequence-req" },
        KindCase{ "SequenceRsp", AlarmMessage::SequenceRsp, 3, "alarm-sequence-rsp" },
        KindCase{ "AlarmListReq", AlarmMessage::AlarmListReq, 4, "alarm-list-req" },
        KindCase{ "AlarmListRsp", AlarmMessage::AlarmListRsp, 5, "alarm-list-rsp" },
        KindCase{ "ReconnectWatchChangeReq", AlarmMessage::ReconnectWatchChangeReq, 6,
            "alarm-reconnect-watch-change-req" },
        KindCase{ "ReconnectWatchChangeRsp", AlarmMessage::ReconnectWatchChangeRsp, 7,
            "alarm-reconnect-watch-change-rsp" },
        KindCase{ "MobileUpdateAck", AlarmMessage::MobileUpdateAck, 8, "alarm-mobile-update-ack" },
        KindCase{ "MobileUpdateInd", AlarmMessage::MobileUpdateInd, 9, "alarm-mobile-update-ind" },
        KindCase{ "WatchUpdateAck", AlarmMessage::WatchUpdateAck, 10, "alarm-watch-update-ack" },
        KindCase{ "WatchUpdateInd", AlarmMessage::WatchUpdateInd, 11, "alarm-watch-update-ind" }),
    [](const auto& row) { return row.param.name; });

TEST(AlarmMessageTest, AnUnknownNameIsTakenForAFirstConnection)
{
    for (const char* id : { "", "alarm-unknown", "Alarm-list-rsp", "alarm-list-rsp " })
        EXPECT_EQ(AlarmMessage::FirstConnectionReq, AlarmMessage::getType(id)) << id;
}

TEST(AlarmMessageTest, AnUnknownKindLeavesTheName)
{
    for (const int value : { -1, 12, 1000 }) {
        std::string id = "preset";
        AlarmMessage::getId(kindOf(value), id);
        EXPECT_EQ("preset", id) << value;
    }
}

TEST(AlarmMessageTest, ANullNameIsAnErrorOfTheCaller)
{
    const char* volatile id = nullptr;
    EXPECT_THROW(AlarmMessage::getType(id), std::logic_error);
}

TEST(AlarmMessageTest, TheTableOfNamesIsMadeOnce)
{
    AlarmMessage::getType("alarm-list-rsp");
    AlarmMessage::getType("alarm-list-req");
    AlarmMessage::getType("alarm-unknown");

    EXPECT_EQ(1, tablesMade);
}
