// Tol::History::Plain::ActivityBottleneck: where an activity spent its time, as shares and durations
// of reading, encoding and writing. A schema class (see SchemaObject.h for the members every one has).
#pragma once

#include "history/SchemaObject.h"

namespace Tol::History::Plain
{

class ActivityBottleneck : public Por::BaseObject
{
    TOL_HISTORY_CLASS(ActivityBottleneck)

    std::uint16_t GetSourcePercent() const;
    void SetSourcePercent(const std::uint16_t& value);
    std::uint16_t GetEncodingPercent() const;
    void SetEncodingPercent(const std::uint16_t& value);
    std::uint16_t GetDestinationPercent() const;
    void SetDestinationPercent(const std::uint16_t& value);
    std::uint64_t GetSourceMs() const;
    void SetSourceMs(const std::uint64_t& value);
    std::uint64_t GetEncodingMs() const;
    void SetEncodingMs(const std::uint64_t& value);
    std::uint64_t GetDestinationMs() const;
    void SetDestinationMs(const std::uint64_t& value);
};

} // namespace Tol::History::Plain
