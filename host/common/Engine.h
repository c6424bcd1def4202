#pragma once

#include <string>

namespace host {

/**
 * A function of an engine: a library beside this one that is loaded at its first use and stays
 * loaded, so that only processes that need it pay for what it brings along, such as a media
 * framework. Throws std::runtime_error when there is no such engine or function. Any thread.
 */
void* engineSymbol(const std::string& engine, const char* symbol);

template <typename Function>
Function* engineFunction(const std::string& engine, const char* symbol)
{
    return reinterpret_cast<Function*>(engineSymbol(engine, symbol));
}

} // namespace host
