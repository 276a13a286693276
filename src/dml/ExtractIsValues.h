// Dml::Operation::Impl::ExtractIsValues: collects the string values of the traits it is given into a
// set; run over the "Is" traits of a pattern it yields the classes the pattern names. Values of other
// kinds are skipped.
#pragma once

#include "por/ItemProcessor.h"
#include "por/Unit.h"
#include "por/ValueKind.h"

#include <set>
#include <string_view>

namespace Dml::Operation::Impl
{

class ExtractIsValues final : public Por::ItemProcessor<const Por::View::Trait>
{
public:
    explicit ExtractIsValues(std::set<Por::String>& values) : Values(values) {}
    bool Process(const Por::View::Trait& trait) override;

    // Runs over the traits of `name` (by default "Is") of `unit`.
    void Extract(const Por::View::Unit& unit, std::string_view name = "Is");

private:
    std::set<Por::String>& Values;
};

} // namespace Dml::Operation::Impl
