#include "Icu.h"

#include "host/common/Session.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <unicode/uloc.h>

namespace i18n {

int codeOf(UErrorCode status)
{
    if (U_SUCCESS(status))
        return I18N_ERROR_NONE;
    switch (status) {
    case U_ILLEGAL_ARGUMENT_ERROR:
        return I18N_ERROR_INVALID_PARAMETER;
    case U_MEMORY_ALLOCATION_ERROR:
        return I18N_ERROR_OUT_OF_MEMORY;
    case U_BUFFER_OVERFLOW_ERROR:
        return I18N_ERROR_BUFFER_OVERFLOW;
    default:
        return I18N_ERROR_UNKNOWN;
    }
}

// Sets ICU's default zone, once in a process: the session's zone, unless TZ names one. A TZ with a
// colon in front only follows the session's.
static bool detectDefaultZone()
{
    const char* named = getenv("TZ");
    UErrorCode status = U_ZERO_ERROR;
    if (!named || *named == ':') {
        const std::string id = host::zoneId();
        ucal_setDefaultTimeZone(std::u16string(id.begin(), id.end()).c_str(), &status);
    }
    return U_SUCCESS(status);
}

std::string localeName(const char* locale) { return locale ? locale : uloc_getDefault(); }

std::u16string localeKey(const std::string& locale)
{
    std::u16string key(locale.begin(), locale.end());
    const std::string_view byDefault = uloc_getDefault();
    if (byDefault != locale)
        key.append(1, u'\0').append(byDefault.begin(), byDefault.end());
    return key;
}

bool isLocaleName(const char* locale)
{
    char name[ULOC_FULLNAME_CAPACITY];
    UErrorCode status = U_ZERO_ERROR;
    uloc_getName(locale, name, ULOC_FULLNAME_CAPACITY, &status);
    return U_SUCCESS(status) && status != U_STRING_NOT_TERMINATED_WARNING;
}

std::u16string textOf(const i18n_uchar* text, int32_t length)
{
    const i18n_uchar* end = text;
    while ((length < 0 || end - text < length) && *end != 0)
        ++end;
    return { text, end };
}

Zone::Zone(const i18n_uchar* name, int32_t length)
    : isDefault(!name)
{
    static const bool detected = detectDefaultZone();
    (void)detected;
    UErrorCode status = U_ZERO_ERROR;
    id = name ? textOf(name, length) : written(status, ucal_getDefaultTimeZone);
}

bool copyOut(const std::u16string& text, i18n_uchar* result, int32_t capacity)
{
    const auto room = static_cast<size_t>(capacity);
    if (text.size() > room)
        return false;
    i18n_uchar* end = std::copy(text.begin(), text.end(), result);
    if (text.size() < room)
        *end = 0;
    return true;
}

void widenSpaces(std::u16string& text) { std::replace(text.begin(), text.end(), u'\u202F', u' '); }

} // namespace i18n
