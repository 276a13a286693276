// Core::Module: the object on which a module registers its add-ons. It holds nothing; a module's entry
// makes one on the stack for the length of the registration.
#pragma once

#include "common/NonCopyable.h"

namespace Core
{

class Module : Common::NonCopyable
{
public:
    Module() = default;
    virtual ~Module();
};

} // namespace Core
