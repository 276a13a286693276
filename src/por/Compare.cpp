#include "por/Compare.h"

#include "por/Unit.h"
#include "por/Values.h"
#include "por/Visitor.h"

#include <cstring>
#include <vector>

namespace Por
{
namespace
{

template <typename T>
int Three(const T& left, const T& right)
{
    if (left < right)
    {
        return -1;
    }
    return left == right ? 0 : 1;
}

template <typename T>
int CompareScalars(const ResolvedValue& left, const ResolvedValue& right)
{
    return Three(left.As<View::ScalarValue<T>>().Get(), right.As<View::ScalarValue<T>>().Get());
}

template <typename T>
bool ScalarsEqual(const ResolvedValue& left, const ResolvedValue& right)
{
    return left.As<View::ScalarValue<T>>().Get() == right.As<View::ScalarValue<T>>().Get();
}

template <typename T>
const T& ComplexOf(const ResolvedValue& value)
{
    return value.As<View::ComplexValue<T>>().Get();
}

// Errors have no natural order; code first, then message, keeps it total.
int CompareErrors(const Common::Error& left, const Common::Error& right)
{
    const int codes = Three(left.GetCode(), right.GetCode());
    return codes != 0 ? codes : Three(left.GetMessage(), right.GetMessage());
}

int CompareArrays(const View::ArrayValue& left, const View::ArrayValue& right)
{
    if (left.Size() != right.Size())
    {
        return left.Size() < right.Size() ? -1 : 1;
    }
    for (std::size_t i = 0; i < left.Size(); ++i)
    {
        if (const int result = Compare(left.Get(i), right.Get(i)); result != 0)
        {
            return result;
        }
    }
    return 0;
}

// Sorted lists walked side by side: a name on both sides compares its values (the first difference is
// kept); the first name found on one side only decides over any value difference, and a side that has
// no such name counts as less.
template <typename Item>
int CompareSorted(const std::vector<const Item*>& left, const std::vector<const Item*>& right)
{
    int kept = 0;
    const Item* leftOnly = nullptr;
    const Item* rightOnly = nullptr;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < left.size() || j < right.size())
    {
        const int names = i == left.size()    ? 1
                          : j == right.size() ? -1
                                              : left[i]->GetName().compare(right[j]->GetName());
        if (names == 0)
        {
            if (kept == 0)
            {
                kept = Compare(left[i]->GetValue(), right[j]->GetValue());
            }
            ++i;
            ++j;
        }
        else if (names < 0)
        {
            leftOnly = leftOnly != nullptr ? leftOnly : left[i];
            ++i;
        }
        else
        {
            rightOnly = rightOnly != nullptr ? rightOnly : right[j];
            ++j;
        }
    }
    if (leftOnly == nullptr && rightOnly == nullptr)
    {
        return kept;
    }
    if (leftOnly == nullptr)
    {
        return -1;
    }
    if (rightOnly == nullptr)
    {
        return 1;
    }
    const int names = leftOnly->GetName().compare(rightOnly->GetName());
    return names < 0 ? -1 : (names > 0 ? 1 : 0);
}

std::vector<const View::Property*> PropertiesOf(const View::CompositeValue& composite)
{
    std::vector<const View::Property*> properties;
    properties.reserve(composite.Size());
    auto collect = MakeProcessor<const View::Property>([&](const View::Property& property)
                                                       { properties.push_back(&property); });
    composite.ForEach(collect);
    return properties;
}

std::vector<const View::Trait*> TraitsOf(const View::Traits& traits)
{
    std::vector<const View::Trait*> items;
    auto collect =
        MakeProcessor<const View::Trait>([&](const View::Trait& trait) { items.push_back(&trait); });
    traits.ForEach(collect);
    return items;
}

int CompareValues(const View::Unit& leftUnit, const View::Unit& rightUnit)
{
    const ResolvedValue left = Resolve(leftUnit);
    const ResolvedValue right = Resolve(rightUnit);
    if (left.Kind != right.Kind)
    {
        return left.Kind > right.Kind ? 1 : -1;
    }
    switch (left.Kind)
    {
    case ValueKind::Boolean:
        return CompareScalars<bool>(left, right);
    case ValueKind::Byte:
        return CompareScalars<std::uint8_t>(left, right);
    case ValueKind::SByte:
        return CompareScalars<std::int8_t>(left, right);
    case ValueKind::Word:
        return CompareScalars<std::uint16_t>(left, right);
    case ValueKind::SWord:
        return CompareScalars<std::int16_t>(left, right);
    case ValueKind::DWord:
        return CompareScalars<std::uint32_t>(left, right);
    case ValueKind::SDWord:
        return CompareScalars<std::int32_t>(left, right);
    case ValueKind::QWord:
        return CompareScalars<std::uint64_t>(left, right);
    case ValueKind::SQWord:
        return CompareScalars<std::int64_t>(left, right);
    case ValueKind::Double:
        return CompareScalars<double>(left, right);
    case ValueKind::Blob:
        return Three(ComplexOf<Blob>(left), ComplexOf<Blob>(right));
    case ValueKind::Guid:
    {
        const int bytes = std::memcmp(&ComplexOf<Common::Guid>(left), &ComplexOf<Common::Guid>(right), 16);
        return bytes < 0 ? -1 : (bytes > 0 ? 1 : 0);
    }
    case ValueKind::String:
        return Three(ComplexOf<String>(left), ComplexOf<String>(right));
    case ValueKind::Error:
        return CompareErrors(ComplexOf<Common::Error>(left), ComplexOf<Common::Error>(right));
    case ValueKind::Array:
        return CompareArrays(left.As<View::ArrayValue>(), right.As<View::ArrayValue>());
    case ValueKind::Composite:
        return CompareSorted(PropertiesOf(left.As<View::CompositeValue>()),
                             PropertiesOf(right.As<View::CompositeValue>()));
    default:
        return 0;
    }
}

bool ArraysEqual(const View::ArrayValue& left, const View::ArrayValue& right)
{
    if (left.Size() != right.Size())
    {
        return false;
    }
    for (std::size_t i = 0; i < left.Size(); ++i)
    {
        if (!UnitEqual(left.Get(i), right.Get(i)))
        {
            return false;
        }
    }
    return true;
}

bool CompositesEqual(const View::CompositeValue& left, const View::CompositeValue& right)
{
    if (left.Size() != right.Size())
    {
        return false;
    }
    bool equal = true;
    auto check = MakeProcessor<const View::Property>(
        [&](const View::Property& property)
        {
            const View::Property* other = right.Find(property.GetName());
            equal = other != nullptr && UnitEqual(property.GetValue(), other->GetValue());
            return !equal;
        });
    left.ForEach(check);
    return equal;
}

} // namespace

int Compare(const View::Unit& left, const View::Unit& right)
{
    if (&left == &right)
    {
        return 0;
    }
    if (const int values = CompareValues(left, right); values != 0)
    {
        return values;
    }
    return CompareTraits(left.GetTraits(), right.GetTraits());
}

int CompareTraits(const View::Traits& left, const View::Traits& right)
{
    return CompareSorted(TraitsOf(left), TraitsOf(right));
}

bool TraitsEqual(const View::Traits& left, const View::Traits& right)
{
    const std::vector<const View::Trait*> a = TraitsOf(left);
    const std::vector<const View::Trait*> b = TraitsOf(right);
    if (a.size() != b.size())
    {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        if (a[i]->GetName() != b[i]->GetName() || !UnitEqual(a[i]->GetValue(), b[i]->GetValue()))
        {
            return false;
        }
    }
    return true;
}

bool UnitValueEqual(const View::Unit& leftUnit, const View::Unit& rightUnit)
{
    const ResolvedValue left = Resolve(leftUnit);
    const ResolvedValue right = Resolve(rightUnit);
    if (left.Kind != right.Kind)
    {
        return false;
    }
    switch (left.Kind)
    {
    case ValueKind::Nil:
        return true;
    case ValueKind::Boolean:
        return ScalarsEqual<bool>(left, right);
    case ValueKind::Byte:
        return ScalarsEqual<std::uint8_t>(left, right);
    case ValueKind::SByte:
        return ScalarsEqual<std::int8_t>(left, right);
    case ValueKind::Word:
        return ScalarsEqual<std::uint16_t>(left, right);
    case ValueKind::SWord:
        return ScalarsEqual<std::int16_t>(left, right);
    case ValueKind::DWord:
        return ScalarsEqual<std::uint32_t>(left, right);
    case ValueKind::SDWord:
        return ScalarsEqual<std::int32_t>(left, right);
    case ValueKind::QWord:
        return ScalarsEqual<std::uint64_t>(left, right);
    case ValueKind::SQWord:
        return ScalarsEqual<std::int64_t>(left, right);
    case ValueKind::Double:
        return ScalarsEqual<double>(left, right);
    case ValueKind::Blob:
        return ComplexOf<Blob>(left) == ComplexOf<Blob>(right);
    case ValueKind::Guid:
        return ComplexOf<Common::Guid>(left) == ComplexOf<Common::Guid>(right);
    case ValueKind::String:
        return ComplexOf<String>(left) == ComplexOf<String>(right);
    case ValueKind::Error:
        return CompareErrors(ComplexOf<Common::Error>(left), ComplexOf<Common::Error>(right)) == 0;
    case ValueKind::Array:
        return ArraysEqual(left.As<View::ArrayValue>(), right.As<View::ArrayValue>());
    case ValueKind::Composite:
        return CompositesEqual(left.As<View::CompositeValue>(), right.As<View::CompositeValue>());
    default:
        return false;
    }
}

bool UnitEqual(const View::Unit& left, const View::Unit& right)
{
    if (&left == &right)
    {
        return true;
    }
    return TraitsEqual(left.GetTraits(), right.GetTraits()) && UnitValueEqual(left, right);
}

} // namespace Por
