#include "dml/Promise.h"

namespace Dml::Details
{

void RecordingHandler::Completed(const Common::Error& result)
{
    Common::Error recorded = result;
    State->Finish(recorded);
    Async::ActionHandler& next = Next;
    delete this;
    next.Completed(recorded);
}

} // namespace Dml::Details
