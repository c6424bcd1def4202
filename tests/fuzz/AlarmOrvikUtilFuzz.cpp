#include "AlarmOrvikUtil.h"
#include "DlogDouble.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

// Any text is read as the sum of its digits' weights, and what is written of any mask reads as that
// mask's seven days.

namespace {
void require(bool condition)
{
    if (!condition)
        abort();
}

int sumOfWeights(const std::string& text)
{
    unsigned int sum = 0;
    for (unsigned int digit = 1; digit <= 7; ++digit) {
        const auto count = std::count(text.begin(), text.end(), static_cast<char>('0' + digit));
        sum += static_cast<unsigned int>(count) << (digit - 1);
    }
    return static_cast<int>(sum);
}

// Digits in order, a comma after each but the last; after the last too when a higher bit is set.
std::string written(int mask)
{
    std::string text;
    for (int day = 0; day < 7; ++day) {
        if ((mask & 1 << day) != 0)
            text += { static_cast<char>('1' + day), ',' };
    }
    const bool endsWithComma = (mask & ~127) != 0;
    if (!text.empty() && !endsWithComma)
        text.pop_back();
    return text;
}

void requireDays(int mask)
{
    const std::string text = AlarmOrvikUtil::convertRepeatWeeklyToOrvikData(mask, 0);
    require(text == written(mask));
    int once = 42;
    require(AlarmOrvikUtil::convertRepeatWeeklyFromOrvikData(text, &once) == (mask & 127));
    require(once == 0);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    dlogDouble().lines.clear();
    const std::string text(reinterpret_cast<const char*>(data), size);
    int once = 42;
    const int mask = AlarmOrvikUtil::convertRepeatWeeklyFromOrvikData(text, &once);
    require(mask == sumOfWeights(text));
    require(once == (text.find('0') != std::string::npos ? 1 : 0));
    require(AlarmOrvikUtil::convertRepeatWeeklyToOrvikData(mask, 1) == "0");
    requireDays(mask);
    requireDays(~mask);
    return 0;
}
