#pragma once

#include "host/common/Log.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <tizen.h>
#include <type_traits>

/// For functions that C code calls: they let no exception through, and hand out memory that C code
/// frees.
namespace host {

/// Runs the work and returns its result. An exception is logged as "<what>: <its text>", and the
/// result is then failure, or what failure makes of the exception.
template <typename Failure, typename Work>
auto guarded(const char* what, const Failure& failure, const Work& work) noexcept
{
    if constexpr (std::is_invocable_v<const Failure&, const std::exception&>) {
        using Result = std::common_type_t<decltype(failure(std::exception())), decltype(work())>;
        try {
            return static_cast<Result>(work());
        } catch (const std::exception& error) {
            logFailure(what, error);
            return static_cast<Result>(failure(error));
        }
    } else {
        return guarded(
            what, [&](const std::exception&) { return failure; }, work);
    }
}

/// The same for work without a result.
template <typename Work>
void guarded(const char* what, const Work& work) noexcept
{
    (void)guarded(what, 0, [&] {
        work();
        return 0;
    });
}

/// A failure for guarded: the code that all interfaces share for a lack of memory, or code for any
/// other exception.
struct OutOfMemoryOr {
    int code;
    int operator()(const std::exception& error) const
    {
        return dynamic_cast<const std::bad_alloc*>(&error) ? TIZEN_ERROR_OUT_OF_MEMORY : code;
    }
};

/// A copy of the text that C code frees by free(). Throws std::bad_alloc.
inline char* copyForC(const std::string& text)
{
    char* copy = strdup(text.c_str());
    if (!copy)
        throw std::bad_alloc();
    return copy;
}

/// Deletes by free(), for what C functions have allocated, GLib's among them.
struct Free {
    void operator()(void* memory) const { free(memory); }
};
using CText = std::unique_ptr<char, Free>;

} // namespace host
