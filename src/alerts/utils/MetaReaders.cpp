#include "alerts/utils/MetaReaders.h"

#include "alerts/utils/LogHelpers.h"
#include "por/Errors.h"
#include "por/Path.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"

#include <optional>
#include <utility>
#include <variant>

namespace Alerts::Util
{
namespace
{

Common::WideString WidePath(std::string_view path)
{
    return Common::WideString(path.begin(), path.end()); // paths are ASCII
}

[[noreturn]] void ThrowMismatch(std::string_view path, Por::ValueKind expected, Por::ValueKind actual)
{
    throw Por::Util::Detail::MakePropertyTypeMismatchError(path, expected, actual);
}

// The value of any integer kind, or nothing for another kind.
std::optional<std::variant<std::int64_t, std::uint64_t>> IntegerValue(const Por::View::Unit& unit)
{
    using Por::Util::GetValue;
    switch (Por::GetValueTypeIndex(unit))
    {
    case Por::ValueKind::Byte:
        return std::uint64_t{GetValue<std::uint8_t>(unit)};
    case Por::ValueKind::SByte:
        return std::int64_t{GetValue<std::int8_t>(unit)};
    case Por::ValueKind::Word:
        return std::uint64_t{GetValue<std::uint16_t>(unit)};
    case Por::ValueKind::SWord:
        return std::int64_t{GetValue<std::int16_t>(unit)};
    case Por::ValueKind::DWord:
        return std::uint64_t{GetValue<std::uint32_t>(unit)};
    case Por::ValueKind::SDWord:
        return std::int64_t{GetValue<std::int32_t>(unit)};
    case Por::ValueKind::QWord:
        return GetValue<std::uint64_t>(unit);
    case Por::ValueKind::SQWord:
        return GetValue<std::int64_t>(unit);
    default:
        return std::nullopt;
    }
}

template <typename T>
bool TryReadInteger(const Por::View::Unit& unit, std::string_view path, T& out, std::string_view addon,
                    bool strict)
{
    const Por::View::Unit* found = TryReadUnit(unit, path, addon, strict);
    if (found == nullptr)
    {
        return false;
    }
    const auto value = IntegerValue(*found);
    const bool fits = value && std::visit([](auto number) { return std::in_range<T>(number); }, *value);
    if (!fits)
    {
        ThrowMismatch(path, Por::KindOfV<T>, Por::GetValueTypeIndex(*found));
    }
    out = std::visit([](auto number) { return static_cast<T>(number); }, *value);
    return true;
}

const Por::View::ArrayValue* TryReadArray(const Por::View::Unit& unit, std::string_view path,
                                          std::string_view addon, bool strict)
{
    const Por::View::Unit* found = TryReadUnit(unit, path, addon, strict);
    if (found == nullptr)
    {
        return nullptr;
    }
    const Por::View::ArrayValue* array = Por::Util::FindArray(*found);
    if (array == nullptr)
    {
        ThrowMismatch(path, Por::ValueKind::Array, Por::GetValueTypeIndex(*found));
    }
    return array;
}

template <typename T>
bool TryReadComplex(const Por::View::Unit& unit, std::string_view path, T& out, std::string_view addon,
                    bool strict)
{
    const Por::View::Unit* found = TryReadUnit(unit, path, addon, strict);
    if (found == nullptr)
    {
        return false;
    }
    const Por::ValueKind kind = Por::GetValueTypeIndex(*found);
    if (kind != Por::KindOfV<T>)
    {
        ThrowMismatch(path, Por::KindOfV<T>, kind);
    }
    out = Por::Util::GetValue<T>(*found);
    return true;
}

} // namespace

const Por::View::Unit* TryReadUnit(const Por::View::Unit& unit, std::string_view path, std::string_view addon,
                                   bool strict)
{
    const Por::View::Unit* found = Por::Util::ResolvePath(WidePath(path), unit);
    if (found != nullptr && !Por::Util::IsNil(*found))
    {
        return found;
    }
    LogNotFound(addon, strict ? LogLevels::Warning : LogLevels::Debug, path, unit);
    return nullptr;
}

bool TryReadGuid(const Por::View::Unit& unit, std::string_view path, Common::Guid& out,
                 std::string_view addon, bool strict)
{
    return TryReadComplex(unit, path, out, addon, strict);
}

bool TryReadString(const Por::View::Unit& unit, std::string_view path, Common::WideString& out,
                   std::string_view addon, bool strict)
{
    return TryReadComplex(unit, path, out, addon, strict);
}

bool TryReadInt(const Por::View::Unit& unit, std::string_view path, std::int32_t& out, std::string_view addon,
                bool strict)
{
    return TryReadInteger(unit, path, out, addon, strict);
}

bool TryReadTime(const Por::View::Unit& unit, std::string_view path, std::int64_t& out,
                 std::string_view addon, bool strict)
{
    return TryReadInteger(unit, path, out, addon, strict);
}

bool TryReadList(const Por::View::Unit& unit, std::string_view path, std::vector<Common::WideString>& out,
                 std::string_view addon, bool strict)
{
    const Por::View::ArrayValue* array = TryReadArray(unit, path, addon, strict);
    if (array == nullptr)
    {
        return false;
    }
    std::vector<Common::WideString> values;
    values.reserve(array->Size());
    for (std::size_t i = 0; i < array->Size(); ++i)
    {
        const Por::View::Unit& element = array->Get(i);
        const Por::ValueKind kind = Por::GetValueTypeIndex(element);
        if (kind != Por::ValueKind::String)
        {
            ThrowMismatch(path, Por::ValueKind::String, kind);
        }
        values.push_back(Por::Util::GetValue<Por::String>(element));
    }
    out = std::move(values);
    return true;
}

bool TryReadList(const Por::View::Unit& unit, std::string_view path, std::vector<const Por::View::Unit*>& out,
                 std::string_view addon, bool strict)
{
    const Por::View::ArrayValue* array = TryReadArray(unit, path, addon, strict);
    if (array == nullptr)
    {
        return false;
    }
    out.clear();
    out.reserve(array->Size());
    for (std::size_t i = 0; i < array->Size(); ++i)
    {
        out.push_back(&array->Get(i));
    }
    return true;
}

bool CopyString(Por::Unit meta, std::string_view key, const Por::View::Unit& unit, std::string_view path,
                std::string_view addon, bool strict)
{
    Common::WideString value;
    if (!TryReadString(unit, path, value, addon, strict))
    {
        return false;
    }
    meta[key] = value;
    return true;
}

bool CopyGuid(Por::Unit meta, std::string_view key, const Por::View::Unit& unit, std::string_view path,
              std::string_view addon, bool strict)
{
    Common::Guid value;
    if (!TryReadGuid(unit, path, value, addon, strict))
    {
        return false;
    }
    meta[key] = value;
    return true;
}

void MergeMeta(Por::Unit target, const Por::View::Unit& source)
{
    if (!target.HasValue())
    {
        target = source;
        return;
    }
    const Por::View::CompositeValue* properties = Por::Util::FindComposite(source);
    if (properties == nullptr)
    {
        return;
    }
    for (auto it = properties->GetIterator(); it->IsValid(); it->Next())
    {
        const Por::View::Property& property = it->Current();
        target[property.GetName()] = property.GetValue();
    }
}

} // namespace Alerts::Util
