// Serialization::CategoryHolder: what gives a class its category, the name under which a polymorphic
// value is written and by which the reader makes an object of the right class again. A class that is
// read through a pointer to one of its bases registers a creator under its category at start-up.
#pragma once

#include "common/Error.h"
#include "common/WideString.h"

#include <memory>
#include <string_view>
#include <typeinfo>

namespace Serialization
{

class CategoryHolder
{
public:
    virtual ~CategoryHolder() = default;
    // The class's category (its class name, narrow); empty for a class that is never polymorphic.
    virtual std::string_view GetCategory() const { return {}; }

protected:
    CategoryHolder() = default;
    CategoryHolder(const CategoryHolder&) = default;
    CategoryHolder& operator=(const CategoryHolder&) = default;
};

// Makes a default object of one registered class.
using CategoryCreator = std::unique_ptr<CategoryHolder> (*)();

// Registers `creator` under `category`, replacing an earlier one. Thread-safe; meant for start-up.
void RegisterCategory(std::string_view category, CategoryCreator creator);
// A new object of the class registered under `category`, or null. Thread-safe.
std::unique_ptr<CategoryHolder> CreateByCategory(std::string_view category);

// The category as the contract writes it (UTF-16), and the lookup by that form.
Common::WideString GetCategoryName(const CategoryHolder& holder);
std::unique_ptr<CategoryHolder> CreateByCategory(Common::WideStringView category);

// Registers T (default-constructible) under `category` when constructed: one static object per class.
template <typename T>
struct CategoryRegistration
{
    explicit CategoryRegistration(std::string_view category)
    {
        RegisterCategory(category, []() -> std::unique_ptr<CategoryHolder> { return std::make_unique<T>(); });
    }
};

namespace Detail
{
// 0xfa0018 "POR: Cannot cast from type '{0}' to type '{1}'.": the category read is unknown or not a
// class of the wanted type.
Common::Error MakeCategoryCastError(Common::WideStringView category, const std::type_info& wanted);
} // namespace Detail

} // namespace Serialization
