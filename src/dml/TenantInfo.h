// Dml::Query::TenantInfo: the tenant scope of a read, as the "TenantInfo" option holds it.
#pragma once

#include "common/WideString.h"

namespace Dml::Query
{

struct TenantInfo
{
    Common::WideString ID;
    Common::WideString ParentID;
    Common::WideString Locator;

    friend bool operator==(const TenantInfo&, const TenantInfo&) = default;
};

} // namespace Dml::Query
