#include "Cache.h"
#include "Icu.h"

namespace {

using Generator = std::unique_ptr<UDateTimePatternGenerator, i18n::Closer<udatpg_close>>;

// A locale's pattern generator, which is slow to make, and the best patterns that it has found,
// which takes it a while, too.
class Patterns {
public:
    explicit Patterns(Generator generator)
        : _generator(std::move(generator))
    {
    }

    std::shared_ptr<const std::u16string> best(const std::u16string& skeleton, UErrorCode& status)
    {
        return _best.get(skeleton, [&]() -> std::shared_ptr<const std::u16string> {
            std::u16string pattern
                = i18n::written(status, [&](UChar* buffer, int32_t capacity, UErrorCode* code) {
                      return udatpg_getBestPattern(_generator.get(), skeleton.data(),
                          static_cast<int32_t>(skeleton.size()), buffer, capacity, code);
                  });
            if (U_FAILURE(status))
                return nullptr;
            i18n::widenSpaces(pattern);
            return std::make_shared<const std::u16string>(std::move(pattern));
        });
    }

private:
    Generator _generator;
    i18n::Cache<const std::u16string> _best;
};

using Handle = std::shared_ptr<Patterns>;

std::shared_ptr<Patterns> patternsOf(const std::string& locale, UErrorCode& status)
{
    static i18n::Cache<Patterns> cache;
    return cache.get(u"", locale, status, [&]() -> std::shared_ptr<Patterns> {
        Generator generator(udatpg_open(locale.c_str(), &status));
        return U_SUCCESS(status) ? std::make_shared<Patterns>(std::move(generator)) : nullptr;
    });
}

} // namespace

extern "C" int i18n_udatepg_create(const char* locale, i18n_udatepg_h* dtpg)
{
    return i18n::guarded([&]() -> int {
        if (!dtpg)
            return I18N_ERROR_INVALID_PARAMETER;
        UErrorCode status = U_ZERO_ERROR;
        Handle patterns = patternsOf(i18n::localeName(locale), status);
        if (patterns)
            *dtpg = new Handle(std::move(patterns));
        return i18n::codeOf(status);
    });
}

extern "C" int i18n_udatepg_destroy(i18n_udatepg_h dtpg) { return i18n::destroy<Handle>(dtpg); }

extern "C" int i18n_udatepg_get_best_pattern(i18n_udatepg_h dtpg, const i18n_uchar* skeleton,
    int32_t len, i18n_uchar* best_pattern, int32_t capacity, int32_t* best_pattern_len)
{
    return i18n::guarded([&]() -> int {
        if (!dtpg || !i18n::isText(skeleton, len) || !i18n::isBuffer(best_pattern, capacity)
            || !best_pattern_len)
            return I18N_ERROR_INVALID_PARAMETER;
        UErrorCode status = U_ZERO_ERROR;
        const auto pattern
            = (*static_cast<Handle*>(dtpg))->best(i18n::textOf(skeleton, len), status);
        if (!pattern)
            return i18n::codeOf(status);
        if (!i18n::copyOut(*pattern, best_pattern, capacity))
            return I18N_ERROR_BUFFER_OVERFLOW;
        *best_pattern_len = static_cast<int32_t>(pattern->size());
        return I18N_ERROR_NONE;
    });
}
