#include "Icu.h"

#include <cstring>
#include <unicode/uloc.h>

extern "C" int i18n_ulocale_set_default(const char* locale_id)
{
    if (!locale_id || !i18n::isLocaleName(locale_id))
        return I18N_ERROR_INVALID_PARAMETER;
    if (strcmp(locale_id, uloc_getDefault()) == 0)
        return I18N_ERROR_NONE;
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault(locale_id, &status);
    return i18n::codeOf(status);
}

extern "C" int i18n_ulocale_get_default(const char** locale)
{
    if (!locale)
        return I18N_ERROR_INVALID_PARAMETER;
    *locale = uloc_getDefault();
    return I18N_ERROR_NONE;
}
