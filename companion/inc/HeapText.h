#pragma once

#include <cstdlib>
#include <memory>
#include <string>

namespace companion {

/// A copy of a text that malloc() made for the caller, as the platform gives texts; its memory is
/// freed here. "" for null.
inline std::string takeText(char* text)
{
    const std::unique_ptr<char, void (*)(void*)> owned(text, free);
    return text ? text : "";
}

} // namespace companion
