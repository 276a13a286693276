// The in-memory units: value holders, properties and traits in sorted vectors of owning pointers, and
// the factory that makes them. Trait storage is allocated at the first Add: most units have none.
#include "por/Compare.h"
#include "por/Errors.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"
#include "por/Visitor.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <span>
#include <vector>

namespace Por
{
namespace Detail
{
namespace
{

int CompareNames(std::string_view left, std::string_view right)
{
    return left.compare(right); // bytewise, as strcmp
}

class TraitHolder final : public View::Trait
{
public:
    TraitHolder(std::string name, UnitPtr value) : Name(std::move(name)), Value(std::move(value)) {}
    const std::string& GetName() const override { return Name; }
    const View::Unit& GetValue() const override { return *Value; }

private:
    std::string Name;
    UnitPtr Value;
};

// Sorted by name, and among equal names by value (Compare); an equal pair is kept once. The first trait
// lives inline, since nearly every unit that has traits has one ("Is", "PrimaryKey", "Nil"); a second one
// moves all of them into a vector.
class TraitsHolder final : public Construction::Traits
{
public:
    void ForEachNamed(std::string_view name, ItemProcessor<const View::Trait>& processor) const override
    {
        const std::span<const TraitPtr> items = Items();
        auto [first, last] = std::equal_range(items.begin(), items.end(), name, NameLess{});
        for (; first != last; ++first)
        {
            if (processor.Process(**first))
            {
                return;
            }
        }
    }

    void ForEach(ItemProcessor<const View::Trait>& processor) const override
    {
        for (const TraitPtr& trait : Items())
        {
            if (processor.Process(*trait))
            {
                return;
            }
        }
    }

    void Add(TraitPtr trait) override
    {
        if (trait == nullptr)
        {
            throw MakeNullUnitError(COMMON_LOCATION("Por::Detail::TraitsHolderImpl::Add"));
        }
        if (Many == nullptr && Single == nullptr)
        {
            Single = std::move(trait);
            return;
        }
        if (Many == nullptr)
        {
            const int order = Order(*Single, *trait);
            if (order == 0)
            {
                return;
            }
            Many = std::make_unique<std::vector<TraitPtr>>();
            Many->reserve(4);
            Many->push_back(std::move(Single));
            Many->insert(order < 0 ? Many->end() : Many->begin(), std::move(trait));
            return;
        }
        const auto position = std::lower_bound(Many->begin(), Many->end(), trait,
                                               [](const TraitPtr& left, const TraitPtr& right)
                                               { return Order(*left, *right) < 0; });
        if (position != Many->end() && Order(**position, *trait) == 0)
        {
            return; // an equal pair stays once
        }
        Many->insert(position, std::move(trait));
    }

    std::size_t Remove(std::string_view name) override
    {
        if (Many == nullptr)
        {
            if (Single == nullptr || Single->GetName() != name)
            {
                return 0;
            }
            Single.reset();
            return 1;
        }
        auto [first, last] = std::equal_range(Many->begin(), Many->end(), name, NameLess{});
        const auto removed = static_cast<std::size_t>(last - first);
        Many->erase(first, last);
        return removed;
    }

private:
    static int Order(const View::Trait& left, const View::Trait& right)
    {
        const int names = CompareNames(left.GetName(), right.GetName());
        return names != 0 ? names : Compare(left.GetValue(), right.GetValue());
    }

    std::span<const TraitPtr> Items() const
    {
        if (Many != nullptr)
        {
            return {Many->data(), Many->size()};
        }
        return Single != nullptr ? std::span<const TraitPtr>(&Single, 1) : std::span<const TraitPtr>();
    }

    struct NameLess
    {
        bool operator()(const TraitPtr& trait, std::string_view name) const
        {
            return trait->GetName() < name;
        }
        bool operator()(std::string_view name, const TraitPtr& trait) const
        {
            return name < trait->GetName();
        }
    };

    TraitPtr Single;
    std::unique_ptr<std::vector<TraitPtr>> Many;
};

class PropertyHolder final : public Construction::Property
{
public:
    PropertyHolder(std::string name, UnitPtr value) : Name(std::move(name)), Value(std::move(value)) {}
    const std::string& GetName() const override { return Name; }
    const View::Unit& GetValue() const override { return *Value; }
    Construction::Unit& GetValue() override { return *Value; }
    const UnitPtr& GetValuePointer() const override { return Value; }

private:
    std::string Name;
    UnitPtr Value;
};

// A property placed in its own value's block. Deleting it clears the slot (its first word, so the slot
// reads as free again) and lets the value go last, since the value may be the block's last owner.
class EmbeddedPropertyHolder final : public Construction::Property
{
public:
    EmbeddedPropertyHolder(std::string name, UnitPtr value) : Name(std::move(name)), Value(std::move(value))
    {
    }
    const std::string& GetName() const override { return Name; }
    const View::Unit& GetValue() const override { return *Value; }
    Construction::Unit& GetValue() override { return *Value; }
    const UnitPtr& GetValuePointer() const override { return Value; }

    static void operator delete(EmbeddedPropertyHolder* self, std::destroying_delete_t)
    {
        UnitPtr value = std::move(self->Value);
        self->~EmbeddedPropertyHolder();
        std::memset(static_cast<void*>(self), 0, sizeof(void*));
        value.reset();
    }

private:
    std::string Name;
    UnitPtr Value;
};

template <typename T>
class ScalarHolder final : public Construction::ScalarValue<T>
{
public:
    explicit ScalarHolder(T value) : Value(value) {}
    T Get() const override { return Value; }
    void Set(T value) override { Value = value; }

private:
    T Value;
};

template <typename T>
class ComplexHolder final : public Construction::ComplexValue<T>
{
public:
    explicit ComplexHolder(T value) : Value(std::move(value)) {}
    const T& Get() const override { return Value; }
    void Set(const T& value) override { Value = value; }

private:
    T Value;
};

class NilHolder final : public Construction::NilValue
{
};

template <typename Element, typename Processor, typename Items>
void ProcessAt(Items& items, std::size_t index, Processor& processor)
{
    if (index >= items.size())
    {
        throw MakeOutOfRangeError(COMMON_LOCATION("Por::Detail::ArrayValueHolder::At"));
    }
    processor.Process(static_cast<Element&>(*items[index]));
}

class ArrayHolder final : public Construction::ArrayValue
{
public:
    bool IsEmpty() const override { return Items.empty(); }
    std::size_t Size() const override { return Items.size(); }

    void Back(ItemProcessor<const View::Unit>& processor) const override { At(Items.size() - 1, processor); }
    void Front(ItemProcessor<const View::Unit>& processor) const override { At(0, processor); }
    void At(std::size_t index, ItemProcessor<const View::Unit>& processor) const override
    {
        ProcessAt<const View::Unit>(Items, index, processor);
    }
    void ForEach(ItemProcessor<const View::Unit>& processor) const override
    {
        Each<const View::Unit>(processor);
    }
    const View::Unit& Get(std::size_t index) const override { return *GetPointer(index); }

    void Back(ItemProcessor<Modification::Unit>& processor) override { At(Items.size() - 1, processor); }
    void Front(ItemProcessor<Modification::Unit>& processor) override { At(0, processor); }
    void At(std::size_t index, ItemProcessor<Modification::Unit>& processor) override
    {
        ProcessAt<Modification::Unit>(Items, index, processor);
    }
    void ForEach(ItemProcessor<Modification::Unit>& processor) override
    {
        Each<Modification::Unit>(processor);
    }

    void Back(ItemProcessor<Construction::Unit>& processor) override { At(Items.size() - 1, processor); }
    void Front(ItemProcessor<Construction::Unit>& processor) override { At(0, processor); }
    void At(std::size_t index, ItemProcessor<Construction::Unit>& processor) override
    {
        ProcessAt<Construction::Unit>(Items, index, processor);
    }
    void ForEach(ItemProcessor<Construction::Unit>& processor) override
    {
        Each<Construction::Unit>(processor);
    }

    void Clear() override { Items.clear(); }
    void Insert(std::size_t index, const View::Unit& unit) override
    {
        Insert(index, Util::Copy(unit, GetUnitFactory()));
    }
    void RemoveAt(std::size_t index) override
    {
        if (index >= Items.size())
        {
            throw MakeOutOfRangeError(COMMON_LOCATION("Por::Detail::ArrayValueHolder::RemoveAt"));
        }
        Items.erase(Items.begin() + static_cast<std::ptrdiff_t>(index));
    }
    void PushBack(const View::Unit& unit) override { PushBack(Util::Copy(unit, GetUnitFactory())); }
    void PushFront(const View::Unit& unit) override { PushFront(Util::Copy(unit, GetUnitFactory())); }
    void PopBack() override
    {
        if (!Items.empty())
        {
            Items.pop_back();
        }
    }
    void PopFront() override
    {
        if (!Items.empty())
        {
            Items.erase(Items.begin());
        }
    }

    void Insert(std::size_t index, UnitPtr unit) override
    {
        if (unit == nullptr)
        {
            throw MakeNullUnitError(COMMON_LOCATION("Por::Detail::ArrayValueHolder::Insert"));
        }
        if (index > Items.size())
        {
            throw MakeOutOfRangeError(COMMON_LOCATION("Por::Detail::ArrayValueHolder::Insert"));
        }
        Items.insert(Items.begin() + static_cast<std::ptrdiff_t>(index), std::move(unit));
    }
    void PushBack(UnitPtr unit) override { Insert(Items.size(), std::move(unit)); }
    void PushFront(UnitPtr unit) override { Insert(0, std::move(unit)); }

    const UnitPtr& GetPointer(std::size_t index) const override
    {
        if (index >= Items.size())
        {
            throw MakeOutOfRangeError(COMMON_LOCATION("Por::Detail::ArrayValueHolder::At"));
        }
        return Items[index];
    }

private:
    template <typename Element, typename Processor>
    void Each(Processor& processor) const
    {
        for (const UnitPtr& item : Items)
        {
            if (processor.Process(static_cast<Element&>(*item)))
            {
                return;
            }
        }
    }

    std::vector<UnitPtr> Items;
};

class CompositeHolder final : public Construction::CompositeValue
{
public:
    void ForEach(ItemProcessor<const View::Property>& processor) const override
    {
        Each<const View::Property>(processor);
    }
    bool Find(std::string_view name, ItemProcessor<const View::Property>& processor) const override
    {
        const View::Property* found = Find(name);
        if (found != nullptr)
        {
            processor.Process(*found);
        }
        return found != nullptr;
    }
    const View::Property* Find(std::string_view name) const override { return Lookup(name); }
    std::size_t Size() const override { return Items.size(); }
    std::unique_ptr<View::CompositeIterator> GetIterator() const override
    {
        return std::make_unique<ViewIterator>(Items);
    }

    void ForEach(ItemProcessor<Modification::Property>& processor) override
    {
        Each<Modification::Property>(processor);
    }
    bool Find(std::string_view name, ItemProcessor<Modification::Property>& processor) override
    {
        Construction::Property* found = Lookup(name);
        if (found != nullptr)
        {
            processor.Process(*found);
        }
        return found != nullptr;
    }

    void ForEach(ItemProcessor<Construction::Property>& processor) override
    {
        Each<Construction::Property>(processor);
    }
    bool Find(std::string_view name, ItemProcessor<Construction::Property>& processor) override
    {
        Construction::Property* found = Lookup(name);
        if (found != nullptr)
        {
            processor.Process(*found);
        }
        return found != nullptr;
    }
    std::unique_ptr<Construction::CompositeIterator> GetIterator() override
    {
        return std::make_unique<ConstructionIterator>(Items);
    }
    Construction::Property* FindProperty(std::string_view name) override { return Lookup(name); }

    void Set(PropertyPtr property) override
    {
        if (property == nullptr)
        {
            throw MakeNullUnitError(COMMON_LOCATION("Por::Detail::CompositeValueHolder::Set"));
        }
        // Properties often arrive in name order (copies, readers of sorted streams): append directly.
        if (Items.empty() || Items.back()->GetName() < property->GetName())
        {
            Grow();
            Items.push_back(std::move(property));
            return;
        }
        const auto position = LowerBound(property->GetName());
        if (position != Items.end() && (*position)->GetName() == property->GetName())
        {
            *position = std::move(property);
            return;
        }
        const std::ptrdiff_t offset = position - Items.begin();
        Grow();
        Items.insert(Items.begin() + offset, std::move(property));
    }

    std::size_t Remove(std::string_view name) override
    {
        const auto position = LowerBound(name);
        if (position == Items.end() || (*position)->GetName() != name)
        {
            return 0;
        }
        Items.erase(position);
        return 1;
    }

private:
    using Storage = std::vector<PropertyPtr>;

    // Doubling (at least the half that the growth needs), from four: most composites are small, and fewer
    // reallocations matter more than the few pointers left unused.
    void Grow()
    {
        if (Items.size() == Items.capacity())
        {
            Items.reserve(std::max<std::size_t>(Items.size() * 2, 4));
        }
    }

    Storage::const_iterator LowerBound(std::string_view name) const
    {
        return std::lower_bound(Items.begin(), Items.end(), name,
                                [](const PropertyPtr& property, std::string_view key)
                                { return property->GetName() < key; });
    }
    Storage::iterator LowerBound(std::string_view name)
    {
        return std::lower_bound(Items.begin(), Items.end(), name,
                                [](const PropertyPtr& property, std::string_view key)
                                { return property->GetName() < key; });
    }

    Construction::Property* Lookup(std::string_view name) const
    {
        const auto position = LowerBound(name);
        return position != Items.end() && (*position)->GetName() == name ? position->get() : nullptr;
    }

    template <typename Element, typename Processor>
    void Each(Processor& processor) const
    {
        for (const PropertyPtr& property : Items)
        {
            if (processor.Process(static_cast<Element&>(*property)))
            {
                return;
            }
        }
    }

    class ViewIterator final : public View::CompositeIterator
    {
    public:
        explicit ViewIterator(const Storage& items) : Items(items) {}
        bool IsValid() const override { return Position < Items.size(); }
        const View::Property& Current() const override { return *Items.at(Position); }
        void Next() override { ++Position; }

    private:
        const Storage& Items;
        std::size_t Position = 0;
    };

    class ConstructionIterator final : public Construction::CompositeIterator
    {
    public:
        explicit ConstructionIterator(const Storage& items) : Items(items) {}
        bool IsValid() const override { return Position < Items.size(); }
        Construction::Property& Current() const override { return *Items.at(Position); }
        void Next() override { ++Position; }

    private:
        const Storage& Items;
        std::size_t Position = 0;
    };

    Storage Items;
};

// The concrete unit: one value holder and the traits.
template <typename Holder>
class Object final : public Construction::Unit
{
public:
    template <typename... Arguments>
    explicit Object(Arguments&&... arguments) : Value(std::forward<Arguments>(arguments)...)
    {
    }

    void Visit(View::UnitReader& reader) const override { reader.Visit(Value); }
    const View::Traits& GetTraits() const override { return Traits; }
    void Visit(Modification::UnitWriter& writer) override { writer.Visit(Value); }
    void Visit(Construction::UnitBuilder& builder) override { builder.Visit(Value); }
    Construction::Traits& GetTraits() override { return Traits; }

    Construction::Property* EmbedProperty(std::string& name, UnitPtr& self) override
    {
        void* first = nullptr;
        std::memcpy(&first, Slot, sizeof first);
        if (first != nullptr || self.get() != this)
        {
            return nullptr; // the slot holds a property already
        }
        return new (static_cast<void*>(Slot)) EmbeddedPropertyHolder(std::move(name), std::move(self));
    }

private:
    Holder Value;
    TraitsHolder Traits;
    // Room for the property that owns this unit (most units are property values); a free slot's first
    // word is zero, a used one's is the property's virtual table.
    alignas(EmbeddedPropertyHolder) unsigned char Slot[sizeof(EmbeddedPropertyHolder)] = {};
};

template <typename Holder, typename... Arguments>
UnitPtr Make(Arguments&&... arguments)
{
    return std::make_shared<Object<Holder>>(std::forward<Arguments>(arguments)...);
}

} // namespace
} // namespace Detail

namespace Construction
{

using namespace Por::Detail;

UnitPtr InMemoryUnitFactory::CreateNil() const
{
    return Make<NilHolder>();
}
UnitPtr InMemoryUnitFactory::CreateBoolean(bool value) const
{
    return Make<ScalarHolder<bool>>(value);
}
UnitPtr InMemoryUnitFactory::CreateByte(std::uint8_t value) const
{
    return Make<ScalarHolder<std::uint8_t>>(value);
}
UnitPtr InMemoryUnitFactory::CreateSByte(std::int8_t value) const
{
    return Make<ScalarHolder<std::int8_t>>(value);
}
UnitPtr InMemoryUnitFactory::CreateWord(std::uint16_t value) const
{
    return Make<ScalarHolder<std::uint16_t>>(value);
}
UnitPtr InMemoryUnitFactory::CreateSWord(std::int16_t value) const
{
    return Make<ScalarHolder<std::int16_t>>(value);
}
UnitPtr InMemoryUnitFactory::CreateDWord(std::uint32_t value) const
{
    return Make<ScalarHolder<std::uint32_t>>(value);
}
UnitPtr InMemoryUnitFactory::CreateSDWord(std::int32_t value) const
{
    return Make<ScalarHolder<std::int32_t>>(value);
}
UnitPtr InMemoryUnitFactory::CreateQWord(std::uint64_t value) const
{
    return Make<ScalarHolder<std::uint64_t>>(value);
}
UnitPtr InMemoryUnitFactory::CreateSQWord(std::int64_t value) const
{
    return Make<ScalarHolder<std::int64_t>>(value);
}
UnitPtr InMemoryUnitFactory::CreateDouble(double value) const
{
    return Make<ScalarHolder<double>>(value);
}
UnitPtr InMemoryUnitFactory::CreateBlob(Blob value) const
{
    return Make<ComplexHolder<Blob>>(std::move(value));
}
UnitPtr InMemoryUnitFactory::CreateGuid(const Common::Guid& value) const
{
    return Make<ComplexHolder<Common::Guid>>(value);
}
UnitPtr InMemoryUnitFactory::CreateString(String value) const
{
    return Make<ComplexHolder<String>>(std::move(value));
}
UnitPtr InMemoryUnitFactory::CreateError(const Common::Error& value) const
{
    return Make<ComplexHolder<Common::Error>>(value);
}
UnitPtr InMemoryUnitFactory::CreateArray() const
{
    return Make<ArrayHolder>();
}
UnitPtr InMemoryUnitFactory::CreateComposite() const
{
    return Make<CompositeHolder>();
}

TraitPtr InMemoryUnitFactory::CreateTrait(std::string name, UnitPtr unit) const
{
    if (unit == nullptr)
    {
        throw MakeNullUnitError(COMMON_LOCATION("Por::Construction::InMemoryUnitFactory::CreateTrait"));
    }
    return std::make_unique<TraitHolder>(std::move(name), std::move(unit));
}

PropertyPtr InMemoryUnitFactory::CreateProperty(std::string name, UnitPtr unit) const
{
    if (unit == nullptr)
    {
        throw MakeNullUnitError(COMMON_LOCATION("Por::Construction::InMemoryUnitFactory::CreateProperty"));
    }
    if (Construction::Property* embedded = unit->EmbedProperty(name, unit))
    {
        return PropertyPtr(embedded);
    }
    return std::make_unique<PropertyHolder>(std::move(name), std::move(unit));
}

} // namespace Construction

namespace Construction
{

Property* Unit::EmbedProperty(std::string&, UnitPtr&)
{
    return nullptr;
}

} // namespace Construction

const Construction::UnitFactory& GetUnitFactory()
{
    static const Construction::InMemoryUnitFactory factory;
    return factory;
}

void GetPorViewUnitFactory(const Construction::UnitFactory** factory)
{
    if (factory != nullptr)
    {
        *factory = &GetUnitFactory();
    }
}

} // namespace Por
