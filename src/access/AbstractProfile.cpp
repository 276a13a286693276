#include "access/AbstractProfile.h"

namespace AccessManagement::Facade
{

AbstractProfile::~AbstractProfile() = default;

} // namespace AccessManagement::Facade
