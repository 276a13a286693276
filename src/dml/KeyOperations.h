// The operations on one object named by its key: delete it, or update it with a patch (a packed diff).
// Schema classes (see OperationDefinition.h for the members every one has).
#pragma once

#include "dml/OperationDefinition.h"

namespace Dml::Operation
{

class DeleteObject : public Definition
{
    DML_OPERATION_CLASS(DeleteObject)

    // Null while unset.
    Por::UnitPtr GetKey() const;
    void SetKey(const Por::View::Unit& key);
};

class UpdateObject : public Definition
{
    DML_OPERATION_CLASS(UpdateObject)

    // Null while unset.
    Por::UnitPtr GetKey() const;
    void SetKey(const Por::View::Unit& key);
    Por::UnitPtr GetPatch() const;
    void SetPatch(const Por::View::Unit& patch);
};

} // namespace Dml::Operation
