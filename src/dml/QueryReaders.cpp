#include "dml/QueryReaders.h"

#include "common/Utf8.h"
#include "dml/QueryOptionNames.h"
#include "por/ConversionErrors.h"
#include "por/Path.h"
#include "por/TraitUtil.h"
#include "por/UnitAccess.h"

#include <string_view>

namespace Dml::Query
{
namespace
{

const Por::View::Unit* Find(const Por::View::Unit& options, std::string_view name)
{
    return Por::Util::FindPropertyValue(options, name);
}

bool Has(const Por::View::Unit& options, std::string_view name)
{
    return Find(options, name) != nullptr;
}

template <typename T>
T Read(const Por::View::Unit& options, std::string_view name, T fallback)
{
    const Por::View::Unit* value = Find(options, name);
    return value != nullptr ? Por::Util::GetValue<T>(*value) : fallback;
}

// A field of a section read into `out` when present; a value of another kind names its path.
template <typename T>
void ReadField(const Por::View::Unit& section, std::string_view sectionName, std::string_view name, T& out)
{
    const Por::View::Unit* value = Por::Util::FindPropertyValue(section, name);
    if (value == nullptr)
    {
        return;
    }
    const Common::Error mismatch = Por::Util::TryGetValue<T>(*value, out);
    if (mismatch.GetCode() != 0)
    {
        const Common::WideString path =
            Por::Util::MakePropertyPath(Por::Util::MakePropertyPath(u"", sectionName), name);
        Common::Error error = Por::Detail::MakeFailedToConvertError(path);
        error.SetSubError(mismatch);
        throw error;
    }
}

} // namespace

std::uint32_t GetLimit(const Por::View::Unit& options)
{
    return Read<std::uint32_t>(options, Names::LimitOptions, Names::NoLimit);
}

std::uint32_t GetSpecLimit(const ViewSpec& spec)
{
    return spec.Options != nullptr ? GetLimit(*spec.Options) : Names::NoLimit;
}

std::uint32_t GetOffset(const Por::View::Unit& options)
{
    return Read<std::uint32_t>(options, Names::OffsetOptions, 0);
}

bool HasLimit(const Por::View::Unit& options)
{
    return Has(options, Names::LimitOptions);
}

bool HasOffset(const Por::View::Unit& options)
{
    return Has(options, Names::OffsetOptions);
}

bool HasMask(const Por::View::Unit& options)
{
    return Has(options, Names::Mask);
}

bool HasSorting(const Por::View::Unit& options)
{
    return Has(options, Names::SortingOptions);
}

bool HasCounter(const Por::View::Unit& options)
{
    return Has(options, Names::Counter);
}

bool HasTenantInfo(const Por::View::Unit& options)
{
    return Has(options, Names::TenantInfo);
}

bool HasEntryPoint(const Por::View::Unit& options)
{
    return Has(options, Names::EntryPoint);
}

Por::ConstUnitPtr GetMask(const Por::View::Unit& options, const Por::Construction::UnitFactory& factory)
{
    const Por::View::Unit* mask = Find(options, Names::Mask);
    return mask != nullptr ? Por::Util::Copy(*mask, factory) : nullptr;
}

bool GetTenantInfo(const Por::View::Unit& options, TenantInfo& out)
{
    const Por::View::Unit* tenant = Find(options, Names::TenantInfo);
    if (tenant == nullptr)
    {
        return false;
    }
    const Por::View::Unit* id = Por::Util::FindPropertyValue(*tenant, Names::ID);
    const Por::View::Unit* parent = Por::Util::FindPropertyValue(*tenant, Names::ParentID);
    const Por::View::Unit* locator = Por::Util::FindPropertyValue(*tenant, Names::Locator);
    if (id == nullptr || parent == nullptr || locator == nullptr)
    {
        return false;
    }
    // Read all before writing any, so a mismatch leaves `out` whole.
    TenantInfo read{Por::Util::GetValue<Por::String>(*id), Por::Util::GetValue<Por::String>(*parent),
                    Por::Util::GetValue<Por::String>(*locator)};
    out = std::move(read);
    return true;
}

bool GetEntryPoint(const Por::View::Unit& options, Core::EntryPoint& out)
{
    const Por::View::Unit* entry = Find(options, Names::EntryPoint);
    if (entry == nullptr)
    {
        return false;
    }
    // Read into a copy, so a mismatch leaves `out` whole.
    Core::EntryPoint read = out;
    ReadField(*entry, Names::EntryPoint, Names::ID, read.ID);
    ReadField(*entry, Names::EntryPoint, Names::Line, read.Line);
    if (Por::Util::FindPropertyValue(*entry, Names::File) != nullptr)
    {
        Por::String file;
        ReadField(*entry, Names::EntryPoint, Names::File, file);
        Common::WideToUtf8(read.File, file.data(), file.size());
    }
    out = std::move(read);
    return true;
}

bool IsFullObjectNotifications(const Por::View::Unit& options)
{
    return Read<bool>(options, Names::FullObjectNotifications, false);
}

bool IsReentrantNotifications(const Por::View::Unit& options)
{
    return Read<bool>(options, Names::ReentrantNotifications, false);
}

bool IsCacheReadDisabled(const Por::View::Unit& options)
{
    return Read<bool>(options, Names::CacheReadDisabled, false);
}

bool IsReverseReportOrder(const Por::View::Unit& options)
{
    return Read<bool>(options, Names::ReverseReportOrder, false);
}

bool IsAscendingByTimeStamp(const Por::View::Unit& options)
{
    const Por::View::Unit* stamp = Find(options, Names::DmlTimeStamp);
    return stamp != nullptr && Por::Util::HasTrait(*stamp, Names::Ascending);
}

} // namespace Dml::Query
