// Dml::PostOffice: the store's read side. Report walks the matching objects into the reader and
// completes; Subscribe does the same and then fills `subscription` with the feed of what follows.
// Safe to call from any thread.
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"
#include "dml/ViewSpec.h"
#include "runtime/EntryPoint.h"

#include <memory>

namespace Dml
{

class ReportReader;
class Subscription;

class PostOffice : Common::NonCopyable
{
public:
    virtual ~PostOffice() = default;
    virtual std::shared_ptr<Async::Job> Subscribe(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                                  const std::shared_ptr<ReportReader>& reader,
                                                  std::unique_ptr<Subscription>& subscription,
                                                  Async::ActionHandler& handler) = 0;
    virtual std::shared_ptr<Async::Job> Report(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                               const std::shared_ptr<ReportReader>& reader,
                                               Async::ActionHandler& handler) = 0;
};

} // namespace Dml
