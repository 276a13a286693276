// The errors of the store client (module 0x00FC) and the null-pointer error of the core utilities
// (0x00AC0003). Each factory builds its message from the text catalog and returns the error; callers
// throw it. Units in messages appear in their text form; an absent unit gives an empty text.
#pragma once

#include "common/Error.h"
#include "common/WideString.h"
#include "por/Forward.h"

#include <cstdint>

namespace Dml
{

struct ViewSpec;

namespace ErrorCodes
{
inline constexpr std::uint32_t NullPointer = 0x00AC0003;
inline constexpr std::uint32_t General = 0x00FC0001;
inline constexpr std::uint32_t ObjectKeyNotFound = 0x00FC000A;
inline constexpr std::uint32_t ObjectNotFound = 0x00FC001B;
inline constexpr std::uint32_t ObjectAlreadyExists = 0x00FC0020;
inline constexpr std::uint32_t BadSortingSpec = 0x00FC0023;
inline constexpr std::uint32_t MoreThanOneMatch = 0x00FC0026;
inline constexpr std::uint32_t ServiceMissing = 0x00FC0031;
inline constexpr std::uint32_t CompositeOperationFailed = 0x00FC0032;
inline constexpr std::uint32_t CustomStoreFailed = 0x00FC0033;
inline constexpr std::uint32_t UnexpectedObject = 0x00FC0035;
inline constexpr std::uint32_t ProtocolAddonNotFound = 0x00FC0037;
inline constexpr std::uint32_t NothingFoundByCriteria = 0x00FC0038;
inline constexpr std::uint32_t UnspecifiedProtocol = 0x00FC0039;
} // namespace ErrorCodes

namespace Errors
{

// The text form of a unit for messages; empty for null.
Common::WideString UnitText(const Por::View::Unit* unit);

// 0x00AC0003 "Pointer is null."
Common::Error MakeNullPointer(const Common::ErrorLocation& location);
// 0x00FC0001, without a text.
Common::Error MakeGeneral(const Common::ErrorLocation& location);
// 0x00FC000A "DML: Object identification cannot be found."
Common::Error MakeObjectKeyNotFound(const Common::ErrorLocation& location);

// 0x00FC001B in its four texts: "DML: An object with ID '{0}' cannot be found.", a delete of a missing
// object, an update of a missing object, an update with a patch that does not apply.
Common::Error MakeObjectNotFound(const Common::ErrorLocation& location, const Por::View::Unit* key);
Common::Error MakeDeleteMissingObject(const Common::ErrorLocation& location, const Por::View::Unit* key);
Common::Error MakeUpdateMissingObject(const Common::ErrorLocation& location, const Por::View::Unit* subject,
                                      const Por::View::Unit* key, const Por::View::Unit* diff);
Common::Error MakeUpdateInvalidPatch(const Common::ErrorLocation& location, const Por::View::Unit* key,
                                     const Por::View::Unit* diff);

// 0x00FC0020 "DML: Object '{0}' already exists."
Common::Error MakeObjectAlreadyExists(const Common::ErrorLocation& location, const Por::View::Unit* object);
// 0x00FC0023 "DML: In sorting spec within array '{0}', composite items are expected."
Common::Error MakeBadSortingSpec(const Common::ErrorLocation& location, Common::WideStringView path);
// 0x00FC0026 "DML: Logic Error: More than one match found." with the view's pattern and options on
// lines of their own.
Common::Error MakeMoreThanOneMatch(const Common::ErrorLocation& location, const ViewSpec& spec);
// 0x00FC0031 "DML: Unproper use. Missing {0}." naming the service.
Common::Error MakeServiceMissing(const Common::ErrorLocation& location, Common::WideStringView service);

// The store side's failures, raised by the host.
// 0x00FC0032 "DML: Composite store operation '{0}' has failed."
Common::Error MakeCompositeOperationFailed(const Common::ErrorLocation& location,
                                           Common::WideStringView operation);
// 0x00FC0033 "DML: An error occurred in custom store '{0}'."
Common::Error MakeCustomStoreFailed(const Common::ErrorLocation& location, Common::WideStringView store);
// 0x00FC0035 "DML: Object {0} was not expected."
Common::Error MakeUnexpectedObject(const Common::ErrorLocation& location, const Por::View::Unit* object);
// 0x00FC0037 "Add-on for protocol '{0}' cannot be found."
Common::Error MakeProtocolAddonNotFound(const Common::ErrorLocation& location,
                                        Common::WideStringView protocol);
// 0x00FC0038 "Cannot find an object by the following criteria: '{0}'." with the pattern.
Common::Error MakeNothingFoundByCriteria(const Common::ErrorLocation& location,
                                         const Por::View::Unit* pattern);
// 0x00FC0039 "Unspecified protocol for '{0}'."
Common::Error MakeUnspecifiedProtocol(const Common::ErrorLocation& location, Common::WideStringView subject);

} // namespace Errors

// A record of the chain has 0x00FC0020.
bool IsObjectAlreadyExists(const Common::Error& error);
// A record of the chain has 0x00FC001B or 0x00FC0038.
bool IsObjectNotFound(const Common::Error& error);

} // namespace Dml
