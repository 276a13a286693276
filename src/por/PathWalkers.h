// Plain PathWalkers for the simple walk of WalkPath: one that forwards, one that forwards all but the
// end event (OnArrayElement) so the caller can add events before finishing, and one that turns a path
// into builder events: a composite and a property per step, all closed at the end.
#pragma once

#include "por/Path.h"
#include "por/UnitBuilder.h"

#include <cstddef>

namespace Por::Util
{

class DelegatingPathWalker : public PathWalker
{
public:
    explicit DelegatingPathWalker(PathWalker& target) : Target(target) {}
    void OnProperty(std::string_view name) override { Target.OnProperty(name); }
    void OnArrayElement() override { Target.OnArrayElement(); }
    void OnEmptyPath() override { Target.OnEmptyPath(); }

private:
    PathWalker& Target;
};

// Swallows the end of the walk; whoever holds the target finishes it.
class NotFinishingPathWalker final : public DelegatingPathWalker
{
public:
    using DelegatingPathWalker::DelegatingPathWalker;
    void OnArrayElement() override {}
};

// Each step opens a composite and a property of the step's name on the builder, so the events that come
// before the end fill the last property. The end closes every property and the outermost composite: the
// builder is expected to be at its root when the walk starts. An empty path opens nothing.
class PathToUnitWalker final : public PathWalker
{
public:
    explicit PathToUnitWalker(UnitBuilder& builder) : Builder(builder) {}
    void OnProperty(std::string_view name) override;
    void OnArrayElement() override;
    void OnEmptyPath() override {}

private:
    UnitBuilder& Builder;
    std::size_t Opened = 0;
};

} // namespace Por::Util
