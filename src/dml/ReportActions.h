// Dml::Actions::Report reads with a report reader on the store's thread; LongReport reads with an
// AsyncReportReader whose action for each object runs one at a time, in report order. Readers given by
// reference must outlive the run; shared ones are kept until it has completed.
#pragma once

#include "dml/ActionBases.h"
#include "dml/AsyncReportReader.h"
#include "dml/ReportReader.h"

#include <memory>

namespace Dml::Actions
{

class Report final : public Detail::ReadAction
{
public:
    Report(Core::EntryPoint entryPoint, ViewSpec spec, std::shared_ptr<ReportReader> reader,
           PostOffice& postOffice);
    Report(Core::EntryPoint entryPoint, ViewSpec spec, ReportReader& reader, PostOffice& postOffice);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const std::shared_ptr<ReportReader> Reader;
};

class LongReport final : public Detail::ReadAction
{
public:
    LongReport(Core::EntryPoint entryPoint, ViewSpec spec, std::shared_ptr<AsyncReportReader> reader,
               PostOffice& postOffice, const Por::Construction::UnitFactory& factory);
    LongReport(Core::EntryPoint entryPoint, ViewSpec spec, AsyncReportReader& reader, PostOffice& postOffice,
               const Por::Construction::UnitFactory& factory);
    std::shared_ptr<Async::Job> Perform(Async::ActionHandler& handler) override;

private:
    const std::shared_ptr<AsyncReportReader> Reader;
    const Por::Construction::UnitFactory& Factory;
};

} // namespace Dml::Actions
