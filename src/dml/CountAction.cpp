#include "dml/CountAction.h"

#include "dml/KeepAlive.h"
#include "dml/PostOffice.h"
#include "dml/QueryReaders.h"
#include "dml/SingleObjectReader.h"
#include "dml/SpecWriters.h"

namespace Dml
{

ViewSpec Detail::MakeCountingSpec(const ViewSpec& spec, const Por::Construction::UnitFactory& factory)
{
    if (spec.Options != nullptr && Query::HasCounter(*spec.Options))
    {
        return spec;
    }
    return Query::WithCounter(spec, factory);
}

std::shared_ptr<Async::Job> ReadCount(const Core::EntryPoint& entryPoint, const ViewSpec& spec,
                                      PostOffice& postOffice, const Por::Construction::UnitFactory& factory,
                                      std::uint32_t& count, Async::ActionHandler& handler)
{
    const ViewSpec counting = Detail::MakeCountingSpec(spec, factory);
    auto reader = std::make_shared<CounterReader>(count);
    return Detail::PerformKeepingAlive(reader, handler,
                                       [&](Async::ActionHandler& keeper)
                                       { return postOffice.Report(entryPoint, counting, reader, keeper); });
}

} // namespace Dml
