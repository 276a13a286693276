// Dml::Details::SubscribeWithoutReportReader stands in for the report reader of a feed opened without one:
// each object of the opening report reaches the subscription reader as a created object, so a reader that
// knows only OnCreated sees the snapshot and the news through one door.
#pragma once

#include "dml/ReportReader.h"
#include "dml/SubscriptionReaderDelegate.h"

#include <memory>

namespace Dml::Details
{

class SubscribeWithoutReportReader final : public ReportReader, public SubscriptionReaderDelegate
{
public:
    explicit SubscribeWithoutReportReader(std::shared_ptr<SubscriptionReader> target)
        : SubscriptionReaderDelegate(std::move(target))
    {
    }

    using ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override { OnCreated(object); }
};

} // namespace Dml::Details
