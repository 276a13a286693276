#include "por/DecoratorBasics.h"

namespace Por::Detail
{
namespace
{

class NoTraits final : public View::Traits
{
public:
    void ForEachNamed(std::string_view, ItemProcessor<const View::Trait>&) const override {}
    void ForEach(ItemProcessor<const View::Trait>&) const override {}
};

class NilView final : public View::Unit
{
public:
    void Visit(View::UnitReader& reader) const override { reader.Visit(Value); }
    const View::Traits& GetTraits() const override { return EmptyTraits(); }

private:
    View::NilValue Value;
};

} // namespace

const View::Traits& EmptyTraits()
{
    static const NoTraits traits;
    return traits;
}

const View::Unit& NilUnitView()
{
    static const NilView unit;
    return unit;
}

} // namespace Por::Detail
