#include "alerts/inspectors/InspectorFactories.h"
#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/TextCatalog.h"
#include "common/Utf8.h"

namespace Alerts::Detail
{

Common::Error MakeInspectorNotInBuildError(const Common::ErrorLocation& location, std::string_view inspector)
{
    Common::WideString name;
    Common::Utf8ToWide(name, inspector.data(), inspector.size());
    return Common::Error(location, ErrorCodes::InspectorNotInBuild,
                         Common::FormatText(Common::GetText(Common::Texts::AlertsInspectorNotInBuild),
                                            {Common::WideStringView(name)}));
}

} // namespace Alerts::Detail
