#include "por/CompositeWalker.h"

#include "por/UnitAccess.h"

#include <cstring>

namespace Por::Util
{
namespace
{

const TraitValueGuide& ValueFirst()
{
    static const WalkValueFirstGuide guide;
    return guide;
}

} // namespace

bool FilteringCompositeWalker::OnBoth(const View::Property& left, const View::Property& right)
{
    return Passes(left.GetName()) && Next.OnBoth(left, right);
}

bool FilteringCompositeWalker::OnLeftOnly(const View::Property& left)
{
    return Passes(left.GetName()) && Next.OnLeftOnly(left);
}

bool FilteringCompositeWalker::OnRightOnly(const View::Property& right)
{
    return Passes(right.GetName()) && Next.OnRightOnly(right);
}

CompositeWalker2UnitWalker::CompositeWalker2UnitWalker(UnitWalker& walker)
    : CompositeWalker2UnitWalker(walker, ValueFirst())
{
}

void CompositeWalker2UnitWalker::Emit(const View::Property& property)
{
    Walker.OnProperty(property.GetName());
    HierarchyRoute(property.GetValue()).Follow(Walker, Guide);
}

bool CompositeWalker2UnitWalker::OnBoth(const View::Property&, const View::Property& right)
{
    Emit(right);
    return false;
}

bool CompositeWalker2UnitWalker::OnLeftOnly(const View::Property& left)
{
    Emit(left);
    return false;
}

bool CompositeWalker2UnitWalker::OnRightOnly(const View::Property& right)
{
    Emit(right);
    return false;
}

bool WalkComposites(const View::CompositeValue& left, const View::CompositeValue& right,
                    CompositeWalker& walker)
{
    const auto l = left.GetIterator();
    const auto r = right.GetIterator();
    while (l->IsValid() && r->IsValid())
    {
        const int order = std::strcmp(l->Current().GetName().c_str(), r->Current().GetName().c_str());
        if (order < 0)
        {
            if (walker.OnLeftOnly(l->Current()))
            {
                return true;
            }
            l->Next();
        }
        else if (order > 0)
        {
            if (walker.OnRightOnly(r->Current()))
            {
                return true;
            }
            r->Next();
        }
        else
        {
            if (walker.OnBoth(l->Current(), r->Current()))
            {
                return true;
            }
            l->Next();
            r->Next();
        }
    }
    for (; l->IsValid(); l->Next())
    {
        if (walker.OnLeftOnly(l->Current()))
        {
            return true;
        }
    }
    for (; r->IsValid(); r->Next())
    {
        if (walker.OnRightOnly(r->Current()))
        {
            return true;
        }
    }
    return false;
}

bool WalkComposites(const View::Unit& left, const View::Unit& right, CompositeWalker& walker)
{
    return WalkComposites(GetComposite(left), GetComposite(right), walker);
}

} // namespace Por::Util
