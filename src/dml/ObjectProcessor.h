// Dml::ObjectProcessor: the two branches of a look-up by key or spec: what to do with each object found,
// and what to do when nothing was found. Each returns the job of its store call, like an action.
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"
#include "por/Forward.h"

#include <memory>

namespace Dml
{

class ObjectProcessor : Common::NonCopyable
{
public:
    virtual ~ObjectProcessor() = default;
    virtual std::shared_ptr<Async::Job> ProcessObject(const Por::View::Unit& object,
                                                      Async::ActionHandler& handler) = 0;
    virtual std::shared_ptr<Async::Job> ProcessEmptySelection(Async::ActionHandler& handler) = 0;
};

} // namespace Dml
