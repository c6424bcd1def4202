#include "host/common/Wire.h"

namespace host {

WireEntries toWire(const Entries& entries)
{
    WireEntries wire;
    for (const auto& [key, value] : entries)
        wire.emplace_back(key, value);
    return wire;
}

Entries fromWire(const WireEntries& wire)
{
    Entries entries;
    for (const auto& entry : wire)
        entries.emplace_back(entry.get<0>(), entry.get<1>());
    return entries;
}

} // namespace host
