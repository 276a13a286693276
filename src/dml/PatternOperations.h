// The operations on every object a pattern matches: delete them (under the read options given, if any),
// or update them with a patch. Schema classes (see OperationDefinition.h for the members every one has).
#pragma once

#include "dml/OperationDefinition.h"

namespace Dml::Operation
{

class DeleteByPattern : public Definition
{
    DML_OPERATION_CLASS(DeleteByPattern)

    // Null while unset.
    Por::UnitPtr GetPattern() const;
    void SetPattern(const Por::View::Unit& pattern);
    Por::UnitPtr GetOptions() const;
    void SetOptions(const Por::View::Unit& options);
};

class UpdateByPattern : public Definition
{
    DML_OPERATION_CLASS(UpdateByPattern)

    // Null while unset.
    Por::UnitPtr GetPattern() const;
    void SetPattern(const Por::View::Unit& pattern);
    Por::UnitPtr GetPatch() const;
    void SetPatch(const Por::View::Unit& patch);
};

} // namespace Dml::Operation
