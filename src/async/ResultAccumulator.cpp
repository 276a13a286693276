#include "async/ResultAccumulator.h"

#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/TextCatalog.h"
#include "common/Trace.h"

#include <string>

namespace Async
{
namespace
{

constexpr int DebugLevel = 1;
constexpr std::uint32_t AsyncArea = 0x00F9;

} // namespace

void BarrierDebugTracer::Accumulate(std::uint32_t position, const Common::Error& result)
{
    if (result.GetCode() != 0)
    {
        Common::TraceError(DebugLevel, result);
        return;
    }
    const std::string number = std::to_string(position);
    const Common::WideString wide(number.begin(), number.end());
    Common::TraceText(
        DebugLevel, AsyncArea, 0,
        Common::FormatText(Common::WideStringView(Common::GetText(Common::Texts::AsyncBarrierResult)),
                           {Common::WideStringView(wide)}));
}

} // namespace Async
