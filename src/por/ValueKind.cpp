#include "por/ValueKind.h"

#include "por/Errors.h"
#include "por/Visitor.h"

namespace Por
{
namespace
{

constexpr const char* KindNames[ValueKindCount] = {
    "nil",    "boolean", "byte", "sbyte", "word",   "sword", "dword", "sdword",    "qword",
    "sqword", "double",  "blob", "guid",  "string", "error", "array", "composite",
};

// The value interface of each kind, on the View face.
struct Resolver
{
    ResolvedValue& Out;

    template <typename Interface>
    void Take(const Interface& value, ValueKind kind)
    {
        Out.Kind = kind;
        Out.Value = static_cast<const void*>(&value);
    }

    void operator()(const View::NilValue& value) { Take(value, ValueKind::Nil); }
    void operator()(const View::ArrayValue& value) { Take(value, ValueKind::Array); }
    void operator()(const View::CompositeValue& value) { Take(value, ValueKind::Composite); }
    template <typename T>
    void operator()(const View::ScalarValue<T>& value)
    {
        Take(value, KindOfV<T>);
    }
    template <typename T>
    void operator()(const View::ComplexValue<T>& value)
    {
        Take(value, KindOfV<T>);
    }
};

} // namespace

std::string GetValueTypeName(std::uint32_t index)
{
    return index < ValueKindCount ? KindNames[index] : std::to_string(index);
}

ResolvedValue Resolve(const View::Unit& unit)
{
    ResolvedValue resolved;
    Resolver resolver{resolved};
    Read(unit, resolver);
    return resolved;
}

namespace Detail
{
void ThrowUnexpectedKind(ValueKind kind)
{
    throw Util::Detail::MakeUnexpectedTypeMismatchError(kind);
}
} // namespace Detail

ValueKind GetValueTypeIndex(const View::Unit& unit)
{
    return Resolve(unit).Kind;
}

} // namespace Por
