// Key patterns: a pattern that matches one object by its key is a copy of the key bearing the nil
// traits "PrimaryKey" (unless it bears "ForeignKey") and "ObjectID". The store looks such patterns up
// by key instead of matching every object.
#pragma once

#include "common/Guid.h"
#include "por/Forward.h"
#include "por/UnitFactory.h"

namespace Dml
{

// A copy of `key` with "PrimaryKey" added unless it bears "PrimaryKey" or "ForeignKey", and "ObjectID".
Por::ConstUnitPtr MakeKeyPattern(const Por::View::Unit& key,
                                 const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// A guid unit with the trait "ObjectID".
Por::ConstUnitPtr
MakeKeyPatternFromValue(const Common::Guid& value,
                        const Por::Construction::UnitFactory& factory = Por::GetUnitFactory());
// Whether `pattern` names one object by its key: its root, or the key it declares, bears "ObjectID".
bool IsKeyPattern(const Por::View::Unit& pattern);

} // namespace Dml
