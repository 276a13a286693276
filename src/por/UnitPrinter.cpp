#include "por/UnitPrinter.h"

#include "common/Utf8.h"
#include "por/UnitAccess.h"
#include "por/Visitor.h"

#include <cinttypes>
#include <cstdio>
#include <sstream>

namespace Por::Util
{
namespace
{

std::string Narrow(const String& text)
{
    std::string utf8;
    Common::WideToUtf8(utf8, text.c_str(), text.size());
    return utf8;
}

class ValuePrinter
{
public:
    ValuePrinter(std::ostream& stream, bool withValues) : Stream(stream), WithValues(withValues) {}

    void Print(const std::string& name, const View::Unit& unit, int indent)
    {
        Stream << std::string(static_cast<std::size_t>(indent), ' ') << name;
        Read(unit, [&](const auto& value) { Line(value, indent); });
        auto traits = MakeProcessor<const View::Trait>(
            [&](const View::Trait& trait) { Print("^" + trait.GetName(), trait.GetValue(), indent + 2); });
        unit.GetTraits().ForEach(traits);
    }

private:
    void Line(const View::NilValue&, int) { Stream << " (NIL)\n"; }

    void Line(const View::CompositeValue& value, int indent)
    {
        Stream << " (Composite)\n";
        auto properties = MakeProcessor<const View::Property>(
            [&](const View::Property& property)
            { Print(property.GetName(), property.GetValue(), indent + 2); });
        value.ForEach(properties);
    }

    void Line(const View::ArrayValue& value, int indent)
    {
        Stream << " (Array)\n";
        for (std::size_t i = 0; i < value.Size(); ++i)
        {
            Print("[" + std::to_string(i) + "]", value.Get(i), indent + 2);
        }
    }

    void Line(const View::ComplexValue<Common::Guid>& value, int)
    {
        Stream << " (Common::Guid) = ";
        Value(Common::GuidToString(value.Get()));
    }

    void Line(const View::ComplexValue<String>& value, int)
    {
        Stream << " (Common::String) = ";
        Value(Narrow(value.Get()));
    }

    void Line(const View::ComplexValue<Blob>& value, int)
    {
        Stream << " (Blob) Size = " << value.Get().size() << "\n";
    }

    void Line(const View::ComplexValue<Common::Error>& value, int indent)
    {
        Stream << " (Common::Error)\n";
        if (WithValues)
        {
            PrintError(value.Get(), indent + 2);
        }
    }

    template <typename T>
    void Line(const View::ScalarValue<T>& value, int)
    {
        Stream << " (" << GetValueTypeName(KindOfV<T>) << ") = ";
        char text[64];
        if constexpr (std::is_same_v<T, double>)
        {
            std::snprintf(text, sizeof text, "%.16g", value.Get());
        }
        else if constexpr (std::is_same_v<T, std::int64_t>)
        {
            std::snprintf(text, sizeof text, "%lli", static_cast<long long>(value.Get()));
        }
        else if constexpr (std::is_same_v<T, bool>)
        {
            std::snprintf(text, sizeof text, "%s", value.Get() ? "true" : "false");
        }
        else if constexpr (std::is_signed_v<T>)
        {
            std::snprintf(text, sizeof text, "%lld", static_cast<long long>(value.Get()));
        }
        else
        {
            std::snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(value.Get()));
        }
        Value(text);
    }

    void Value(const std::string& text) { Stream << (WithValues ? text : std::string("...")) << "\n"; }

    void PrintError(const Common::Error& error, int indent)
    {
        const std::string pad(static_cast<std::size_t>(indent), ' ');
        char tag[32];
        std::snprintf(tag, sizeof tag, "0x%016" PRIx64, error.GetLineTag().LineTag);
        Stream << pad << " Code = " << error.GetCode() << "\n";
        Stream << pad << " LineTag = " << tag << "\n";
        Stream << pad << " Message = " << Narrow(error.GetMessage()) << "\n";
        const Common::Error cause = error.GetSubError();
        if (cause.GetCode() != 0)
        {
            Stream << pad << "(SubError)\n";
            PrintError(cause, indent + 2);
        }
    }

    std::ostream& Stream;
    bool WithValues;
};

} // namespace

void PrintUnit(const View::Unit& unit, std::ostream& stream, bool withValues)
{
    ValuePrinter(stream, withValues).Print("Root", unit, 0);
}

std::string UnitToString(const View::Unit* unit)
{
    if (unit == nullptr)
    {
        return "Null unit";
    }
    std::ostringstream stream;
    PrintUnit(*unit, stream, true);
    return stream.str();
}

Common::WideString UnitToWideString(const View::Unit* unit)
{
    const std::string text = UnitToString(unit);
    Common::WideString wide;
    Common::Utf8ToWide(wide, text.c_str(), text.size());
    return wide;
}

} // namespace Por::Util
