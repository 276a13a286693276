// The node names of the serialisation contract: the fixed names under which helpers write the parts of
// containers, pointers, optionals and polymorphic values. Writers and readers of every mapping agree on
// them, so they are part of the stored form and never change.
#pragma once

#include "common/WideString.h"

namespace Serialization
{

// The name of a node, as the contract passes it: UTF-16, borrowed for the call.
using Name = Common::WideStringView;

namespace Names
{
inline constexpr Name Value = u"value";
inline constexpr Name Item = u"item";
inline constexpr Name IsNull = u"is_null";
inline constexpr Name IsInit = u"is_init";
inline constexpr Name Optional = u"optional";
inline constexpr Name OptionalType = u"optional_type";
// The category of a polymorphic value, beside its class written as "value".
inline constexpr Name CheckedType = u"checked_type";
inline constexpr Name PtrMark = u"ptr_mark";
inline constexpr Name PtrValue = u"ptr_value";
inline constexpr Name RawPtr = u"raw_ptr";
inline constexpr Name SharedPtr = u"shared_ptr";
inline constexpr Name List = u"list";
inline constexpr Name Vector = u"vector";
inline constexpr Name Set = u"set";
inline constexpr Name Map = u"map";
inline constexpr Name Multimap = u"multimap";
// The two halves of a map item.
inline constexpr Name First = u"first";
inline constexpr Name Second = u"second";
// The name of a value written with no enclosing bracket.
inline constexpr Name Root = u"Root";
} // namespace Names

} // namespace Serialization
