// Decorations applied at every level of a tree: a decorated unit shows the traits its Decoration gives,
// and an element of its array or a property of its composite reads as a decorated unit again. Decorated
// children are made on first read and kept until the decorator goes, so every reference handed out
// stays valid as long as the decorator. Not thread-safe: a decorator belongs to one thread.
#pragma once

#include "common/NonCopyable.h"
#include "por/Unit.h"
#include "por/Values.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace Por::RecursiveDecoration
{

class Decoration : Common::NonCopyable
{
public:
    virtual ~Decoration() = default;
    // The traits that `unit` shows when decorated. A decoration that needs an object per unit makes it
    // and hands it over in `keep`, which lives as long as the decorated unit.
    virtual const View::Traits& DecorateTraits(const View::Unit& unit,
                                               std::unique_ptr<View::Traits>& keep) const = 0;
};

class UnitDecorator;
class DecoratedProperty;

// An array whose elements read as decorated units.
class ArrayValueDecorator final : public View::ArrayValue
{
public:
    explicit ArrayValueDecorator(const Decoration& decoration);
    ~ArrayValueDecorator() override;

    bool IsEmpty() const override;
    std::size_t Size() const override;
    void Back(ItemProcessor<const View::Unit>& processor) const override;
    void Front(ItemProcessor<const View::Unit>& processor) const override;
    void At(std::size_t index, ItemProcessor<const View::Unit>& processor) const override;
    void ForEach(ItemProcessor<const View::Unit>& processor) const override;
    const View::Unit& Get(std::size_t index) const override;

private:
    friend class UnitDecorator;
    void Bind(const View::ArrayValue& inner) { Inner = &inner; }
    const View::Unit& Element(std::size_t index) const;

    const Decoration& Decor;
    const View::ArrayValue* Inner = nullptr;
    mutable std::vector<std::unique_ptr<UnitDecorator>> Elements;
};

// A composite whose property values read as decorated units.
class CompositeValueDecorator final : public View::CompositeValue
{
public:
    explicit CompositeValueDecorator(const Decoration& decoration);
    ~CompositeValueDecorator() override;

    void ForEach(ItemProcessor<const View::Property>& processor) const override;
    bool Find(std::string_view name, ItemProcessor<const View::Property>& processor) const override;
    std::unique_ptr<View::CompositeIterator> GetIterator() const override;
    const View::Property* Find(std::string_view name) const override;
    std::size_t Size() const override;

    // The decorated twin of a property of the covered composite.
    const View::Property& Decorated(const View::Property& inner) const;

private:
    friend class UnitDecorator;
    void Bind(const View::CompositeValue& inner) { Inner = &inner; }

    const Decoration& Decor;
    const View::CompositeValue* Inner = nullptr;
    mutable std::unordered_map<const View::Property*, std::unique_ptr<DecoratedProperty>> Properties;
};

// A unit shown through a decoration, and every unit below it too (trait values excepted: they show as
// they are).
class UnitDecorator : public View::Unit
{
public:
    UnitDecorator(const View::Unit& unit, const Decoration& decoration);
    ~UnitDecorator() override;
    void Visit(View::UnitReader& reader) const override;
    const View::Traits& GetTraits() const override;

private:
    const View::Unit& Inner;
    std::unique_ptr<View::Traits> KeptTraits;
    const View::Traits& Traits;
    mutable ArrayValueDecorator Array;
    mutable CompositeValueDecorator Composite;
};

} // namespace Por::RecursiveDecoration
