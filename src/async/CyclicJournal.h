// Async::CyclicJournal: a journal that starts over at its first entry after the last one, until Break
// (the cycle mark, also from its sub-journals), a failure or a cancel ends it.
#pragma once

#include "async/ActionCycle.h"
#include "async/ActionSequence.h"
#include "async/Journal.h"

#include <memory>

namespace Async
{

class CyclicJournal : public Journal
{
public:
    CyclicJournal() : Journal(std::make_shared<ActionCycle>(), CycleBreakAction()) {}

    bool IsCyclic() const override { return true; }
};

} // namespace Async
