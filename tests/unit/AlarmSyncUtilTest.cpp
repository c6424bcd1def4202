#include "AlarmSyncUtil.h"

#include "ClockDouble.h"
#include "DlogDouble.h"
#include "VconfDouble.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
const char* const kConnectionType = "memory/private/vap/conn_type";
const char* const kWatchManager = "memory/wms/wmanager_connected";
const char* const kVendor = "db/wms/host_status/vendor";
const char* const kNotification = "db/alarm/host_alarm_notification_enabled";

class AlarmSyncUtilTest : public testing::Test {
protected:
    AlarmSyncUtilTest()
    {
        clockDouble() = {};
        dlogDouble() = {};
        vconfDouble() = {};
    }
};

struct LinkCase {
    const char* name;
    int type;
    bool connected;
};
class LinkTypeTest : public AlarmSyncUtilTest, public testing::WithParamInterface<LinkCase> {};

struct VendorCase {
    const char* name;
    const char* vendor;
    bool ours;
};
class VendorTest : public AlarmSyncUtilTest, public testing::WithParamInterface<VendorCase> {};
} // namespace

TEST_F(AlarmSyncUtilTest, DeviceTimeIsTheClockInWholeMilliseconds)
{
    clockDouble().now = timeval{ 1600000000, 123999 };
    EXPECT_EQ(1600000000123, AlarmSyncUtil::getCurrentDeviceMilliSecTime());

    clockDouble().now = timeval{ 1600000000, 123000 };
    EXPECT_EQ(1600000000123, AlarmSyncUtil::getCurrentDeviceMilliSecTime());

    clockDouble().now = timeval{ 1600000000, 124000 };
    EXPECT_EQ(1600000000124, AlarmSyncUtil::getCurrentDeviceMilliSecTime());
}

TEST_F(AlarmSyncUtilTest, DeviceTimeDoesNotOverflowAfter2038)
{
    clockDouble().now = timeval{ 5000000000, 999999 };

    EXPECT_EQ(5000000000999, AlarmSyncUtil::getCurrentDeviceMilliSecTime());
}

TEST_F(AlarmSyncUtilTest, TheUpdateHookDoesNothing)
{
    AlarmSyncUtil::requestWatchUpdate();

    EXPECT_THAT(vconfDouble().asked, IsEmpty());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmSyncUtilTest, PhoneIsConnectedWithBluetoothAndItsWatchManager)
{
    vconfDouble().ints[kConnectionType] = 1;
    vconfDouble().bools[kWatchManager] = true;

    EXPECT_TRUE(AlarmSyncUtil::isBtConnected());

    EXPECT_THAT(vconfDouble().asked, ElementsAre(kConnectionType, kWatchManager));
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmSyncUtilTest, PhoneIsNotConnectedWithoutItsWatchManager)
{
    vconfDouble().ints[kConnectionType] = 1;
    vconfDouble().bools[kWatchManager] = false;

    EXPECT_FALSE(AlarmSyncUtil::isBtConnected());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_P(LinkTypeTest, BitZeroIsTheLinkOverBluetooth)
{
    vconfDouble().ints[kConnectionType] = GetParam().type;
    vconfDouble().bools[kWatchManager] = true;

    EXPECT_EQ(GetParam().connected, AlarmSyncUtil::isBtConnected());

    EXPECT_EQ(GetParam().connected ? 2u : 1u, vconfDouble().asked.size());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, LinkTypeTest,
    testing::Values(LinkCase{ "None", 0, false }, LinkCase{ "Bluetooth", 1, true },
        LinkCase{ "OtherLink", 2, false }, LinkCase{ "Both", 3, true },
        LinkCase{ "AllButBluetooth", ~1, false }, LinkCase{ "AllBits", -1, true }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmSyncUtilTest, AnUnreadableLinkTypeIsNoConnection)
{
    vconfDouble().bools[kWatchManager] = true;

    EXPECT_FALSE(AlarmSyncUtil::isBtConnected());

    EXPECT_THAT(vconfDouble().asked, ElementsAre(kConnectionType));
    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("vconf_get_int(VCONFKEY_VAP_CONNECTIVITY_TYPE FAILED"));
}

TEST_F(AlarmSyncUtilTest, AnUnreadableWatchManagerIsNoConnection)
{
    vconfDouble().ints[kConnectionType] = 1;

    EXPECT_FALSE(AlarmSyncUtil::isBtConnected());

    EXPECT_THAT(dlogDouble().criticals(),
        ElementsAre("vconf_get_int(VCONFKEY_WMS_WMANAGER_CONNECTED FAILED"));
}

TEST_P(VendorTest, IsOursOnlyByteForByte)
{
    vconfDouble().texts[kVendor] = GetParam().vendor;

    EXPECT_EQ(GetParam().ours, AlarmSyncUtil::_isConnectedWithOurCompany());
    EXPECT_THAT(vconfDouble().asked, ElementsAre(kVendor));
}

INSTANTIATE_TEST_SUITE_P(Table, VendorTest,
    testing::Values(VendorCase{ "Ours", "velmora", true },
        VendorCase{ "Capital", "Velmora", false }, VendorCase{ "Upper", "VELMORA", false },
        VendorCase{ "BlankBehind", "velmora ", false },
        VendorCase{ "BlankBefore", " velmora", false }, VendorCase{ "Beginning", "velmor", false },
        VendorCase{ "Empty", "", false }, VendorCase{ "Other", "another maker", false }),
    [](const auto& row) { return row.param.name; });

TEST_F(AlarmSyncUtilTest, AnUnreadableVendorIsNotOurs)
{
    EXPECT_FALSE(AlarmSyncUtil::_isConnectedWithOurCompany());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmSyncUtilTest, TheUserDecidesWhetherPhoneAlarmsRing)
{
    vconfDouble().bools[kNotification] = true;
    EXPECT_TRUE(AlarmSyncUtil::_isNotificationStateEnabled());

    vconfDouble().bools[kNotification] = false;
    EXPECT_FALSE(AlarmSyncUtil::_isNotificationStateEnabled());

    EXPECT_THAT(
        dlogDouble().criticals(), ElementsAre("notiStateEnabled = 1", "notiStateEnabled = 0"));
    EXPECT_THAT(vconfDouble().asked, ElementsAre(kNotification, kNotification));
}

TEST_F(AlarmSyncUtilTest, PhoneAlarmsRingWhenTheSettingCannotBeRead)
{
    EXPECT_TRUE(AlarmSyncUtil::_isNotificationStateEnabled());

    EXPECT_THAT(dlogDouble().criticals(), ElementsAre("Failed to vconf_get_bool"));
}
