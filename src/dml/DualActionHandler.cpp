#include "dml/DualActionHandler.h"

namespace Dml::Details
{

void DualActionHandler::Completed(const Common::Error& result)
{
    const Common::Error forFirst = result;
    const Common::Error forSecond = result;
    First.Completed(forFirst);
    Second.Completed(forSecond);
}

} // namespace Dml::Details
