#include "UnitNotation.h"

#include "JsonText.h"
#include "NotationErrors.h"
#include "common/DateTime.h"
#include "common/Guid.h"
#include "common/Utf8.h"
#include "history/Schema.h"
#include "por/Blob.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"
#include "por/Values.h"
#include "por/Visitor.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

namespace Host::Scenario
{
namespace
{

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;
using Por::ValueKind;
namespace Codes = NotationErrorCodes;

constexpr std::string_view TraitsKey = "$traits";
constexpr std::string_view ClassKey = "$class";
constexpr std::string_view TimeKind = "time";
constexpr std::string_view NilTrait = "Nil";

// ---- Text -------------------------------------------------------------------------------------------

// The conversions stop at a NUL, which a JSON string may hold as \u0000: convert piece by piece.
Common::WideString Widen(std::string_view text)
{
    Common::WideString wide;
    Common::WideString piece;
    for (std::size_t start = 0;;)
    {
        const std::size_t nul = text.find('\0', start);
        const std::string_view part = text.substr(start, nul == std::string_view::npos ? nul : nul - start);
        Common::Utf8ToWide(piece, part.data(), part.size());
        wide += piece;
        if (nul == std::string_view::npos)
        {
            return wide;
        }
        wide += u'\0';
        start = nul + 1;
    }
}

std::string Narrow(Common::WideStringView text)
{
    std::string narrow;
    std::string piece;
    for (std::size_t start = 0;;)
    {
        const std::size_t nul = text.find(u'\0', start);
        const Common::WideStringView part =
            text.substr(start, nul == Common::WideStringView::npos ? nul : nul - start);
        Common::WideToUtf8(piece, part.data(), part.size());
        narrow += piece;
        if (nul == Common::WideStringView::npos)
        {
            return narrow;
        }
        narrow += '\0';
        start = nul + 1;
    }
}

bool IsHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// ---- Errors -----------------------------------------------------------------------------------------

#define NOTATION_LOCATION COMMON_LOCATION("Host::Scenario::ReadUnit")

std::string Shown(const std::string& where)
{
    return where.empty() ? "/" : where;
}

std::string Excerpt(const Json& value)
{
    std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
    if (text.size() > 60)
    {
        text.resize(57);
        text += "...";
    }
    return text;
}

[[noreturn]] void BadValue(const std::string& where, const Json& value, std::string_view what)
{
    throw NotationErrors::Make(NOTATION_LOCATION, Codes::BadValue, {Shown(where), Excerpt(value), what});
}

[[noreturn]] void Fail(std::uint32_t code, const std::string& where, std::string_view subject)
{
    throw NotationErrors::Make(NOTATION_LOCATION, code, {Shown(where), subject});
}

std::string Below(const std::string& where, std::string_view key)
{
    return where + "/" + EscapePointerKey(key);
}

// ---- Values of one kind -----------------------------------------------------------------------------

// Decimal, or hexadecimal after "0x"; the whole text, within the type's range.
template <typename T>
std::optional<T> ParseInteger(std::string_view text)
{
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X'))
    {
        text.remove_prefix(2);
        base = 16;
    }
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
    {
        return std::nullopt;
    }
    return value;
}

template <typename T>
T ReadInteger(const Json& value, const std::string& where, ValueKind kind)
{
    if (value.is_number_unsigned())
    {
        const auto number = value.get<std::uint64_t>();
        if (number <= static_cast<std::uint64_t>(std::numeric_limits<T>::max()))
        {
            return static_cast<T>(number);
        }
    }
    else if (value.is_number_integer())
    {
        const auto number = value.get<std::int64_t>();
        if (number >= static_cast<std::int64_t>(std::numeric_limits<T>::min()) &&
            (number < 0 || static_cast<std::uint64_t>(number) <= std::numeric_limits<T>::max()))
        {
            return static_cast<T>(number);
        }
    }
    else if (value.is_string())
    {
        if (const std::optional<T> number = ParseInteger<T>(value.get_ref<const std::string&>()))
        {
            return *number;
        }
    }
    BadValue(where, value, Por::GetValueTypeName(kind));
}

double ReadDouble(const Json& value, const std::string& where)
{
    if (value.is_number())
    {
        return value.get<double>();
    }
    if (value.is_string())
    {
        const std::string& text = value.get_ref<const std::string&>();
        if (text == "NaN")
        {
            return std::numeric_limits<double>::quiet_NaN();
        }
        if (text == "Infinity" || text == "-Infinity")
        {
            return text[0] == '-' ? -std::numeric_limits<double>::infinity()
                                  : std::numeric_limits<double>::infinity();
        }
    }
    BadValue(where, value, "double");
}

// Exactly the 36 characters of the text form, in either case.
Common::Guid ReadGuid(const Json& value, const std::string& where)
{
    if (value.is_string())
    {
        const std::string& text = value.get_ref<const std::string&>();
        bool wellFormed = text.size() == 36;
        for (std::size_t index = 0; wellFormed && index < text.size(); ++index)
        {
            const bool dash = index == 8 || index == 13 || index == 18 || index == 23;
            wellFormed = dash ? text[index] == '-' : IsHexDigit(text[index]);
        }
        Common::Guid guid;
        if (wellFormed && Common::GuidFromString(text.c_str(), guid))
        {
            return guid;
        }
    }
    BadValue(where, value, "guid");
}

Por::Blob ReadBlob(const Json& value, const std::string& where)
{
    if (value.is_string())
    {
        const std::string& text = value.get_ref<const std::string&>();
        Por::Blob bytes;
        for (std::size_t index = 0;
             index + 1 < text.size() && IsHexDigit(text[index]) && IsHexDigit(text[index + 1]); index += 2)
        {
            bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(index, 2), nullptr, 16)));
        }
        if (bytes.size() * 2 == text.size())
        {
            return bytes;
        }
    }
    BadValue(where, value, "blob");
}

// "2026-11-22T10:00:00Z", a moment in UTC, as seconds since 1970.
std::int64_t ReadTime(const Json& value, const std::string& where)
{
    if (value.is_string())
    {
        const std::string& text = value.get_ref<const std::string&>();
        constexpr std::string_view shape = "dddd-dd-ddTdd:dd:ddZ";
        bool wellFormed = text.size() == shape.size();
        for (std::size_t index = 0; wellFormed && index < text.size(); ++index)
        {
            wellFormed = shape[index] == 'd' ? IsDigit(text[index]) : text[index] == shape[index];
        }
        if (wellFormed)
        {
            const auto field = [&](std::size_t at, std::size_t length)
            { return std::stoi(text.substr(at, length)); };
            const int year = field(0, 4), month = field(5, 2), day = field(8, 2);
            const int hour = field(11, 2), minute = field(14, 2), second = field(17, 2);
            const Common::DateTime time(Common::DateTimeKind::Utc, year, month, day, hour, minute, second);
            // The calendar carries fields over their range (30 February is 2 March): such a text is no time.
            if (time.IsValid() && time.GetYear() == year && time.GetMonth() == month &&
                time.GetDay() == day && time.GetHour() == hour && time.GetMinute() == minute &&
                time.GetSecond() == second)
            {
                return time.GetSeconds();
            }
        }
    }
    BadValue(where, value, TimeKind);
}

// null for success; otherwise {"code": ..., "text": ..., "cause": ...}, only the code required.
Common::Error ReadError(const Json& value, const std::string& where)
{
    if (value.is_null())
    {
        return Common::Success;
    }
    if (!value.is_object())
    {
        BadValue(where, value, "error");
    }
    for (const auto& member : value.items())
    {
        if (member.key() != "code" && member.key() != "text" && member.key() != "cause")
        {
            Fail(Codes::UnexpectedField, where, member.key());
        }
    }
    if (!value.contains("code"))
    {
        Fail(Codes::MissingField, where, "code");
    }
    const auto code = ReadInteger<std::uint32_t>(value.at("code"), Below(where, "code"), ValueKind::DWord);
    std::string text;
    if (value.contains("text"))
    {
        const Json& member = value.at("text");
        if (!member.is_string())
        {
            BadValue(Below(where, "text"), member, "string");
        }
        text = member.get<std::string>();
    }
    const Common::Error cause =
        value.contains("cause") ? ReadError(value.at("cause"), Below(where, "cause")) : Common::Success;
    Common::Error error(NOTATION_LOCATION, code, Common::WideStringView(Widen(text)));
    if (error.GetCode() != 0 && cause.GetCode() != 0)
    {
        error.SetSubError(cause);
    }
    return error;
}

// The kind a "$name" key writes; "time" is a sqword written as a date.
struct KindKey
{
    ValueKind Kind = ValueKind::Unknown;
    bool IsTime = false;
};

std::optional<KindKey> FindKind(std::string_view name)
{
    if (name == TimeKind)
    {
        return KindKey{ValueKind::SQWord, true};
    }
    for (std::uint32_t index = 0; index < Por::ValueKindCount; ++index)
    {
        if (Por::GetValueTypeName(index) == name)
        {
            return KindKey{static_cast<ValueKind>(index), false};
        }
    }
    return std::nullopt;
}

bool IsNumber(ValueKind kind)
{
    return kind >= ValueKind::Byte && kind <= ValueKind::Double;
}

// ---- Reading ----------------------------------------------------------------------------------------

// Reads units; `model` is the default a value is laid over (a schema class's property), or null.
class UnitReader
{
public:
    explicit UnitReader(const Por::Construction::UnitFactory& factory) : Factory(factory) {}

    Por::UnitPtr Read(const Json& value, const std::string& where, const Por::View::Unit* model)
    {
        // As deep as a blob may nest, so whatever is read can be stored; and the reading's stack stays small.
        if (Depth == Por::Util::MaximumBlobDepth)
        {
            Fail(Codes::TooDeep, where, std::to_string(Por::Util::MaximumBlobDepth));
        }
        ++Depth;
        struct Leave
        {
            ~Leave() { --Reader.Depth; }
            UnitReader& Reader;
        } leave{*this};
        return ReadAtDepth(value, where, model);
    }

private:
    Por::UnitPtr ReadAtDepth(const Json& value, const std::string& where, const Por::View::Unit* model)
    {
        const ValueKind modelKind = model != nullptr ? Por::GetValueTypeIndex(*model) : ValueKind::Unknown;
        Por::UnitPtr unit;
        switch (value.type())
        {
        case Json::value_t::object:
            return ReadObject(value, where, model);
        case Json::value_t::null:
            unit = Factory.CreateNil();
            break;
        case Json::value_t::boolean:
            unit = Factory.CreateBoolean(value.get<bool>());
            break;
        case Json::value_t::string:
            unit = modelKind == ValueKind::Guid
                       ? Factory.CreateGuid(ReadGuid(value, where))
                       : Factory.CreateString(Widen(value.get_ref<const std::string&>()));
            break;
        case Json::value_t::array:
            unit = ReadArray(value, where);
            break;
        case Json::value_t::number_integer:
        case Json::value_t::number_unsigned:
        case Json::value_t::number_float:
            if (!IsNumber(modelKind))
            {
                Fail(Codes::NumberWithoutKind, where, Excerpt(value));
            }
            unit = ReadKind({modelKind, false}, value, where);
            break;
        default:
            BadValue(where, value, "unit");
        }
        KeepModelTraits(model, *unit);
        return unit;
    }

    Por::UnitPtr ReadObject(const Json& object, const std::string& where, const Por::View::Unit* model)
    {
        const Json* traits = nullptr;
        const Json* className = nullptr;
        std::optional<KindKey> kind;
        std::string kindKey;
        std::optional<std::string> plainKey;
        for (const auto& member : object.items())
        {
            const std::string& key = member.key();
            if (key == TraitsKey)
            {
                traits = &member.value();
            }
            else if (key == ClassKey)
            {
                className = &member.value();
            }
            else if (!key.empty() && key[0] == '$')
            {
                const std::optional<KindKey> found = FindKind(std::string_view(key).substr(1));
                if (!found)
                {
                    Fail(Codes::UnknownKind, where, std::string_view(key).substr(1));
                }
                if (kind)
                {
                    Fail(Codes::UnexpectedField, where, key);
                }
                kind = found;
                kindKey = key;
            }
            else if (!plainKey)
            {
                plainKey = key;
            }
        }
        if (kind && (className != nullptr || plainKey))
        {
            Fail(Codes::UnexpectedField, where, className != nullptr ? std::string(ClassKey) : *plainKey);
        }

        Por::UnitPtr unit;
        if (className != nullptr)
        {
            unit = ReadClass(object, *className, where);
        }
        else if (kind)
        {
            unit = ReadKind(*kind, object.at(kindKey), Below(where, kindKey));
            KeepModelTraits(model, *unit);
        }
        else
        {
            unit = ReadMembers(object, where,
                               model != nullptr && Por::Util::IsComposite(*model) ? model : nullptr, false);
        }
        if (traits != nullptr)
        {
            ReadTraits(*traits, Below(where, TraitsKey), *unit);
        }
        return unit;
    }

    Por::UnitPtr ReadKind(KindKey kind, const Json& value, const std::string& where)
    {
        const std::string name = Por::GetValueTypeName(kind.Kind);
        switch (kind.Kind)
        {
        case ValueKind::Nil:
            if (!value.is_null())
            {
                BadValue(where, value, name);
            }
            return Factory.CreateNil();
        case ValueKind::Boolean:
            if (!value.is_boolean())
            {
                BadValue(where, value, name);
            }
            return Factory.CreateBoolean(value.get<bool>());
        case ValueKind::Byte:
            return Factory.CreateByte(ReadInteger<std::uint8_t>(value, where, kind.Kind));
        case ValueKind::SByte:
            return Factory.CreateSByte(ReadInteger<std::int8_t>(value, where, kind.Kind));
        case ValueKind::Word:
            return Factory.CreateWord(ReadInteger<std::uint16_t>(value, where, kind.Kind));
        case ValueKind::SWord:
            return Factory.CreateSWord(ReadInteger<std::int16_t>(value, where, kind.Kind));
        case ValueKind::DWord:
            return Factory.CreateDWord(ReadInteger<std::uint32_t>(value, where, kind.Kind));
        case ValueKind::SDWord:
            return Factory.CreateSDWord(ReadInteger<std::int32_t>(value, where, kind.Kind));
        case ValueKind::QWord:
            return Factory.CreateQWord(ReadInteger<std::uint64_t>(value, where, kind.Kind));
        case ValueKind::SQWord:
            return Factory.CreateSQWord(kind.IsTime ? ReadTime(value, where)
                                                    : ReadInteger<std::int64_t>(value, where, kind.Kind));
        case ValueKind::Double:
            return Factory.CreateDouble(ReadDouble(value, where));
        case ValueKind::Blob:
            return Factory.CreateBlob(ReadBlob(value, where));
        case ValueKind::Guid:
            return Factory.CreateGuid(ReadGuid(value, where));
        case ValueKind::String:
            if (!value.is_string())
            {
                BadValue(where, value, name);
            }
            return Factory.CreateString(Widen(value.get_ref<const std::string&>()));
        case ValueKind::Error:
            return Factory.CreateError(ReadError(value, where));
        case ValueKind::Array:
            if (!value.is_array())
            {
                BadValue(where, value, name);
            }
            return ReadArray(value, where);
        default:
            if (!value.is_object())
            {
                BadValue(where, value, name);
            }
            return ReadMembers(value, where, nullptr, true);
        }
    }

    // The properties of `object` laid over a copy of `model` (a composite, or null for a new one);
    // keys starting with '$' are the notation's own unless `literalNames`.
    Por::UnitPtr ReadMembers(const Json& object, const std::string& where, const Por::View::Unit* model,
                             bool literalNames)
    {
        Por::UnitPtr unit = model != nullptr ? Por::Util::Copy(*model, Factory) : Factory.CreateComposite();
        Por::Util::RemoveTrait(*unit, NilTrait);
        Por::Construction::CompositeValue& composite = Por::Util::GetComposite(*unit);
        for (const auto& member : object.items())
        {
            const std::string& key = member.key();
            if (!literalNames && !key.empty() && key[0] == '$')
            {
                continue;
            }
            const Por::View::Unit* fallback =
                model != nullptr ? Por::Util::FindPropertyValue(*model, key) : nullptr;
            composite.Set(Factory.CreateProperty(key, Read(member.value(), Below(where, key), fallback)));
        }
        return unit;
    }

    Por::UnitPtr ReadClass(const Json& object, const Json& className, const std::string& where)
    {
        const std::string classWhere = Below(where, ClassKey);
        if (!className.is_string())
        {
            BadValue(classWhere, className, "class name");
        }
        const Por::View::Unit* schema =
            Tol::History::Plain::FindSchema(className.get_ref<const std::string&>());
        if (schema == nullptr)
        {
            Fail(Codes::UnknownClass, classWhere, className.get_ref<const std::string&>());
        }
        return ReadMembers(object, where, schema, false);
    }

    Por::UnitPtr ReadArray(const Json& array, const std::string& where)
    {
        Por::UnitPtr unit = Factory.CreateArray();
        Por::Construction::ArrayValue& elements = Por::Util::GetArray(*unit);
        for (std::size_t index = 0; index < array.size(); ++index)
        {
            elements.PushBack(Read(array[index], where + "/" + std::to_string(index), nullptr));
        }
        return unit;
    }

    // {"name": value} adds one trait, {"name": [value, ...]} one per value.
    void ReadTraits(const Json& traits, const std::string& where, Por::Construction::Unit& target)
    {
        if (!traits.is_object())
        {
            BadValue(where, traits, "trait set");
        }
        for (const auto& member : traits.items())
        {
            const std::string nameWhere = Below(where, member.key());
            const Json& values = member.value();
            if (!values.is_array())
            {
                AddTrait(target, member.key(), Read(values, nameWhere, nullptr));
                continue;
            }
            if (values.empty())
            {
                BadValue(nameWhere, values, "list of trait values");
            }
            for (std::size_t index = 0; index < values.size(); ++index)
            {
                AddTrait(target, member.key(),
                         Read(values[index], nameWhere + "/" + std::to_string(index), nullptr));
            }
        }
    }

    void AddTrait(Por::Construction::Unit& target, const std::string& name, Por::UnitPtr value)
    {
        target.GetTraits().Add(Factory.CreateTrait(name, std::move(value)));
    }

    // A value of the default's kind keeps the default's traits (a key stays a key), all but "Nil": it
    // has a value now.
    void KeepModelTraits(const Por::View::Unit* model, Por::Construction::Unit& target)
    {
        if (model == nullptr || Por::GetValueTypeIndex(*model) != Por::GetValueTypeIndex(target))
        {
            return;
        }
        auto keep = Por::MakeProcessor<const Por::View::Trait>(
            [&](const Por::View::Trait& trait)
            {
                if (trait.GetName() != NilTrait)
                {
                    AddTrait(target, trait.GetName(), Por::Util::Copy(trait.GetValue(), Factory));
                }
            });
        model->GetTraits().ForEach(keep);
    }

    const Por::Construction::UnitFactory& Factory;
    std::size_t Depth = 0;
};

// ---- Writing ----------------------------------------------------------------------------------------

OrderedJson WriteError(const Common::Error& error)
{
    if (error.GetCode() == 0)
    {
        return nullptr;
    }
    char code[16];
    std::snprintf(code, sizeof(code), "0x%08X", error.GetCode());
    OrderedJson out = OrderedJson::object();
    out["code"] = code;
    const Common::WideString text = error.GetMessage();
    if (!text.empty())
    {
        out["text"] = Narrow(text);
    }
    const Common::Error cause = error.GetSubError();
    if (cause.GetCode() != 0)
    {
        out["cause"] = WriteError(cause);
    }
    return out;
}

OrderedJson WriteDouble(double value)
{
    if (std::isnan(value))
    {
        return "NaN";
    }
    if (std::isinf(value))
    {
        return value > 0 ? "Infinity" : "-Infinity";
    }
    return value;
}

OrderedJson WriteBlob(const Por::Blob& bytes)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes)
    {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

OrderedJson WriteValue(const Por::View::Unit& unit, ValueKind kind)
{
    using Por::Util::GetValue;
    switch (kind)
    {
    case ValueKind::Nil:
        return nullptr;
    case ValueKind::Boolean:
        return GetValue<bool>(unit);
    case ValueKind::Byte:
        return GetValue<std::uint8_t>(unit);
    case ValueKind::SByte:
        return GetValue<std::int8_t>(unit);
    case ValueKind::Word:
        return GetValue<std::uint16_t>(unit);
    case ValueKind::SWord:
        return GetValue<std::int16_t>(unit);
    case ValueKind::DWord:
        return GetValue<std::uint32_t>(unit);
    case ValueKind::SDWord:
        return GetValue<std::int32_t>(unit);
    case ValueKind::QWord:
        return GetValue<std::uint64_t>(unit);
    case ValueKind::SQWord:
        return GetValue<std::int64_t>(unit);
    case ValueKind::Double:
        return WriteDouble(GetValue<double>(unit));
    case ValueKind::Blob:
        return WriteBlob(GetValue<Por::Blob>(unit));
    case ValueKind::Guid:
        return Common::GuidToString(GetValue<Common::Guid>(unit));
    case ValueKind::String:
        return Narrow(GetValue<Por::String>(unit));
    case ValueKind::Error:
        return WriteError(GetValue<Common::Error>(unit));
    case ValueKind::Array:
    {
        OrderedJson elements = OrderedJson::array();
        const Por::View::ArrayValue& array = Por::Util::GetArray(unit);
        for (std::size_t index = 0; index < array.Size(); ++index)
        {
            elements.push_back(WriteUnit(array.Get(index)));
        }
        return elements;
    }
    default:
    {
        OrderedJson properties = OrderedJson::object();
        for (const auto iterator = Por::Util::GetComposite(unit).GetIterator(); iterator->IsValid();
             iterator->Next())
        {
            const Por::View::Property& property = iterator->Current();
            properties[property.GetName()] = WriteUnit(property.GetValue());
        }
        return properties;
    }
    }
}

// One entry per name: the value alone, or the list of values when there are several or the one value
// would read as a list.
OrderedJson WriteTraits(const Por::View::Traits& traits)
{
    OrderedJson out;
    std::string name;
    std::vector<OrderedJson> values;
    const auto flush = [&]
    {
        if (!values.empty())
        {
            out[name] =
                values.size() == 1 && !values.front().is_array() ? values.front() : OrderedJson(values);
            values.clear();
        }
    };
    auto collect = Por::MakeProcessor<const Por::View::Trait>(
        [&](const Por::View::Trait& trait)
        {
            if (trait.GetName() != name)
            {
                flush();
                name = trait.GetName();
            }
            values.push_back(WriteUnit(trait.GetValue()));
        });
    traits.ForEach(collect);
    flush();
    return out;
}

bool HasNotationName(const Por::View::Unit& composite)
{
    bool found = false;
    auto check = Por::MakeProcessor<const Por::View::Property>(
        [&](const Por::View::Property& property)
        {
            found = !property.GetName().empty() && property.GetName()[0] == '$';
            return found;
        });
    Por::Util::GetComposite(composite).ForEach(check);
    return found;
}

} // namespace

Por::UnitPtr ReadUnit(const nlohmann::json& value, const std::string& where,
                      const Por::Construction::UnitFactory& factory)
{
    return UnitReader(factory).Read(value, where, nullptr);
}

OrderedJson WriteUnit(const Por::View::Unit& unit)
{
    const ValueKind kind = Por::GetValueTypeIndex(unit);
    OrderedJson value = WriteValue(unit, kind);
    OrderedJson traits = WriteTraits(unit.GetTraits());
    const bool hasTraits = !traits.is_null();
    const bool plain = kind == ValueKind::Nil || kind == ValueKind::Boolean || kind == ValueKind::String ||
                       kind == ValueKind::Array;
    if (kind == ValueKind::Composite && !HasNotationName(unit))
    {
        if (!hasTraits)
        {
            return value;
        }
        OrderedJson out = OrderedJson::object();
        out[std::string(TraitsKey)] = std::move(traits);
        for (auto& property : value.items())
        {
            out[property.key()] = std::move(property.value());
        }
        return out;
    }
    if (plain && !hasTraits)
    {
        return value;
    }
    OrderedJson out = OrderedJson::object();
    out["$" + Por::GetValueTypeName(kind)] = std::move(value);
    if (hasTraits)
    {
        out[std::string(TraitsKey)] = std::move(traits);
    }
    return out;
}

std::string PrintUnit(const Por::View::Unit& unit)
{
    return WriteUnit(unit).dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

} // namespace Host::Scenario
