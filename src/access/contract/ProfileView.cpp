#include "access/contract/ProfileView.h"

namespace AccessManagement
{

// The key function: the type's information is emitted here, in the core, once per process.
ProfileView::~ProfileView() = default;

} // namespace AccessManagement
