// Alerts::Detail::GuidHash: the hash of a Common::Guid for the inspectors' maps of many entries (one
// per running activity or process), whose ids are random, so mixing the two halves is enough.
#pragma once

#include "common/Guid.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Alerts::Detail
{

struct GuidHash
{
    std::size_t operator()(const Common::Guid& guid) const noexcept
    {
        std::uint64_t halves[2];
        std::memcpy(halves, &guid, sizeof(halves));
        return static_cast<std::size_t>(halves[0] ^ (halves[1] * 0x9E3779B97F4A7C15ull));
    }
};

} // namespace Alerts::Detail
