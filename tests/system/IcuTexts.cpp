#include "IcuTexts.h"

#include <memory>
#include <stdexcept>
#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unicode/uloc.h>
#include <unicode/unum.h>
#include <unicode/ustring.h>

namespace direct {

namespace {

// ICU's handles are plain pointers to nothing known.
class Owned {
public:
    Owned(void* handle, void (*close)(void*))
        : _handle(handle, close)
    {
    }
    void* get() const { return _handle.get(); }

private:
    std::unique_ptr<void, void (*)(void*)> _handle;
};

void check(UErrorCode status)
{
    if (U_FAILURE(status))
        throw std::runtime_error(u_errorName(status));
}

std::u16string wide(const std::string& text)
{
    UChar units[256];
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(units, 256, &length, text.data(), static_cast<int32_t>(text.size()), &status);
    check(status);
    return { units, static_cast<size_t>(length) };
}

std::string narrow(const UChar* units, int32_t size)
{
    char text[768];
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(text, sizeof text, &length, units, size, &status);
    check(status);
    return { text, static_cast<size_t>(length) };
}

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::u16string bestPattern(const std::string& locale, const std::u16string& skeleton)
{
    UErrorCode status = U_ZERO_ERROR;
    const Owned generator(udatpg_open(locale.c_str(), &status),
        [](void* made) { udatpg_close(static_cast<UDateTimePatternGenerator*>(made)); });
    UChar pattern[256];
    const int32_t length
        = udatpg_getBestPattern(static_cast<UDateTimePatternGenerator*>(generator.get()),
            skeleton.data(), static_cast<int32_t>(skeleton.size()), pattern, 256, &status);
    check(status);
    return { pattern, static_cast<size_t>(length) };
}

} // namespace

std::string formatted(
    const std::string& locale, const std::string& zone, long instant, const std::string& skeleton)
{
    const std::u16string fields = wide(skeleton);
    const std::u16string pattern = skeleton == "a" ? fields : bestPattern(locale, fields);
    UErrorCode status = U_ZERO_ERROR;
    const Owned format(udat_open(UDAT_PATTERN, UDAT_PATTERN, locale.c_str(), wide(zone).c_str(), -1,
                           pattern.data(), static_cast<int32_t>(pattern.size()), &status),
        [](void* made) { udat_close(static_cast<UDateFormat*>(made)); });
    check(status);
    UChar text[256];
    const int32_t length = udat_format(static_cast<UDateFormat*>(format.get()),
        static_cast<double>(instant) * 1000, text, 256, nullptr, &status);
    check(status);
    return replaced(narrow(text, length), "\u202F", " ");
}

std::string timeText(
    const std::string& locale, const std::string& zone, long instant, bool twelveHours)
{
    const std::string whole = formatted(locale, zone, instant, twelveHours ? "hhmm" : "HHmm");
    const std::string half = twelveHours ? formatted(locale, zone, instant, "a") : "";
    std::string time = twelveHours ? replaced(replaced(whole, half, ""), " ", "") : whole;
    const std::string language = locale.substr(0, 2);
    if (language != "ar" && language != "he" && language != "fa" && language != "ur")
        time = replaced(time, ":", "\u2236");
    time = replaced(time, "-", "\u2236");
    if (!twelveHours)
        return time;
    return whole.find(half) == 0 ? half + " " + time : time + " " + half;
}

std::string dateText(
    const std::string& locale, const std::string& zone, long instant, bool withYear)
{
    return formatted(locale, zone, instant, withYear ? "EMdyyyy" : "EMMMd");
}

int firstWeekday(const std::string& locale)
{
    UErrorCode status = U_ZERO_ERROR;
    const Owned calendar(ucal_open(nullptr, -1, locale.c_str(), UCAL_DEFAULT, &status),
        [](void* made) { ucal_close(static_cast<UCalendar*>(made)); });
    check(status);
    return ucal_getAttribute(static_cast<UCalendar*>(calendar.get()), UCAL_FIRST_DAY_OF_WEEK);
}

std::string number(const std::string& locale, int number)
{
    UErrorCode status = U_ZERO_ERROR;
    const Owned format(unum_open(UNUM_DECIMAL, nullptr, -1, locale.c_str(), nullptr, &status),
        [](void* made) { unum_close(static_cast<UNumberFormat*>(made)); });
    UChar text[64];
    const int32_t length = unum_format(
        static_cast<UNumberFormat*>(format.get()), number, text, 64, nullptr, &status);
    check(status);
    return narrow(text, length);
}

std::string defaultLocale() { return uloc_getDefault(); }

} // namespace direct
