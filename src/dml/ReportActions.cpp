#include "dml/ReportActions.h"

#include "async/Asynchronizer.h"
#include "dml/AsyncReport.h"
#include "dml/KeepAlive.h"
#include "dml/PostOffice.h"
#include "dml/ReportReaderDelegate.h"

namespace Dml::Actions
{

Report::Report(Core::EntryPoint entryPoint, ViewSpec spec, std::shared_ptr<ReportReader> reader,
               PostOffice& postOffice)
    : ReadAction(std::move(entryPoint), std::move(spec), postOffice), Reader(std::move(reader))
{
}

Report::Report(Core::EntryPoint entryPoint, ViewSpec spec, ReportReader& reader, PostOffice& postOffice)
    : Report(std::move(entryPoint), std::move(spec), std::make_shared<ReportReaderDelegate>(reader),
             postOffice)
{
}

std::shared_ptr<Async::Job> Report::Perform(Async::ActionHandler& handler)
{
    return Dml::Detail::PerformKeepingAlive(Reader, handler,
                                            [&](Async::ActionHandler& keeper)
                                            { return Office.Report(EntryPoint, Spec, Reader, keeper); });
}

namespace
{
// A reference travels as a shared pointer that owns nothing.
std::shared_ptr<AsyncReportReader> Unowned(AsyncReportReader& reader)
{
    return std::shared_ptr<AsyncReportReader>(&reader, [](AsyncReportReader*) {});
}
} // namespace

LongReport::LongReport(Core::EntryPoint entryPoint, ViewSpec spec, std::shared_ptr<AsyncReportReader> reader,
                       PostOffice& postOffice, const Por::Construction::UnitFactory& factory)
    : ReadAction(std::move(entryPoint), std::move(spec), postOffice), Reader(std::move(reader)),
      Factory(factory)
{
}

LongReport::LongReport(Core::EntryPoint entryPoint, ViewSpec spec, AsyncReportReader& reader,
                       PostOffice& postOffice, const Por::Construction::UnitFactory& factory)
    : LongReport(std::move(entryPoint), std::move(spec), Unowned(reader), postOffice, factory)
{
}

std::shared_ptr<Async::Job> LongReport::Perform(Async::ActionHandler& handler)
{
    auto report = std::make_shared<AsyncReport>(EntryPoint, Spec, nullptr, *Reader, Office, Factory);
    const std::unique_ptr<Async::Action> reading =
        Async::MakeAsynchronizer(report, Async::AsynchronizerKind::Sequence);
    return Dml::Detail::PerformKeepingAlive(
        Reader, handler, [&](Async::ActionHandler& keeper) { return reading->Perform(keeper); });
}

} // namespace Dml::Actions
