// Dml::SubscriptionReaderDelegate forwards each notification to a target reader, so that every reader can
// travel as a shared pointer: built from a shared pointer it owns the target, built from a reference it
// does not (the caller keeps the target alive for the feed).
#pragma once

#include "dml/SubscriptionReader.h"

#include <memory>

namespace Dml
{

class SubscriptionReaderDelegate : public SubscriptionReader
{
public:
    explicit SubscriptionReaderDelegate(SubscriptionReader& target) : Target(&target) {}
    explicit SubscriptionReaderDelegate(std::shared_ptr<SubscriptionReader> target)
        : Owned(std::move(target)), Target(Owned.get())
    {
    }

    using SubscriptionReader::OnCreated;
    using SubscriptionReader::OnDeleted;
    using SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit& object) override { Target->OnCreated(object); }
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override
    {
        Target->OnUpdated(before, after);
    }
    void OnDeleted(const Por::View::Unit& object) override { Target->OnDeleted(object); }

private:
    std::shared_ptr<SubscriptionReader> Owned;
    SubscriptionReader* Target;
};

} // namespace Dml
