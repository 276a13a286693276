// Paths name one node of a unit tree as a wide string: steps of '.' (a property, or an array element by
// decimal index) and '^' (a trait), tokens escaping '.' as "&d;" and '^' as "&r;". The empty path is the
// root. Malformed paths throw 0xfa0001 with the path in the text; a well-formed path that leads nowhere
// resolves to null (or 0xfa001b "POR: Branch '{0}' cannot be found." in the branch forms).
#pragma once

#include "common/WideString.h"
#include "por/Forward.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace Por
{
namespace Util
{

// Events of the simple walk, which knows only '.' (a '^' is a character of a token).
class PathWalker
{
public:
    virtual ~PathWalker() = default;
    virtual void OnProperty(std::string_view name) = 0;
    // The end of the walk.
    virtual void OnArrayElement() = 0;
    virtual void OnEmptyPath() = 0;
};

// Consumes paths; true stops the enumeration.
class PathConsumer
{
public:
    virtual ~PathConsumer() = default;
    virtual bool Process(const Common::WideString& path) = 0;
};

class PathCollector final : public PathConsumer
{
public:
    bool Process(const Common::WideString& path) override;
    std::vector<Common::WideString> Paths;
};

// Walks the properties named by `path`, calling the walker for each step. A malformed path throws
// 0xfa0001 before the first event.
void WalkPath(Common::WideStringView path, PathWalker& walker);

// The unit at `path`, or null when a step is missing. A trait step that is missing or not unique throws
// (0xfa001d, 0xfa001c); an array index beyond the end throws 0xfa000f.
const View::Unit* ResolvePath(Common::WideStringView path, const View::Unit& unit);
// As ResolvePath, but a missing node throws 0xfa001b. Trait values are read-only views on the changing
// faces, so a trait step there ends in 0xfa001b too (after the trait's own checks).
const View::Unit& ResolveBranch(Common::WideStringView path, const View::Unit& unit);
Modification::Unit& ResolveBranch(Common::WideStringView path, Modification::Unit& unit);
Construction::Unit& ResolveBranch(Common::WideStringView path, Construction::Unit& unit);
bool PathExists(Common::WideStringView path, const View::Unit& unit);

Common::WideString EscapeToken(Common::WideStringView text);
Common::WideString UnescapeToken(Common::WideStringView text);
Common::WideString MakePropertyPath(Common::WideStringView base, std::string_view name);
Common::WideString MakeTraitPath(Common::WideStringView base, std::string_view name);
Common::WideString MakeElementPath(Common::WideStringView base, std::size_t index);

// A new unit that has a copy of `source` at `path` (composites made on the way).
UnitPtr PutUnitInLocation(Common::WideStringView path, const View::Unit& source,
                          const Construction::UnitFactory& factory);
// Sets a copy of `source` at `path` in `root`, creating missing levels as composites and replacing only
// the last; returns the root (with an empty path, the copy itself; a null root starts as a composite).
// A non-composite on the way throws 0xfa0001 "POR: An internal error has occurred." with the path and
// the name in its sub-error, and leaves the root unchanged.
UnitPtr PutUnitInLocationEx(UnitPtr root, Common::WideStringView path, const View::Unit& source,
                            const Construction::UnitFactory& factory);
// Removes the node at `path` (a property, an array element or the traits of a name); true if removed.
// A path that leads nowhere, or through a trait value, gives false.
bool RemoveAtPath(Construction::Unit& root, Common::WideStringView path);

// Paths of every node that has the trait (with that value), depth first; the consumer may stop it.
void EnumerateTraitPaths(const View::Unit& unit, std::string_view name, PathConsumer& consumer);
void EnumerateTraitWithValuePaths(const View::Unit& unit, std::string_view name, const View::Unit& value,
                                  PathConsumer& consumer);

} // namespace Util

// A path with a unit; GetUnit throws 0xfa001e "POR unit empty." when there is none.
class PathWithUnit
{
public:
    PathWithUnit() = default;
    PathWithUnit(Common::WideString path, ConstUnitPtr unit) : Path(std::move(path)), Unit(std::move(unit)) {}
    const Common::WideString& GetPath() const { return Path; }
    const View::Unit& GetUnit() const;
    const ConstUnitPtr& GetUnitPointer() const { return Unit; }

private:
    Common::WideString Path;
    ConstUnitPtr Unit;
};

} // namespace Por
