// Constraint builders: small objects that add one operator to a node of a pattern under construction, so
// that query patterns are written in code as lists of constraints applied in order:
//   Por::Unit pattern; IsConstraint(u"Tol::History::Plain::Activity").Apply(pattern);
//   ValueInConstraint<std::set<std::uint32_t>>({3, 5}).Apply(pattern["State"]);
#pragma once

#include "common/Guid.h"
#include "por/PorUnit.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Por::Detail
{

class ValueConstraint
{
public:
    explicit ValueConstraint(std::string name) : Name(std::move(name)) {}
    virtual ~ValueConstraint() = default;
    // Adds the constraint to `node` (a handle into the pattern).
    virtual void Apply(Por::Unit& node) const = 0;
    const std::string& GetName() const { return Name; }

protected:
    std::string Name;
};

// Gives the node a default value of T, then sets the operator trait to the stored value.
template <typename T>
class UnaryConstraint : public ValueConstraint
{
public:
    UnaryConstraint(std::string name, T value) : ValueConstraint(std::move(name)), Value(std::move(value)) {}
    void Apply(Por::Unit& node) const override { node.SetDefault<T>().SetTrait(Name, Value); }

private:
    T Value;
};

// Makes a node without a value an empty composite, then sets the operator trait to the stored value.
template <typename T>
class CompositeConstraint : public ValueConstraint
{
public:
    CompositeConstraint(std::string name, T value) : ValueConstraint(std::move(name)), Value(std::move(value))
    {
    }
    void Apply(Por::Unit& node) const override { node.EnsureComposite().SetTrait(Name, Value); }

private:
    T Value;
};

class IsConstraint : public CompositeConstraint<String>
{
public:
    explicit IsConstraint(String className) : CompositeConstraint("Is", std::move(className)) {}
};

// Gives the node a default value of the element kind and sets "ValueIn" to the set's elements in set
// order. Narrow strings become string units (UTF-8 decoded).
template <typename Set>
class ValueInConstraint : public ValueConstraint
{
public:
    explicit ValueInConstraint(Set values) : ValueConstraint("ValueIn"), Values(std::move(values)) {}
    void Apply(Por::Unit& node) const override;

private:
    Set Values;
};

extern template class ValueInConstraint<std::set<std::uint32_t>>;
extern template class ValueInConstraint<std::set<std::string>>;

// Sets the node's value to the key and its trait "Type" to the stored text.
template <typename T>
class PKMaker : public ValueConstraint
{
public:
    PKMaker(T key, String type) : ValueConstraint("PrimaryKey"), Key(std::move(key)), Type(std::move(type)) {}
    void Apply(Por::Unit& node) const override
    {
        node = Key;
        node.SetTrait("Type", Type);
    }

private:
    T Key;
    String Type;
};

using ConstraintList = std::vector<std::unique_ptr<ValueConstraint>>;

// Applies each constraint in the order given.
void Apply(const ConstraintList& constraints, Por::Unit& node);

} // namespace Por::Detail
