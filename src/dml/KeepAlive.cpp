#include "dml/KeepAlive.h"

namespace Dml::Detail
{

void KeepAliveHandler::Completed(const Common::Error& result)
{
    const std::shared_ptr<const void> data = std::move(Data);
    Async::ActionHandler& next = Next;
    delete this;
    next.Completed(result);
}

} // namespace Dml::Detail
