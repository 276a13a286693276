// Alerts::Util::ActivityWalker: picks, in a chain of finished activities, the one that raises the alert.
// Activities must come in order of finish time, children before parents: the deepest activity that
// matches the predicate and is a business activity or a process root answers yes, and its parents are
// remembered so that each of them, when it arrives, answers no and passes the mark on up. Not
// thread-safe: one feed's reader owns it.
#pragma once

#include "common/Guid.h"
#include "common/NonCopyable.h"
#include "por/Forward.h"

#include <cstddef>
#include <set>

namespace Alerts::Util
{

class ActivityWalker : Common::NonCopyable
{
public:
    using Predicate = bool (*)(const Por::View::Unit& activity);

    explicit ActivityWalker(Predicate predicate) : Test(predicate) {}
    virtual ~ActivityWalker() = default;

    // True if this activity is the one to raise the alert. An activity whose "ID" is a remembered parent
    // is erased from the set, remembers its own parents and answers no. Otherwise it answers yes when the
    // predicate holds and it is business or a process root, and then remembers its parents. Throws the
    // type mismatch 0x00FA000A for a field of the wrong kind.
    bool Process(const Por::View::Unit& activity);

    // Adds the guid of every parent path the activity has: "Environment"."BusinessParent",
    // "Environment"."ParentProtectActivityID", "Environment"."ProcessRoot", "Origin"."ParentActivity".
    void RememberParents(const Por::View::Unit& activity);

    // "Details"."Specific" is "Business"; a missing one reads as "Infrastructural".
    static bool IsBusiness(const Por::View::Unit& activity);
    // "Details"."IsProcessRoot" when present, else whether the activity has no parent path.
    static bool IsProcessRoot(const Por::View::Unit& activity);

    bool IsRemembered(const Common::Guid& id) const { return Parents.count(id) != 0; }
    std::size_t GetRememberedCount() const { return Parents.size(); }

private:
    Predicate Test;
    std::set<Common::Guid> Parents;
};

} // namespace Alerts::Util
