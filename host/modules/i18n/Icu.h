#pragma once

#include "host/common/Boundary.h"

#include <memory>
#include <string>
#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unicode/unum.h>
#include <utils_i18n.h>

/// What the interface's functions share: ICU's handles, codes and texts.
namespace i18n {

template <auto Close>
struct Closer {
    template <typename Handle>
    void operator()(Handle* handle) const
    {
        Close(handle);
    }
};

/// The platform's code for ICU's; ICU's warnings count as success.
int codeOf(UErrorCode status);

/// Runs the work of a function of the interface; an exception becomes its error code.
template <typename Work>
int guarded(const Work& work) noexcept
{
    return host::guarded("a call of i18n failed", host::OutOfMemoryOr{ I18N_ERROR_UNKNOWN }, work);
}

/// Destroys what a handle of the interface points to.
template <typename Handle>
int destroy(void* handle)
{
    if (!handle)
        return I18N_ERROR_INVALID_PARAMETER;
    delete static_cast<Handle*>(handle);
    return I18N_ERROR_NONE;
}

/// The name of a locale; null means the default locale.
std::string localeName(const char* locale);

/// The part of a cache's key that stands for the locale. It names the default locale, too, which
/// ICU falls back to for a locale that it does not have.
std::u16string localeKey(const std::string& locale);

/// False for a name with which some functions of ICU crash.
bool isLocaleName(const char* locale);

/// The text of this many units, or up to a terminator before; a length of -1 sets no limit.
std::u16string textOf(const i18n_uchar* text, int32_t length);

/// A time zone by the id that a caller gives; null means the default zone.
struct Zone {
    Zone(const i18n_uchar* name, int32_t length);
    const UChar* idForIcu() const { return isDefault ? nullptr : id.data(); }
    int32_t idLength() const { return static_cast<int32_t>(id.size()); }

    bool isDefault;
    std::u16string id;
};

/// The text that a function of ICU writes: write(buffer, capacity, &status) returns the text's
/// length.
template <typename Write>
std::u16string written(UErrorCode& status, Write write)
{
    const int32_t usual = 64;
    std::u16string text(usual, u'\0');
    int32_t length = write(text.data(), usual, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        text.resize(static_cast<size_t>(length));
        length = write(text.data(), length, &status);
    }
    text.resize(U_SUCCESS(status) ? static_cast<size_t>(length) : 0);
    return text;
}

/// Copies the text, and a terminator where there is room. False, with nothing copied, when the text
/// does not fit.
bool copyOut(const std::u16string& text, i18n_uchar* result, int32_t capacity);

/// Replaces narrow no-break spaces by plain ones, which the watch's ICU has in their place.
void widenSpaces(std::u16string& text);

/// Whether the arguments describe an output buffer; as in ICU, it may be null when its capacity is
/// 0.
inline bool isBuffer(const i18n_uchar* buffer, int32_t capacity)
{
    return buffer ? capacity >= 0 : capacity == 0;
}

/// Whether the arguments describe a text; a length of -1 means up to its terminator.
inline bool isText(const i18n_uchar* text, int32_t length) { return text && length >= -1; }

} // namespace i18n
