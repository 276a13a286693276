// Construction::UnitFactory: makes units, traits and properties. Stateless and thread-safe; whoever
// builds a unit holds a `const UnitFactory&` and hands it down. InMemoryUnitFactory is the one
// implementation here; GetPorViewUnitFactory hands out the process's instance.
#pragma once

#include "common/Error.h"
#include "common/Guid.h"
#include "common/NonCopyable.h"
#include "por/Forward.h"
#include "por/ValueKind.h"

#include <cstdint>
#include <string>

namespace Por
{
namespace Construction
{

class UnitFactory : Common::NonCopyable
{
public:
    virtual ~UnitFactory() = default;

    virtual UnitPtr CreateNil() const = 0;
    virtual UnitPtr CreateBoolean(bool value) const = 0;
    virtual UnitPtr CreateByte(std::uint8_t value) const = 0;
    virtual UnitPtr CreateSByte(std::int8_t value) const = 0;
    virtual UnitPtr CreateWord(std::uint16_t value) const = 0;
    virtual UnitPtr CreateSWord(std::int16_t value) const = 0;
    virtual UnitPtr CreateDWord(std::uint32_t value) const = 0;
    virtual UnitPtr CreateSDWord(std::int32_t value) const = 0;
    virtual UnitPtr CreateQWord(std::uint64_t value) const = 0;
    virtual UnitPtr CreateSQWord(std::int64_t value) const = 0;
    virtual UnitPtr CreateDouble(double value) const = 0;
    virtual UnitPtr CreateBlob(Blob value) const = 0;
    virtual UnitPtr CreateGuid(const Common::Guid& value) const = 0;
    virtual UnitPtr CreateString(String value) const = 0;
    virtual UnitPtr CreateError(const Common::Error& value) const = 0;
    // An empty array and an empty composite.
    virtual UnitPtr CreateArray() const = 0;
    virtual UnitPtr CreateComposite() const = 0;
    // A trait or property that owns `unit`; a null unit throws 0xfa000b.
    virtual TraitPtr CreateTrait(std::string name, UnitPtr unit) const = 0;
    virtual PropertyPtr CreateProperty(std::string name, UnitPtr unit) const = 0;

    // The creator for a C++ value type (the kind follows from the type, with no widening).
    template <typename T>
    UnitPtr Create(T value) const;
};

class InMemoryUnitFactory final : public UnitFactory
{
public:
    UnitPtr CreateNil() const override;
    UnitPtr CreateBoolean(bool value) const override;
    UnitPtr CreateByte(std::uint8_t value) const override;
    UnitPtr CreateSByte(std::int8_t value) const override;
    UnitPtr CreateWord(std::uint16_t value) const override;
    UnitPtr CreateSWord(std::int16_t value) const override;
    UnitPtr CreateDWord(std::uint32_t value) const override;
    UnitPtr CreateSDWord(std::int32_t value) const override;
    UnitPtr CreateQWord(std::uint64_t value) const override;
    UnitPtr CreateSQWord(std::int64_t value) const override;
    UnitPtr CreateDouble(double value) const override;
    UnitPtr CreateBlob(Blob value) const override;
    UnitPtr CreateGuid(const Common::Guid& value) const override;
    UnitPtr CreateString(String value) const override;
    UnitPtr CreateError(const Common::Error& value) const override;
    UnitPtr CreateArray() const override;
    UnitPtr CreateComposite() const override;
    TraitPtr CreateTrait(std::string name, UnitPtr unit) const override;
    PropertyPtr CreateProperty(std::string name, UnitPtr unit) const override;
};

template <typename T>
UnitPtr UnitFactory::Create(T value) const
{
    constexpr ValueKind kind = KindOfV<T>;
    if constexpr (kind == ValueKind::Boolean)
        return CreateBoolean(value);
    else if constexpr (kind == ValueKind::Byte)
        return CreateByte(value);
    else if constexpr (kind == ValueKind::SByte)
        return CreateSByte(value);
    else if constexpr (kind == ValueKind::Word)
        return CreateWord(value);
    else if constexpr (kind == ValueKind::SWord)
        return CreateSWord(value);
    else if constexpr (kind == ValueKind::DWord)
        return CreateDWord(value);
    else if constexpr (kind == ValueKind::SDWord)
        return CreateSDWord(value);
    else if constexpr (kind == ValueKind::QWord)
        return CreateQWord(value);
    else if constexpr (kind == ValueKind::SQWord)
        return CreateSQWord(value);
    else if constexpr (kind == ValueKind::Double)
        return CreateDouble(value);
    else if constexpr (kind == ValueKind::Blob)
        return CreateBlob(std::move(value));
    else if constexpr (kind == ValueKind::Guid)
        return CreateGuid(value);
    else if constexpr (kind == ValueKind::String)
        return CreateString(std::move(value));
    else
        return CreateError(value);
}

} // namespace Construction

// Fills `factory` with the process's in-memory factory (the unit-factory library's entry).
void GetPorViewUnitFactory(const Construction::UnitFactory** factory);
// The same, as a reference.
const Construction::UnitFactory& GetUnitFactory();

} // namespace Por
