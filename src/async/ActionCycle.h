// Async::ActionCycle is an ActionSequence that starts over at its first action after the last one, so
// it ends only with a failure (success for the marks 0x00F9000E and 0x00F9000F) or a cancel.
#pragma once

#include "async/ActionSequence.h"

namespace Async
{

class ActionCycle : public ActionSequence
{
public:
    bool IsCyclic() const override { return true; }
};

} // namespace Async
