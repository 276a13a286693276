// Dml::NullSubscriptionReader: a subscription reader that ignores every notification; a base for readers
// that want only some of them.
#pragma once

#include "dml/SubscriptionReader.h"

namespace Dml
{

class NullSubscriptionReader : public SubscriptionReader
{
public:
    using SubscriptionReader::OnCreated;
    using SubscriptionReader::OnDeleted;
    using SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit&) override {}
    void OnUpdated(const Por::View::Unit&, const Por::View::Unit&) override {}
    void OnDeleted(const Por::View::Unit&) override {}
};

} // namespace Dml
