// Visitors of the three faces: one operation per kind, in the order composite, array, error, string,
// guid, blob, double, sqword, qword, sdword, dword, sword, word, sbyte, byte, boolean, nil. A unit's
// Visit calls the operation of its kind with the value interface. ReaderAdaptor and its kin forward
// every operation to one callable, so a dispatch is written as an overloaded (or generic) lambda:
//   Por::Read(unit, [&](const auto& value) { ... });
#pragma once

#include "common/Error.h"
#include "common/Guid.h"
#include "por/Unit.h"
#include "por/Values.h"

#include <cstdint>
#include <type_traits>
#include <utility>

namespace Por
{

// The visitor of one face over the value interfaces `Face<T>`.
#define POR_DECLARE_VISITOR_OPERATIONS(CONST, FACE)                                                          \
    virtual void Visit(CONST FACE::CompositeValue& value) = 0;                                               \
    virtual void Visit(CONST FACE::ArrayValue& value) = 0;                                                   \
    virtual void Visit(CONST FACE::ComplexValue<Common::Error>& value) = 0;                                  \
    virtual void Visit(CONST FACE::ComplexValue<String>& value) = 0;                                         \
    virtual void Visit(CONST FACE::ComplexValue<Common::Guid>& value) = 0;                                   \
    virtual void Visit(CONST FACE::ComplexValue<Blob>& value) = 0;                                           \
    virtual void Visit(CONST FACE::ScalarValue<double>& value) = 0;                                          \
    virtual void Visit(CONST FACE::ScalarValue<std::int64_t>& value) = 0;                                    \
    virtual void Visit(CONST FACE::ScalarValue<std::uint64_t>& value) = 0;                                   \
    virtual void Visit(CONST FACE::ScalarValue<std::int32_t>& value) = 0;                                    \
    virtual void Visit(CONST FACE::ScalarValue<std::uint32_t>& value) = 0;                                   \
    virtual void Visit(CONST FACE::ScalarValue<std::int16_t>& value) = 0;                                    \
    virtual void Visit(CONST FACE::ScalarValue<std::uint16_t>& value) = 0;                                   \
    virtual void Visit(CONST FACE::ScalarValue<std::int8_t>& value) = 0;                                     \
    virtual void Visit(CONST FACE::ScalarValue<std::uint8_t>& value) = 0;                                    \
    virtual void Visit(CONST FACE::ScalarValue<bool>& value) = 0;                                            \
    virtual void Visit(CONST FACE::NilValue& value) = 0;

#define POR_FORWARD_VISITOR_OPERATIONS(CONST, FACE, CALL)                                                    \
    void Visit(CONST FACE::CompositeValue& value) override                                                   \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ArrayValue& value) override                                                       \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ComplexValue<Common::Error>& value) override                                      \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ComplexValue<String>& value) override                                             \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ComplexValue<Common::Guid>& value) override                                       \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ComplexValue<Blob>& value) override                                               \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<double>& value) override                                              \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::int64_t>& value) override                                        \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::uint64_t>& value) override                                       \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::int32_t>& value) override                                        \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::uint32_t>& value) override                                       \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::int16_t>& value) override                                        \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::uint16_t>& value) override                                       \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::int8_t>& value) override                                         \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::uint8_t>& value) override                                        \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<bool>& value) override                                                \
    {                                                                                                        \
        CALL;                                                                                                \
    }                                                                                                        \
    void Visit(CONST FACE::NilValue& value) override                                                         \
    {                                                                                                        \
        CALL;                                                                                                \
    }

namespace View
{
class UnitReader
{
public:
    virtual ~UnitReader() = default;
    POR_DECLARE_VISITOR_OPERATIONS(const, View)
};
} // namespace View

namespace Modification
{
class UnitWriter
{
public:
    virtual ~UnitWriter() = default;
    POR_DECLARE_VISITOR_OPERATIONS(, Modification)
};
} // namespace Modification

namespace Construction
{
class UnitBuilder
{
public:
    virtual ~UnitBuilder() = default;
    POR_DECLARE_VISITOR_OPERATIONS(, Construction)
};
} // namespace Construction

// Visitors that do nothing, and visitors that throw the unexpected-type mismatch (0xfa000a) for every
// kind; a visitor that accepts one kind derives from the throwing one and overrides that operation.
namespace Detail
{
[[noreturn]] void ThrowUnexpectedKind(ValueKind kind);
} // namespace Detail

#define POR_NULL_OPERATIONS(CONST, FACE) POR_FORWARD_VISITOR_OPERATIONS(CONST, FACE, (void)value)
#define POR_THROWING_OPERATIONS(CONST, FACE)                                                                 \
    void Visit(CONST FACE::CompositeValue&) override                                                         \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Composite);                                                   \
    }                                                                                                        \
    void Visit(CONST FACE::ArrayValue&) override                                                             \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Array);                                                       \
    }                                                                                                        \
    void Visit(CONST FACE::ComplexValue<Common::Error>&) override                                            \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Error);                                                       \
    }                                                                                                        \
    void Visit(CONST FACE::ComplexValue<String>&) override                                                   \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::String);                                                      \
    }                                                                                                        \
    void Visit(CONST FACE::ComplexValue<Common::Guid>&) override                                             \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Guid);                                                        \
    }                                                                                                        \
    void Visit(CONST FACE::ComplexValue<Blob>&) override                                                     \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Blob);                                                        \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<double>&) override                                                    \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Double);                                                      \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::int64_t>&) override                                              \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::SQWord);                                                      \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::uint64_t>&) override                                             \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::QWord);                                                       \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::int32_t>&) override                                              \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::SDWord);                                                      \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::uint32_t>&) override                                             \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::DWord);                                                       \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::int16_t>&) override                                              \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::SWord);                                                       \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::uint16_t>&) override                                             \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Word);                                                        \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::int8_t>&) override                                               \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::SByte);                                                       \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<std::uint8_t>&) override                                              \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Byte);                                                        \
    }                                                                                                        \
    void Visit(CONST FACE::ScalarValue<bool>&) override                                                      \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Boolean);                                                     \
    }                                                                                                        \
    void Visit(CONST FACE::NilValue&) override                                                               \
    {                                                                                                        \
        Detail::ThrowUnexpectedKind(ValueKind::Nil);                                                         \
    }

namespace View
{
class NullVisitor : public UnitReader
{
public:
    POR_NULL_OPERATIONS(const, View)
};
class TypeMismatchThrowingVisitor : public UnitReader
{
public:
    POR_THROWING_OPERATIONS(const, View)
};
} // namespace View

namespace Modification
{
class NullVisitor : public UnitWriter
{
public:
    POR_NULL_OPERATIONS(, Modification)
};
class TypeMismatchThrowingVisitor : public UnitWriter
{
public:
    POR_THROWING_OPERATIONS(, Modification)
};
} // namespace Modification

namespace Construction
{
class NullVisitor : public UnitBuilder
{
public:
    POR_NULL_OPERATIONS(, Construction)
};
class TypeMismatchThrowingVisitor : public UnitBuilder
{
public:
    POR_THROWING_OPERATIONS(, Construction)
};
} // namespace Construction

namespace Detail
{

template <typename Function>
class ReaderAdaptor final : public View::UnitReader
{
public:
    explicit ReaderAdaptor(Function& function) : Call(function) {}
    POR_FORWARD_VISITOR_OPERATIONS(const, View, Call(value))

private:
    Function& Call;
};

template <typename Function>
class WriterAdaptor final : public Modification::UnitWriter
{
public:
    explicit WriterAdaptor(Function& function) : Call(function) {}
    POR_FORWARD_VISITOR_OPERATIONS(, Modification, Call(value))

private:
    Function& Call;
};

template <typename Function>
class BuilderAdaptor final : public Construction::UnitBuilder
{
public:
    explicit BuilderAdaptor(Function& function) : Call(function) {}
    POR_FORWARD_VISITOR_OPERATIONS(, Construction, Call(value))

private:
    Function& Call;
};

} // namespace Detail

// Calls `function` with the value interface of the unit's kind, on the face of the unit given.
template <typename Function>
void Read(const View::Unit& unit, Function&& function)
{
    Detail::ReaderAdaptor<std::remove_reference_t<Function>> adaptor(function);
    unit.Visit(adaptor);
}

template <typename Function>
void Write(Modification::Unit& unit, Function&& function)
{
    Detail::WriterAdaptor<std::remove_reference_t<Function>> adaptor(function);
    unit.Visit(adaptor);
}

template <typename Function>
void Build(Construction::Unit& unit, Function&& function)
{
    Detail::BuilderAdaptor<std::remove_reference_t<Function>> adaptor(function);
    unit.Visit(adaptor);
}

// The kind of a unit (one virtual dispatch).
ValueKind GetValueTypeIndex(const View::Unit& unit);

// The value interfaces of one unit, resolved once, so that two-unit operations switch on the kinds
// instead of dispatching twice: `Value` points at the View interface of `Kind`.
struct ResolvedValue
{
    ValueKind Kind = ValueKind::Unknown;
    const void* Value = nullptr;

    template <typename Interface>
    const Interface& As() const
    {
        return *static_cast<const Interface*>(Value);
    }
};
ResolvedValue Resolve(const View::Unit& unit);

} // namespace Por
