// Dml::ReportReaderDelegate forwards each object to a target reader, so that every reader can travel as
// a shared pointer: built from a shared pointer it owns the target, built from a reference it does not
// (the caller keeps the target alive for the read). Dml::WrappedReportReader is a reader that hands out
// such a delegate aimed at itself.
#pragma once

#include "dml/ReportReader.h"

#include <memory>

namespace Dml
{

class ReportReaderDelegate : public ReportReader
{
public:
    explicit ReportReaderDelegate(ReportReader& target) : Target(&target) {}
    explicit ReportReaderDelegate(std::shared_ptr<ReportReader> target)
        : Owned(std::move(target)), Target(Owned.get())
    {
    }

    using ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override { Target->OnSubject(object); }

private:
    std::shared_ptr<ReportReader> Owned;
    ReportReader* Target;
};

class WrappedReportReader : public ReportReader
{
public:
    WrappedReportReader() : Self(std::make_shared<ReportReaderDelegate>(static_cast<ReportReader&>(*this))) {}

    // A shared pointer to this reader that owns nothing; valid while this reader lives.
    const std::shared_ptr<ReportReaderDelegate>& GetShared() const { return Self; }

private:
    std::shared_ptr<ReportReaderDelegate> Self;
};

} // namespace Dml
