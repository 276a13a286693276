// Dml::AsyncSubscriptionReader: the news of a feed as actions. Each operation starts the work on one
// notification and returns its job; the handler is told when that work has ended. The units are the
// reader's to keep.
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"
#include "por/Forward.h"

#include <memory>

namespace Dml
{

class AsyncSubscriptionReader : Common::NonCopyable
{
public:
    virtual ~AsyncSubscriptionReader() = default;
    virtual std::shared_ptr<Async::Job> OnCreated(const Por::ConstUnitPtr& object,
                                                  Async::ActionHandler& handler) = 0;
    virtual std::shared_ptr<Async::Job> OnUpdated(const Por::ConstUnitPtr& before,
                                                  const Por::ConstUnitPtr& after,
                                                  Async::ActionHandler& handler) = 0;
    virtual std::shared_ptr<Async::Job> OnDeleted(const Por::ConstUnitPtr& object,
                                                  Async::ActionHandler& handler) = 0;
};

} // namespace Dml
