// Dml::SubscriptionReader: the news of a feed, one notification at a time, in store order. OnUpdated gets
// the object as it was, then as it is now. Exceptions travel into the store's delivery code.
#pragma once

#include "common/NonCopyable.h"
#include "por/Forward.h"

namespace Por
{
class Unit;
}

namespace Dml
{

class SubscriptionReader : Common::NonCopyable
{
public:
    virtual ~SubscriptionReader() = default;
    virtual void OnCreated(const Por::View::Unit& object) = 0;
    virtual void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) = 0;
    virtual void OnDeleted(const Por::View::Unit& object) = 0;
    // Take the handles' units (an empty composite for an empty handle).
    virtual void OnCreated(Por::Unit object);
    virtual void OnUpdated(Por::Unit before, Por::Unit after);
    virtual void OnDeleted(Por::Unit object);
};

} // namespace Dml
