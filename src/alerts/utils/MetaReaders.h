// Typed reads of one field of an object by path (".Details.CommandID"), for building alert meta. A
// missing field is no failure: the read logs "<add-on>: <path> not found in <object>" (level 3 when
// `strict`, else level 1) and returns false, leaving `out` as it was. A nil node counts as missing. A
// field of a kind the read cannot take throws the type mismatch 0x00FA000A naming the path; a malformed
// path throws its Por error. Pure functions over immutable units; thread-safe.
#pragma once

#include "common/Guid.h"
#include "common/WideString.h"
#include "por/Forward.h"
#include "por/PorUnit.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace Alerts::Util
{

// The node at `path`; null, with the miss logged, when it is absent or nil.
const Por::View::Unit* TryReadUnit(const Por::View::Unit& unit, std::string_view path, std::string_view addon,
                                   bool strict);

bool TryReadGuid(const Por::View::Unit& unit, std::string_view path, Common::Guid& out,
                 std::string_view addon, bool strict);
bool TryReadString(const Por::View::Unit& unit, std::string_view path, Common::WideString& out,
                   std::string_view addon, bool strict);
// Any integer kind whose value fits.
bool TryReadInt(const Por::View::Unit& unit, std::string_view path, std::int32_t& out, std::string_view addon,
                bool strict);
// A time is a 64-bit count; any integer kind whose value fits.
bool TryReadTime(const Por::View::Unit& unit, std::string_view path, std::int64_t& out,
                 std::string_view addon, bool strict);
// An array of strings; true also for an empty array.
bool TryReadList(const Por::View::Unit& unit, std::string_view path, std::vector<Common::WideString>& out,
                 std::string_view addon, bool strict);
// The elements of an array, pointing into `unit`.
bool TryReadList(const Por::View::Unit& unit, std::string_view path, std::vector<const Por::View::Unit*>& out,
                 std::string_view addon, bool strict);

// The meta handles below are taken by value: a handle shares its tree, so the caller sees the writes, and
// a handle to a branch (meta["Sub"]) may be passed as well as the root.

// Read as above and, on success, set the meta's property `key` to the value.
bool CopyString(Por::Unit meta, std::string_view key, const Por::View::Unit& unit, std::string_view path,
                std::string_view addon, bool strict);
bool CopyGuid(Por::Unit meta, std::string_view key, const Por::View::Unit& unit, std::string_view path,
              std::string_view addon, bool strict);

// Adds copies of the properties of `source` to `target`, replacing those of the same name. A target
// without a value becomes a copy of the source; a source that is not a composite adds nothing.
void MergeMeta(Por::Unit target, const Por::View::Unit& source);

} // namespace Alerts::Util
