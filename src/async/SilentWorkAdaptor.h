// Async::SilentWorkAdaptor<F, D>: work for Async::Service::Execute made of a callable. Run calls F (what
// F throws goes to the service, which reports it); D is kept alive with the work; Describe gives the
// description it was made with. The work must live until the service called the handler.
#pragma once

#include "async/ActionAdaptor.h"
#include "async/Job.h"
#include "async/Service.h"

#include <concepts>
#include <memory>
#include <utility>

namespace Async
{

template <std::invocable F, class D = EmptyData>
class SilentWorkAdaptor final : public Work
{
public:
    explicit SilentWorkAdaptor(F function, D data = D(), WorkDescription description = WorkDescription())
        : Function(std::move(function)), Data(std::move(data)), Description(std::move(description))
    {
    }

    void Run() override { Function(); }
    void Describe(WorkDescription& out) const override { out = Description; }

private:
    F Function;
    [[no_unique_address]] D Data;
    WorkDescription Description;
};

template <std::invocable F>
std::shared_ptr<Work> MakeWork(F function, WorkDescription description = WorkDescription())
{
    return std::make_shared<SilentWorkAdaptor<F>>(std::move(function), EmptyData(), std::move(description));
}

} // namespace Async
