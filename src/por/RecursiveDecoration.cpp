#include "por/RecursiveDecoration.h"

#include "por/DecoratorBasics.h"

namespace Por::RecursiveDecoration
{

class DecoratedProperty final : public View::Property
{
public:
    DecoratedProperty(const View::Property& inner, const Decoration& decoration)
        : Name(inner.GetName()), Value(inner.GetValue(), decoration)
    {
    }
    const std::string& GetName() const override { return Name; }
    const View::Unit& GetValue() const override { return Value; }

private:
    const std::string& Name;
    UnitDecorator Value;
};

namespace
{

class DecoratingIterator final : public View::CompositeIterator
{
public:
    DecoratingIterator(const CompositeValueDecorator& owner, std::unique_ptr<View::CompositeIterator> inner)
        : Owner(owner), Inner(std::move(inner))
    {
    }
    bool IsValid() const override { return Inner->IsValid(); }
    const View::Property& Current() const override { return Owner.Decorated(Inner->Current()); }
    void Next() override { Inner->Next(); }

private:
    const CompositeValueDecorator& Owner;
    std::unique_ptr<View::CompositeIterator> Inner;
};

} // namespace

ArrayValueDecorator::ArrayValueDecorator(const Decoration& decoration) : Decor(decoration) {}
ArrayValueDecorator::~ArrayValueDecorator() = default;

bool ArrayValueDecorator::IsEmpty() const
{
    return Inner->IsEmpty();
}

std::size_t ArrayValueDecorator::Size() const
{
    return Inner->Size();
}

const View::Unit& ArrayValueDecorator::Element(std::size_t index) const
{
    const View::Unit& inner = Inner->Get(index); // checks the index
    if (Elements.size() < Inner->Size())
    {
        Elements.resize(Inner->Size());
    }
    std::unique_ptr<UnitDecorator>& element = Elements[index];
    if (element == nullptr)
    {
        element = std::make_unique<UnitDecorator>(inner, Decor);
    }
    return *element;
}

void ArrayValueDecorator::Back(ItemProcessor<const View::Unit>& processor) const
{
    processor.Process(Element(Size() - 1));
}

void ArrayValueDecorator::Front(ItemProcessor<const View::Unit>& processor) const
{
    processor.Process(Element(0));
}

void ArrayValueDecorator::At(std::size_t index, ItemProcessor<const View::Unit>& processor) const
{
    processor.Process(Element(index));
}

void ArrayValueDecorator::ForEach(ItemProcessor<const View::Unit>& processor) const
{
    for (std::size_t i = 0; i < Size(); ++i)
    {
        if (processor.Process(Element(i)))
        {
            return;
        }
    }
}

const View::Unit& ArrayValueDecorator::Get(std::size_t index) const
{
    return Element(index);
}

CompositeValueDecorator::CompositeValueDecorator(const Decoration& decoration) : Decor(decoration) {}
CompositeValueDecorator::~CompositeValueDecorator() = default;

const View::Property& CompositeValueDecorator::Decorated(const View::Property& inner) const
{
    std::unique_ptr<DecoratedProperty>& property = Properties[&inner];
    if (property == nullptr)
    {
        property = std::make_unique<DecoratedProperty>(inner, Decor);
    }
    return *property;
}

void CompositeValueDecorator::ForEach(ItemProcessor<const View::Property>& processor) const
{
    auto decorate = MakeProcessor<const View::Property>([&](const View::Property& property)
                                                        { return processor.Process(Decorated(property)); });
    Inner->ForEach(decorate);
}

bool CompositeValueDecorator::Find(std::string_view name,
                                   ItemProcessor<const View::Property>& processor) const
{
    const View::Property* found = Find(name);
    if (found != nullptr)
    {
        processor.Process(*found);
    }
    return found != nullptr;
}

std::unique_ptr<View::CompositeIterator> CompositeValueDecorator::GetIterator() const
{
    return std::make_unique<DecoratingIterator>(*this, Inner->GetIterator());
}

const View::Property* CompositeValueDecorator::Find(std::string_view name) const
{
    const View::Property* inner = Inner->Find(name);
    return inner != nullptr ? &Decorated(*inner) : nullptr;
}

std::size_t CompositeValueDecorator::Size() const
{
    return Inner->Size();
}

UnitDecorator::UnitDecorator(const View::Unit& unit, const Decoration& decoration)
    : Inner(unit), Traits(decoration.DecorateTraits(unit, KeptTraits)), Array(decoration),
      Composite(decoration)
{
}

UnitDecorator::~UnitDecorator() = default;

void UnitDecorator::Visit(View::UnitReader& reader) const
{
    // Only one of the two is ever bound: a unit's kind does not change.
    struct Binder final : DelegatingUnitReader
    {
        Binder(View::UnitReader& next, const UnitDecorator& owner) : DelegatingUnitReader(next), Owner(owner)
        {
        }
        using DelegatingUnitReader::Visit;
        void Visit(const View::ArrayValue& value) override
        {
            Owner.Array.Bind(value);
            Next.Visit(Owner.Array);
        }
        void Visit(const View::CompositeValue& value) override
        {
            Owner.Composite.Bind(value);
            Next.Visit(Owner.Composite);
        }
        const UnitDecorator& Owner;
    } binder(reader, *this);
    Inner.Visit(binder);
}

const View::Traits& UnitDecorator::GetTraits() const
{
    return Traits;
}

} // namespace Por::RecursiveDecoration
