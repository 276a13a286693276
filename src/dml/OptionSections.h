// Dml::Query::Detail: how the option writers reach a key. A present key is written in place on the
// face it has; an absent one is made with the factory (dword 0, boolean false, an empty composite or
// array, ...) and inserted, which needs the Construction face of the options: options that only show the
// Modification face throw 0x00FC0001 then.
#pragma once

#include "por/Forward.h"
#include "por/UnitAccess.h"
#include "por/UnitFactory.h"
#include "por/ValueKind.h"

#include <string_view>

namespace Dml::Query::Detail
{

// A unit of `kind` holding its zero value (nil for nil, empty for arrays and composites).
Por::UnitPtr MakeDefault(Por::ValueKind kind, const Por::Construction::UnitFactory& factory);

// The Construction face of `options`; throws 0x00FC0001 when it has none.
Por::Construction::Unit& Buildable(Por::Modification::Unit& options);

// The value of the property `name`, made as MakeDefault(kind) and inserted when absent. A present value
// is returned whatever its kind.
Por::Modification::Unit& GetOrCreate(Por::Modification::Unit& options, std::string_view name,
                                     Por::ValueKind kind, const Por::Construction::UnitFactory& factory);

// Sets `name` to `value`, creating it as a unit of T's kind when absent; a present value of another kind
// throws the type mismatch.
template <typename T>
void SetOption(Por::Modification::Unit& options, std::string_view name, const T& value,
               const Por::Construction::UnitFactory& factory)
{
    Por::Util::SetValue(GetOrCreate(options, name, Por::KindOfV<T>, factory), value);
}

// Sets `name` to `value` (taken over), replacing what was there.
void ReplaceOption(Por::Modification::Unit& options, std::string_view name, Por::UnitPtr value,
                   const Por::Construction::UnitFactory& factory);

// Appends `item` (taken over) to the array.
void Append(Por::Modification::Unit& array, Por::UnitPtr item);

} // namespace Dml::Query::Detail
