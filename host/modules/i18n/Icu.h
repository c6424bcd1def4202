#pragma once

#include "host/common/Boundary.h"

#include <memory>
#include <string>
#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unicode/unum.h>
#include <utils_i18n.h>

/// What the entry points share: ICU's handles, its codes and its texts.
namespace i18n {

template <auto Close>
struct Closer {
    template <typename Handle>
    void operator()(Handle* handle) const
    {
        Close(handle);
    }
};

/// The platform's code for ICU's; a warning is success.
int codeOf(UErrorCode status);

/// What the work of an entry point answers; an exception gets no further.
template <typename Work>
int guarded(const Work& work) noexcept
{
    return host::guarded("i18n", host::OutOfMemoryOr{ I18N_ERROR_UNKNOWN }, work);
}

/// The name of the locale, or of the default one for null.
std::string localeName(const char* locale);

/// The locale in the key of a cache, with the default one when that is another: ICU takes it for a
/// locale that it does not have.
std::u16string localeKey(const std::string& locale);

/// False for a name that ICU does not survive in all of its calls.
bool isLocaleName(const char* locale);

/// The text of length units, up to its terminator. -1: whatever its length.
std::u16string textOf(const i18n_uchar* text, int32_t length);

/// A zone as a caller names it; the default one when there is no name.
struct Zone {
    Zone(const i18n_uchar* name, int32_t length);
    const UChar* idForIcu() const { return isDefault ? nullptr : id.data(); }
    int32_t idLength() const { return static_cast<int32_t>(id.size()); }

    bool isDefault;
    std::u16string id;
};

/// The text that a call of ICU writes: write(buffer, capacity, &status) answers its length.
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

/// Writes the text, and a terminator where there is room; false and nothing when it does not fit.
bool copyOut(const std::u16string& text, i18n_uchar* result, int32_t capacity);

/// The watch's ICU has plain spaces where the desktop's has narrow ones that do not break.
void widenSpaces(std::u16string& text);

/// An output buffer may be null when nothing is to be written, as for ICU.
inline bool isBuffer(const i18n_uchar* buffer, int32_t capacity)
{
    return buffer ? capacity >= 0 : capacity == 0;
}

/// A text of a length, or, with the length -1, up to its terminator.
inline bool isText(const i18n_uchar* text, int32_t length) { return text && length >= -1; }

} // namespace i18n
