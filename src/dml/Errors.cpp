#include "dml/Errors.h"

#include "async/Errors.h"
#include "common/CatalogIds.h"
#include "common/FormatText.h"
#include "common/TextCatalog.h"
#include "dml/ViewSpec.h"
#include "por/UnitPrinter.h"

#include <initializer_list>

namespace Dml::Errors
{
namespace
{

Common::Error Make(const Common::ErrorLocation& location, std::uint32_t code, Common::WideTextId text,
                   std::initializer_list<Common::WideStringView> arguments)
{
    return Common::Error(location, code, Common::FormatText(Common::GetText(text), arguments));
}

} // namespace

Common::WideString UnitText(const Por::View::Unit* unit)
{
    return unit != nullptr ? Por::Util::UnitToWideString(unit) : Common::WideString();
}

Common::Error MakeNullPointer(const Common::ErrorLocation& location)
{
    return Common::Error(location, ErrorCodes::NullPointer,
                         Common::WideStringView(Common::GetText(Common::Texts::NullPointer)));
}

Common::Error MakeGeneral(const Common::ErrorLocation& location)
{
    return Common::Error(location, ErrorCodes::General);
}

Common::Error MakeObjectKeyNotFound(const Common::ErrorLocation& location)
{
    return Common::Error(location, ErrorCodes::ObjectKeyNotFound,
                         Common::WideStringView(Common::GetText(Common::Texts::DmlObjectKeyNotFound)));
}

Common::Error MakeObjectNotFound(const Common::ErrorLocation& location, const Por::View::Unit* key)
{
    return Make(location, ErrorCodes::ObjectNotFound, Common::Texts::DmlObjectNotFound, {UnitText(key)});
}

Common::Error MakeDeleteMissingObject(const Common::ErrorLocation& location, const Por::View::Unit* key)
{
    return Make(location, ErrorCodes::ObjectNotFound, Common::Texts::DmlDeleteMissingObject, {UnitText(key)});
}

Common::Error MakeUpdateMissingObject(const Common::ErrorLocation& location, const Por::View::Unit* subject,
                                      const Por::View::Unit* key, const Por::View::Unit* diff)
{
    return Make(location, ErrorCodes::ObjectNotFound, Common::Texts::DmlUpdateMissingObject,
                {UnitText(subject), UnitText(key), UnitText(diff)});
}

Common::Error MakeUpdateInvalidPatch(const Common::ErrorLocation& location, const Por::View::Unit* key,
                                     const Por::View::Unit* diff)
{
    return Make(location, ErrorCodes::ObjectNotFound, Common::Texts::DmlUpdateInvalidPatch,
                {UnitText(key), UnitText(diff)});
}

Common::Error MakeObjectAlreadyExists(const Common::ErrorLocation& location, const Por::View::Unit* object)
{
    return Make(location, ErrorCodes::ObjectAlreadyExists, Common::Texts::DmlObjectAlreadyExists,
                {UnitText(object)});
}

Common::Error MakeBadSortingSpec(const Common::ErrorLocation& location, Common::WideStringView path)
{
    return Make(location, ErrorCodes::BadSortingSpec, Common::Texts::DmlSortingItemNotComposite, {path});
}

Common::Error MakeMoreThanOneMatch(const Common::ErrorLocation& location, const ViewSpec& spec)
{
    Common::WideString text = Common::GetText(Common::Texts::DmlMoreThanOneMatch);
    text += Common::FormatText(Common::GetText(Common::Texts::DmlMoreThanOneMatchCriteria),
                               {UnitText(spec.Pattern.get()), UnitText(spec.Options.get())});
    return Common::Error(location, ErrorCodes::MoreThanOneMatch, Common::WideStringView(text));
}

Common::Error MakeServiceMissing(const Common::ErrorLocation& location, Common::WideStringView service)
{
    return Make(location, ErrorCodes::ServiceMissing, Common::Texts::DmlServiceMissing, {service});
}

Common::Error MakeCompositeOperationFailed(const Common::ErrorLocation& location,
                                           Common::WideStringView operation)
{
    return Make(location, ErrorCodes::CompositeOperationFailed, Common::Texts::DmlCompositeOperationFailed,
                {operation});
}

Common::Error MakeCustomStoreFailed(const Common::ErrorLocation& location, Common::WideStringView store)
{
    return Make(location, ErrorCodes::CustomStoreFailed, Common::Texts::DmlCustomStoreFailed, {store});
}

Common::Error MakeUnexpectedObject(const Common::ErrorLocation& location, const Por::View::Unit* object)
{
    return Make(location, ErrorCodes::UnexpectedObject, Common::Texts::DmlUnexpectedObject,
                {UnitText(object)});
}

Common::Error MakeProtocolAddonNotFound(const Common::ErrorLocation& location,
                                        Common::WideStringView protocol)
{
    return Make(location, ErrorCodes::ProtocolAddonNotFound, Common::Texts::DmlProtocolAddonNotFound,
                {protocol});
}

Common::Error MakeNothingFoundByCriteria(const Common::ErrorLocation& location,
                                         const Por::View::Unit* pattern)
{
    return Make(location, ErrorCodes::NothingFoundByCriteria, Common::Texts::DmlNothingFoundByCriteria,
                {UnitText(pattern)});
}

Common::Error MakeUnspecifiedProtocol(const Common::ErrorLocation& location, Common::WideStringView subject)
{
    return Make(location, ErrorCodes::UnspecifiedProtocol, Common::Texts::DmlUnspecifiedProtocol, {subject});
}

} // namespace Dml::Errors

namespace Dml
{

bool IsObjectAlreadyExists(const Common::Error& error)
{
    return Async::Errors::HasCode(error, ErrorCodes::ObjectAlreadyExists);
}

bool IsObjectNotFound(const Common::Error& error)
{
    return Async::Errors::HasCode(error, ErrorCodes::ObjectNotFound) ||
           Async::Errors::HasCode(error, ErrorCodes::NothingFoundByCriteria);
}

} // namespace Dml
