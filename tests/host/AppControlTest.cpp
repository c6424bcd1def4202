#include "EchoFixture.h"
#include "host/common/Boundary.h"
#include "host/common/Bus.h"
#include "host/common/Entries.h"

#include <app_control.h>
#include <app_control_internal.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace {

using host::Entries;

struct Destroy {
    void operator()(app_control_h request) const { app_control_destroy(request); }
};
using AppControl = std::unique_ptr<app_control_s, Destroy>;

AppControl newRequest()
{
    app_control_h request = nullptr;
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_create(&request));
    return AppControl(request);
}

// What is in the handle, through its bundle.
Entries entriesOf(const AppControl& request)
{
    bundle* data = nullptr;
    EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_to_bundle(request.get(), &data));
    bundle_raw* raw = nullptr;
    int size = 0;
    EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_encode(data, &raw, &size));
    const std::string text = reinterpret_cast<char*>(raw);
    free(raw);
    return host::decodeEntries(text).value();
}

std::string extraOf(app_control_h request, const char* key)
{
    char* value = nullptr;
    app_control_get_extra_data(request, key, &value);
    const host::CText owner(value);
    return value ? value : "";
}

class AppControlTest : public testing::Test {
protected:
    AppControl request = newRequest();
};

} // namespace

TEST_F(AppControlTest, IsEmptyAtFirst) { EXPECT_EQ(Entries(), entriesOf(request)); }

TEST_F(AppControlTest, KeepsItsEntriesInTheOrderOfAddition)
{
    EXPECT_EQ(0, app_control_add_extra_data(request.get(), "b", "1"));
    EXPECT_EQ(0, app_control_set_operation(request.get(), APP_CONTROL_OPERATION_DEFAULT));
    EXPECT_EQ(0, app_control_add_extra_data(request.get(), "a", ""));
    EXPECT_EQ(0, app_control_set_app_id(request.get(), "com.velmora.alarm-alert"));

    EXPECT_EQ((Entries{ { "b", "1" }, { "__APP_SVC_OP_TYPE__", APP_CONTROL_OPERATION_DEFAULT },
                  { "a", "" }, { "__APP_SVC_PKG_NAME__", "com.velmora.alarm-alert" } }),
        entriesOf(request));
}

TEST_F(AppControlTest, ReplacesAnEntryInItsPlace)
{
    app_control_set_operation(request.get(), "old");
    app_control_add_extra_data(request.get(), "a", "old");
    app_control_add_extra_data(request.get(), "b", "b");

    EXPECT_EQ(0, app_control_add_extra_data(request.get(), "a", "new"));
    EXPECT_EQ(0, app_control_set_operation(request.get(), "new"));

    EXPECT_EQ((Entries{ { "__APP_SVC_OP_TYPE__", "new" }, { "a", "new" }, { "b", "b" } }),
        entriesOf(request));
}

TEST_F(AppControlTest, NullClearsOperationAndId)
{
    app_control_set_operation(request.get(), "operation");
    app_control_set_app_id(request.get(), "com.velmora.alarm");

    EXPECT_EQ(0, app_control_set_operation(request.get(), nullptr));
    EXPECT_EQ(0, app_control_set_app_id(request.get(), nullptr));
    EXPECT_EQ(0, app_control_set_app_id(request.get(), nullptr));

    EXPECT_EQ(Entries(), entriesOf(request));
}

TEST_F(AppControlTest, CopiesItsTexts)
{
    char key[] = "key";
    char value[] = "value";
    app_control_add_extra_data(request.get(), key, value);
    key[0] = value[0] = 'x';

    EXPECT_EQ((Entries{ { "key", "value" } }), entriesOf(request));
}

TEST_F(AppControlTest, RejectsThePlatformsOwnKeys)
{
    EXPECT_EQ(APP_CONTROL_ERROR_KEY_REJECTED,
        app_control_add_extra_data(request.get(), "__APP_SVC_PKG_NAME__", "value"));
    EXPECT_EQ(
        APP_CONTROL_ERROR_KEY_REJECTED, app_control_add_extra_data(request.get(), "__", "value"));
    EXPECT_EQ(Entries(), entriesOf(request));

    EXPECT_EQ(0, app_control_add_extra_data(request.get(), "_key", "value"));
    EXPECT_EQ(0, app_control_add_extra_data(request.get(), "key__", "value"));
}

TEST_F(AppControlTest, GivesItsTextsBack)
{
    app_control_set_operation(request.get(), "operation");
    app_control_add_extra_data(request.get(), "key", "value");
    char* text = nullptr;

    ASSERT_EQ(0, app_control_get_operation(request.get(), &text));
    EXPECT_STREQ("operation", text);
    free(text);
    EXPECT_EQ("value", extraOf(request.get(), "key"));
}

TEST_F(AppControlTest, LendsItsOwnBundle)
{
    bundle* first = nullptr;
    bundle* second = nullptr;
    app_control_add_extra_data(request.get(), "key", "value");

    EXPECT_EQ(0, app_control_to_bundle(request.get(), &first));
    EXPECT_EQ(0, app_control_to_bundle(request.get(), &second));

    char* text = nullptr;
    EXPECT_EQ(first, second);
    EXPECT_EQ(BUNDLE_ERROR_NONE, bundle_get_str(first, "key", &text));
    EXPECT_STREQ("value", text);
}

TEST_F(AppControlTest, RefusesWhatIsMissing)
{
    const int invalid = APP_CONTROL_ERROR_INVALID_PARAMETER;
    app_control_h none = nullptr;
    char untouched[] = "untouched";
    char* text = untouched;
    bundle* data = nullptr;

    EXPECT_EQ(invalid, app_control_create(nullptr));
    EXPECT_EQ(invalid, app_control_destroy(none));
    EXPECT_EQ(invalid, app_control_set_operation(none, "operation"));
    EXPECT_EQ(invalid, app_control_set_app_id(none, "com.velmora.alarm"));
    EXPECT_EQ(invalid, app_control_add_extra_data(none, "key", "value"));
    EXPECT_EQ(invalid, app_control_add_extra_data(none, "__key", "value"));
    EXPECT_EQ(invalid, app_control_add_extra_data(request.get(), nullptr, "value"));
    EXPECT_EQ(invalid, app_control_add_extra_data(request.get(), "key", nullptr));
    EXPECT_EQ(invalid, app_control_get_operation(none, &text));
    EXPECT_EQ(invalid, app_control_get_operation(request.get(), nullptr));
    EXPECT_EQ(invalid, app_control_get_extra_data(none, "key", &text));
    EXPECT_EQ(invalid, app_control_get_extra_data(request.get(), nullptr, &text));
    EXPECT_EQ(invalid, app_control_get_extra_data(request.get(), "key", nullptr));
    EXPECT_EQ(invalid, app_control_to_bundle(none, &data));
    EXPECT_EQ(invalid, app_control_to_bundle(request.get(), nullptr));
    EXPECT_EQ(invalid, app_control_send_launch_request(none, nullptr, nullptr));
    EXPECT_EQ(invalid,
        app_control_reply_to_launch_request(none, request.get(), APP_CONTROL_RESULT_SUCCEEDED));
    EXPECT_EQ(invalid,
        app_control_reply_to_launch_request(request.get(), none, APP_CONTROL_RESULT_SUCCEEDED));
    EXPECT_EQ(APP_CONTROL_ERROR_KEY_NOT_FOUND, app_control_get_operation(request.get(), &text));
    EXPECT_EQ(
        APP_CONTROL_ERROR_KEY_NOT_FOUND, app_control_get_extra_data(request.get(), "key", &text));
    EXPECT_EQ(untouched, text);
    EXPECT_EQ(nullptr, data);
    EXPECT_EQ(Entries(), entriesOf(request));
}
