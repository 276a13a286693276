// The value interfaces of the three faces: scalars and complex values (blob, guid, string, error) with
// Get and, from Modification on, Set; nil; arrays and composites with processor-based access. Array
// indexes are checked ("POR: Out of range.", 0xfa000f). Composites keep their properties sorted by name
// (strcmp order), one per name.
#pragma once

#include "por/Unit.h"
#include "por/ValueKind.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace Por
{
namespace View
{

class NilValue : Common::NonCopyable
{
public:
    virtual ~NilValue() = default;
};

template <typename T>
class ScalarValue : Common::NonCopyable
{
public:
    virtual ~ScalarValue() = default;
    virtual T Get() const = 0;
};

template <typename T>
class ComplexValue : Common::NonCopyable
{
public:
    virtual ~ComplexValue() = default;
    virtual const T& Get() const = 0;
};

class ArrayValue : Common::NonCopyable
{
public:
    virtual ~ArrayValue() = default;
    virtual bool IsEmpty() const = 0;
    virtual std::size_t Size() const = 0;
    // Back and Front expect a non-empty array: callers check IsEmpty first.
    virtual void Back(ItemProcessor<const Unit>& processor) const = 0;
    virtual void Front(ItemProcessor<const Unit>& processor) const = 0;
    virtual void At(std::size_t index, ItemProcessor<const Unit>& processor) const = 0;
    virtual void ForEach(ItemProcessor<const Unit>& processor) const = 0;
    // The element at `index`; throws 0xfa000f when out of range.
    virtual const Unit& Get(std::size_t index) const = 0;
};

// Steps through the properties of a composite in name order.
class CompositeIterator : Common::NonCopyable
{
public:
    virtual ~CompositeIterator() = default;
    virtual bool IsValid() const = 0;
    virtual const Property& Current() const = 0;
    virtual void Next() = 0;
};

class CompositeValue : Common::NonCopyable
{
public:
    virtual ~CompositeValue() = default;
    virtual void ForEach(ItemProcessor<const Property>& processor) const = 0;
    // False when there is no such property.
    virtual bool Find(std::string_view name, ItemProcessor<const Property>& processor) const = 0;
    virtual std::unique_ptr<CompositeIterator> GetIterator() const = 0;
    // The property of that name, or null.
    virtual const Property* Find(std::string_view name) const = 0;
    virtual std::size_t Size() const = 0;
};

} // namespace View

namespace Modification
{

class NilValue : public View::NilValue
{
};

template <typename T>
class ScalarValue : public View::ScalarValue<T>
{
public:
    // Replaces the value; the kind never changes.
    virtual void Set(T value) = 0;
};

template <typename T>
class ComplexValue : public View::ComplexValue<T>
{
public:
    virtual void Set(const T& value) = 0;
};

class ArrayValue : public View::ArrayValue
{
public:
    using View::ArrayValue::At;
    using View::ArrayValue::Back;
    using View::ArrayValue::ForEach;
    using View::ArrayValue::Front;
    virtual void Back(ItemProcessor<Unit>& processor) = 0;
    virtual void Front(ItemProcessor<Unit>& processor) = 0;
    virtual void At(std::size_t index, ItemProcessor<Unit>& processor) = 0;
    virtual void ForEach(ItemProcessor<Unit>& processor) = 0;
    virtual void Clear() = 0;
    // The given units are copied with the in-memory factory. Insert takes an index up to the size.
    virtual void Insert(std::size_t index, const View::Unit& unit) = 0;
    virtual void RemoveAt(std::size_t index) = 0;
    virtual void PushBack(const View::Unit& unit) = 0;
    virtual void PushFront(const View::Unit& unit) = 0;
    // On an empty array these do nothing.
    virtual void PopBack() = 0;
    virtual void PopFront() = 0;
};

class CompositeValue : public View::CompositeValue
{
public:
    using View::CompositeValue::Find;
    using View::CompositeValue::ForEach;
    virtual void ForEach(ItemProcessor<Property>& processor) = 0;
    virtual bool Find(std::string_view name, ItemProcessor<Property>& processor) = 0;
};

} // namespace Modification

namespace Construction
{

class NilValue : public Modification::NilValue
{
};

template <typename T>
class ScalarValue : public Modification::ScalarValue<T>
{
};

template <typename T>
class ComplexValue : public Modification::ComplexValue<T>
{
};

class ArrayValue : public Modification::ArrayValue
{
public:
    using Modification::ArrayValue::At;
    using Modification::ArrayValue::Back;
    using Modification::ArrayValue::ForEach;
    using Modification::ArrayValue::Front;
    using Modification::ArrayValue::Insert;
    using Modification::ArrayValue::PushBack;
    using Modification::ArrayValue::PushFront;
    virtual void Back(ItemProcessor<Unit>& processor) = 0;
    virtual void Front(ItemProcessor<Unit>& processor) = 0;
    virtual void At(std::size_t index, ItemProcessor<Unit>& processor) = 0;
    virtual void ForEach(ItemProcessor<Unit>& processor) = 0;
    // These take the unit over; a null unit throws 0xfa000b.
    virtual void Insert(std::size_t index, UnitPtr unit) = 0;
    virtual void PushBack(UnitPtr unit) = 0;
    virtual void PushFront(UnitPtr unit) = 0;
    // The owning pointer of an element; throws 0xfa000f when out of range.
    virtual const UnitPtr& GetPointer(std::size_t index) const = 0;
};

class CompositeIterator : Common::NonCopyable
{
public:
    virtual ~CompositeIterator() = default;
    virtual bool IsValid() const = 0;
    virtual Property& Current() const = 0;
    virtual void Next() = 0;
};

class CompositeValue : public Modification::CompositeValue
{
public:
    using Modification::CompositeValue::Find;
    using Modification::CompositeValue::ForEach;
    using View::CompositeValue::GetIterator;
    virtual void ForEach(ItemProcessor<Property>& processor) = 0;
    virtual bool Find(std::string_view name, ItemProcessor<Property>& processor) = 0;
    virtual std::unique_ptr<CompositeIterator> GetIterator() = 0;
    // Sets the property, replacing one of the same name; a null property throws 0xfa000b.
    virtual void Set(PropertyPtr property) = 0;
    // Removes the property of that name; returns 0 or 1.
    virtual std::size_t Remove(std::string_view name) = 0;
    // The property of that name on this face, or null.
    virtual Property* FindProperty(std::string_view name) = 0;
};

} // namespace Construction
} // namespace Por
