// Writing and reading C++ values through the contract: Write(serializer, name, value) and
// Read(deserializer, name, value) for the contract's scalars, enums, classes with a
// `void Serialize(Serializer&) const` and `void Deserialize(Deserializer&)` pair, and std::vector,
// std::list, std::set, std::map, std::multimap, std::optional, std::shared_ptr and raw pointers of
// them. Pointees whose class is a polymorphic CategoryHolder are written with their category and made
// again by it. Raw pointers read are new objects owned by the caller. A failed read leaves the reader's
// brackets as they were before the call.
#pragma once

#include "por/serialize/CategoryHolder.h"
#include "por/serialize/Deserializer.h"
#include "por/serialize/Serializer.h"

#include <concepts>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

namespace Serialization
{

// The types that the contract writes as values of their own.
template <typename T>
concept ScalarValue = std::same_as<T, bool> || std::same_as<T, std::uint8_t> ||
    std::same_as<T, std::int8_t> || std::same_as<T, std::uint16_t> || std::same_as<T, std::int16_t> ||
    std::same_as<T, std::uint32_t> || std::same_as<T, std::int32_t> || std::same_as<T, std::uint64_t> ||
    std::same_as<T, std::int64_t> || std::same_as<T, double> || std::same_as<T, std::vector<std::uint8_t>> ||
    std::same_as<T, Common::Guid> || std::same_as<T, Common::WideString> || std::same_as<T, Common::Error>;

template <typename T>
concept SelfSerializing = requires(const T& value, T& target, Serializer& serializer,
                                   Deserializer& deserializer)
{
    value.Serialize(serializer);
    target.Deserialize(deserializer);
};

// Written through a pointer to a base: the reader makes the object by its category.
template <typename T>
concept Polymorphic = SelfSerializing<T> && std::is_base_of_v<CategoryHolder, T> && std::is_polymorphic_v<T>;

namespace Detail
{

// Closes a reader's bracket however the reading inside it ends.
class ReadBracket
{
public:
    explicit ReadBracket(Deserializer& deserializer) : Reader(deserializer) {}
    ReadBracket(const ReadBracket&) = delete;
    ReadBracket& operator=(const ReadBracket&) = delete;
    ~ReadBracket() { Reader.End(); }

private:
    Deserializer& Reader;
};

} // namespace Detail

template <typename T>
void Write(Serializer& serializer, Name name, const T& value)
{
    if constexpr (ScalarValue<T>)
    {
        serializer.Write(name, value);
    }
    else if constexpr (std::is_enum_v<T>)
    {
        serializer.Write(name, static_cast<std::underlying_type_t<T>>(value));
    }
    else
    {
        static_assert(SelfSerializing<T>, "no Serialize/Deserialize pair and no helper for this type");
        serializer.BeginClass(name);
        value.Serialize(serializer);
        serializer.End();
    }
}

template <typename T>
void Read(Deserializer& deserializer, Name name, T& value)
{
    if constexpr (ScalarValue<T>)
    {
        deserializer.Read(name, value);
    }
    else if constexpr (std::is_enum_v<T>)
    {
        auto raw = static_cast<std::underlying_type_t<T>>(value);
        deserializer.Read(name, raw);
        value = static_cast<T>(raw);
    }
    else
    {
        static_assert(SelfSerializing<T>, "no Serialize/Deserialize pair and no helper for this type");
        deserializer.BeginClass(name);
        Detail::ReadBracket bracket(deserializer);
        value.Deserialize(deserializer);
    }
}

// Reads the value when it is there (and not stored as absent); false leaves `value` unchanged. For
// fields that older writers did not have.
template <typename T>
bool TryRead(Deserializer& deserializer, Name name, T& value)
{
    if (!deserializer.HasValue(name))
    {
        return false;
    }
    Read(deserializer, name, value);
    return true;
}

namespace Detail
{

template <typename Container>
void WriteItems(Serializer& serializer, Name name, Name kind, const Container& items)
{
    serializer.BeginContainer(name, kind);
    for (const auto& item : items)
    {
        Write(serializer, Names::Item, item);
    }
    serializer.End();
}

template <typename Map>
void WritePairs(Serializer& serializer, Name name, Name kind, const Map& items)
{
    serializer.BeginContainer(name, kind);
    for (const auto& [key, value] : items)
    {
        serializer.BeginClass(Names::Item);
        Write(serializer, Names::First, key);
        Write(serializer, Names::Second, value);
        serializer.End();
    }
    serializer.End();
}

// Reads each item into a fresh Item and hands it to `add`.
template <typename Item, typename Add>
void ReadItems(Deserializer& deserializer, Name name, Name kind, Add add)
{
    ContainerIterator& items = deserializer.BeginContainer(name, kind);
    ReadBracket bracket(deserializer);
    while (items.HasNext())
    {
        items.Next();
        Item item{};
        Read(deserializer, Names::Item, item);
        add(std::move(item));
    }
}

template <typename Key, typename Value, typename Add>
void ReadPairs(Deserializer& deserializer, Name name, Name kind, Add add)
{
    ContainerIterator& items = deserializer.BeginContainer(name, kind);
    ReadBracket bracket(deserializer);
    while (items.HasNext())
    {
        items.Next();
        Key key{};
        Value value{};
        deserializer.BeginClass(Names::Item);
        ReadBracket item(deserializer);
        Read(deserializer, Names::First, key);
        Read(deserializer, Names::Second, value);
        add(std::move(key), std::move(value));
    }
}

template <typename T>
void WritePointer(Serializer& serializer, Name name, Name kind, const T* value)
{
    serializer.BeginPointer(name, kind);
    serializer.Write(Names::PtrMark, serializer.MarkPointer(value));
    if constexpr (Polymorphic<T>)
    {
        if (value != nullptr)
        {
            serializer.BeginPolymorph(Names::PtrValue);
            serializer.Write(Names::CheckedType, GetCategoryName(*value));
            serializer.BeginClass(Names::Value);
            value->Serialize(serializer);
            serializer.End();
            serializer.End();
        }
    }
    else if (value != nullptr)
    {
        Write(serializer, Names::PtrValue, *value);
    }
    serializer.End();
}

// A new object read from the pointer's value: of the class its category names when T is polymorphic.
template <typename T>
std::unique_ptr<T> ReadPointee(Deserializer& deserializer)
{
    if constexpr (Polymorphic<T>)
    {
        deserializer.BeginPolymorph(Names::PtrValue);
        ReadBracket bracket(deserializer);
        Common::WideString category;
        deserializer.Read(Names::CheckedType, category);
        std::unique_ptr<CategoryHolder> made = CreateByCategory(Common::WideStringView(category));
        T* typed = dynamic_cast<T*>(made.get());
        if (typed == nullptr)
        {
            throw MakeCategoryCastError(category, typeid(T));
        }
        std::unique_ptr<T> result(typed);
        (void)made.release(); // owned by `result` now
        deserializer.BeginClass(Names::Value);
        ReadBracket inner(deserializer);
        result->Deserialize(deserializer);
        return result;
    }
    else
    {
        auto result = std::make_unique<T>();
        Read(deserializer, Names::PtrValue, *result);
        return result;
    }
}

// The mark of the open pointer bracket, or nothing when the pointer is null.
inline std::optional<std::uint64_t> ReadPointerMark(Deserializer& deserializer)
{
    std::uint64_t mark = 0;
    TryRead(deserializer, Names::PtrMark, mark);
    if (!deserializer.HasValue(Names::PtrValue))
    {
        return std::nullopt;
    }
    return mark;
}

} // namespace Detail

template <typename T>
void Write(Serializer& serializer, Name name, const std::vector<T>& values)
{
    Detail::WriteItems(serializer, name, Names::Vector, values);
}

template <typename T>
void Read(Deserializer& deserializer, Name name, std::vector<T>& values)
{
    std::vector<T> result;
    Detail::ReadItems<T>(deserializer, name, Names::Vector,
                         [&](T&& item) { result.push_back(std::move(item)); });
    values = std::move(result);
}

template <typename T>
void Write(Serializer& serializer, Name name, const std::list<T>& values)
{
    Detail::WriteItems(serializer, name, Names::List, values);
}

template <typename T>
void Read(Deserializer& deserializer, Name name, std::list<T>& values)
{
    std::list<T> result;
    Detail::ReadItems<T>(deserializer, name, Names::List,
                         [&](T&& item) { result.push_back(std::move(item)); });
    values = std::move(result);
}

template <typename T, typename Compare>
void Write(Serializer& serializer, Name name, const std::set<T, Compare>& values)
{
    Detail::WriteItems(serializer, name, Names::Set, values);
}

template <typename T, typename Compare>
void Read(Deserializer& deserializer, Name name, std::set<T, Compare>& values)
{
    std::set<T, Compare> result;
    Detail::ReadItems<T>(deserializer, name, Names::Set, [&](T&& item) { result.insert(std::move(item)); });
    values = std::move(result);
}

// Maps are arrays of items with the parts Names::First and Names::Second.
template <typename Key, typename Value, typename Compare>
void Write(Serializer& serializer, Name name, const std::map<Key, Value, Compare>& values)
{
    Detail::WritePairs(serializer, name, Names::Map, values);
}

template <typename Key, typename Value, typename Compare>
void Read(Deserializer& deserializer, Name name, std::map<Key, Value, Compare>& values)
{
    std::map<Key, Value, Compare> result;
    Detail::ReadPairs<Key, Value>(deserializer, name, Names::Map,
                                  [&](Key&& key, Value&& value)
                                  { result.insert_or_assign(std::move(key), std::move(value)); });
    values = std::move(result);
}

template <typename Key, typename Value, typename Compare>
void Write(Serializer& serializer, Name name, const std::multimap<Key, Value, Compare>& values)
{
    Detail::WritePairs(serializer, name, Names::Multimap, values);
}

template <typename Key, typename Value, typename Compare>
void Read(Deserializer& deserializer, Name name, std::multimap<Key, Value, Compare>& values)
{
    std::multimap<Key, Value, Compare> result;
    Detail::ReadPairs<Key, Value>(deserializer, name, Names::Multimap,
                                  [&](Key&& key, Value&& value)
                                  { result.emplace(std::move(key), std::move(value)); });
    values = std::move(result);
}

// Nested optionals keep every level: the inner one is a value of the outer.
template <typename T>
void Write(Serializer& serializer, Name name, const std::optional<T>& value)
{
    serializer.BeginOptional(name, Names::Optional);
    serializer.Write(Names::IsInit, value.has_value());
    if (value.has_value())
    {
        Write(serializer, Names::Value, *value);
    }
    serializer.End();
}

template <typename T>
void Read(Deserializer& deserializer, Name name, std::optional<T>& value)
{
    deserializer.BeginOptional(name, Names::Optional);
    Detail::ReadBracket bracket(deserializer);
    // The flag, not the value's absence, decides: an optional holding an empty optional has a value.
    bool initialised = false;
    deserializer.Read(Names::IsInit, initialised);
    if (!initialised)
    {
        value.reset();
        return;
    }
    T item{};
    Read(deserializer, Names::Value, item);
    value = std::move(item);
}

template <typename T>
void Write(Serializer& serializer, Name name, const std::shared_ptr<T>& value)
{
    Detail::WritePointer<T>(serializer, name, Names::SharedPtr, value.get());
}

// Pointers written with one mark come back as one object (per pointee type).
template <typename T>
void Read(Deserializer& deserializer, Name name, std::shared_ptr<T>& value)
{
    deserializer.BeginPointer(name, Names::SharedPtr);
    Detail::ReadBracket bracket(deserializer);
    const std::optional<std::uint64_t> mark = Detail::ReadPointerMark(deserializer);
    if (!mark.has_value())
    {
        value.reset();
        return;
    }
    std::shared_ptr<void>& slot = deserializer.PointerSlot(*mark, typeid(T));
    if (*mark == 0 || slot == nullptr)
    {
        std::shared_ptr<T> made = Detail::ReadPointee<T>(deserializer);
        if (*mark != 0)
        {
            slot = made;
        }
        value = std::move(made);
        return;
    }
    value = std::static_pointer_cast<T>(slot);
}

template <typename T>
void Write(Serializer& serializer, Name name, T* const& value)
{
    Detail::WritePointer<T>(serializer, name, Names::RawPtr, value);
}

// The object is new and the caller's; pointers of one mark share it, to be deleted once.
template <typename T>
void Read(Deserializer& deserializer, Name name, T*& value)
{
    deserializer.BeginPointer(name, Names::RawPtr);
    Detail::ReadBracket bracket(deserializer);
    const std::optional<std::uint64_t> mark = Detail::ReadPointerMark(deserializer);
    if (!mark.has_value())
    {
        value = nullptr;
        return;
    }
    std::shared_ptr<void>& slot = deserializer.PointerSlot(*mark, typeid(T*));
    if (*mark != 0 && slot != nullptr)
    {
        value = static_cast<T*>(slot.get());
        return;
    }
    T* made = Detail::ReadPointee<T>(deserializer).release();
    if (*mark != 0)
    {
        slot = std::shared_ptr<void>(made, [](void*) {}); // the caller owns it
    }
    value = made;
}

} // namespace Serialization
