#pragma once

#include "AlarmIcuDataModel.h"
#include "DlogDouble.h"
#include "I18nDouble.h"
#include "VconfDouble.h"

#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>

/// A test of texts, in the region de_DE and the process's zone UTC.
class I18nTest : public testing::Test {
protected:
    static constexpr const char* kRegion = "db/menu_widget/regionformat";

    I18nTest()
    {
        setZone("UTC");
        dlogDouble() = {};
        i18nDouble() = {};
        vconfDouble() = {};
        vconfDouble().texts[kRegion] = "de_DE.UTF-8";
    }

    ~I18nTest() override
    {
        // What a failed call left goes with the next one that succeeds.
        I18nDouble& i18n = i18nDouble();
        i18n.setDefaultCode = i18n.getDefaultCode = i18n.generatorCode = 0;
        i18n.formatCode = i18n.formatDateCode = 0;
        i18n.texts["a"] = "AM";
        vconfDouble().texts[kRegion] = "de_DE.UTF-8";
        char out[8];
        EXPECT_TRUE(AlarmIcuDataModel::getFormattedDateString(0, out, 8, nullptr, "a", nullptr));
        EXPECT_THAT(i18n.alive, testing::IsEmpty());
        EXPECT_EQ(0, i18n.wronglyDestroyed);
        setZone("UTC");
    }

    static void setZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }
};
