#pragma once

#include <cstdlib>
#include <memory>
#include <string>

namespace app {

/// A copy of a text that malloc() made for the caller, as many calls of the platform do, and whose
/// memory is freed here. "" for null.
inline std::string takeText(char* text)
{
    const std::unique_ptr<char, void (*)(void*)> owned(text, free);
    return text ? text : "";
}

} // namespace app
