// Forward declarations of the object model, and the pointer types that carry units around: units under
// construction as shared pointers to Construction::Unit, finished units as shared pointers to const views.
#pragma once

#include <memory>

namespace Por
{

namespace View
{
class Unit;
class Traits;
class Trait;
class Property;
class NilValue;
template <typename T>
class ScalarValue;
template <typename T>
class ComplexValue;
class ArrayValue;
class CompositeValue;
class CompositeIterator;
class UnitReader;
} // namespace View

namespace Modification
{
class Unit;
class Traits;
class Property;
class NilValue;
template <typename T>
class ScalarValue;
template <typename T>
class ComplexValue;
class ArrayValue;
class CompositeValue;
class UnitWriter;
} // namespace Modification

namespace Construction
{
class Unit;
class Traits;
class Property;
class NilValue;
template <typename T>
class ScalarValue;
template <typename T>
class ComplexValue;
class ArrayValue;
class CompositeValue;
class CompositeIterator;
class UnitBuilder;
class UnitFactory;
} // namespace Construction

using UnitPtr = std::shared_ptr<Construction::Unit>;
using ConstUnitPtr = std::shared_ptr<const View::Unit>;
using PropertyPtr = std::unique_ptr<Construction::Property>;
using TraitPtr = std::unique_ptr<View::Trait>;

} // namespace Por
