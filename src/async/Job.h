// Jobs of the runtime: a job is the cancellation handle of a running action. Every job can describe
// itself; a WorkDescription is at the same time a ready-made error saying what failed where.
#pragma once

#include "common/Error.h"
#include "common/NonCopyable.h"
#include "common/WideString.h"

#include <cstdint>

namespace Async
{

class WorkDescription
{
public:
    // "Undefined job".
    WorkDescription();
    WorkDescription(const Common::ErrorLocation& location, Common::WideString text)
        : Location(location), Text(std::move(text))
    {
    }

    // Common::Error(Location, 0x00F90004, Text).
    Common::Error ToError() const;

    Common::ErrorLocation Location;
    Common::WideString Text;
};

class DescriptiveEntity : Common::NonCopyable
{
public:
    virtual ~DescriptiveEntity() = default;
    virtual void Describe(WorkDescription& out) const = 0;
    virtual std::uint32_t GetId() const = 0;
};

class Job : public DescriptiveEntity
{
public:
    // A request: the job still completes through its handler, normally with the cancelled error.
    virtual void Cancel() = 0;
};

// A job with an id from a process-wide counter (the first is 1) and a default description.
class BaseJob : public Job
{
public:
    BaseJob();
    // "ASYNC: Unidentified job."
    void Describe(WorkDescription& out) const override;
    std::uint32_t GetId() const override { return Id; }

private:
    std::uint32_t Id;
};

} // namespace Async
