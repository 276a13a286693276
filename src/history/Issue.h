// Tol::History::Plain::Issue: one warning or error of an activity, the element of its "Warnings" and
// "Errors" arrays. A schema class (see SchemaObject.h for the members every one has).
#pragma once

#include "history/SchemaObject.h"

namespace Tol::History::Plain
{

class Issue : public Por::BaseObject
{
    TOL_HISTORY_CLASS(Issue)

    // Seconds ("Measure" "seconds").
    std::int64_t GetTime() const;
    void SetTime(const std::int64_t& value);
    Common::Error GetError() const;
    void SetError(const Common::Error& value);
};

} // namespace Tol::History::Plain
