// Dml::AsyncReportReader: a report reader whose work on each object is an action; OnSubject starts it
// and returns its job. The object is the reader's to keep.
#pragma once

#include "async/Action.h"
#include "common/NonCopyable.h"
#include "por/Forward.h"

#include <memory>

namespace Dml
{

class AsyncReportReader : Common::NonCopyable
{
public:
    virtual ~AsyncReportReader() = default;
    virtual std::shared_ptr<Async::Job> OnSubject(const Por::ConstUnitPtr& object,
                                                  Async::ActionHandler& handler) = 0;
};

} // namespace Dml
