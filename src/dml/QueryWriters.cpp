#include "dml/QueryWriters.h"

#include "common/Utf8.h"
#include "dml/OptionSections.h"
#include "dml/QueryOptionNames.h"
#include "por/UnitAccess.h"

namespace Dml::Query
{
namespace
{

// The handle's node as options: made a composite when it has no value yet.
Por::Modification::Unit& Node(Por::Unit& options)
{
    options.EnsureComposite();
    return options.Accessor().Get();
}

Por::UnitPtr MakeTimeStampTemplate(const Por::Construction::UnitFactory& factory)
{
    Por::UnitPtr stamp = factory.CreateComposite();
    Por::Util::AddProperty(*stamp, Names::DmlTimeStamp, factory.CreateSQWord(0), factory);
    return stamp;
}

} // namespace

void SetLimit(Por::Modification::Unit& options, std::uint32_t limit,
              const Por::Construction::UnitFactory& factory)
{
    Detail::SetOption(options, Names::LimitOptions, limit, factory);
}

void SetLimitAndOffset(Por::Modification::Unit& options, std::uint32_t limit, std::uint32_t offset,
                       const Por::Construction::UnitFactory& factory)
{
    Detail::SetOption(options, Names::LimitOptions, limit, factory);
    Detail::SetOption(options, Names::OffsetOptions, offset, factory);
}

void SetMask(Por::Modification::Unit& options, const Por::View::Unit& mask,
             const Por::Construction::UnitFactory& factory)
{
    Detail::ReplaceOption(options, Names::Mask, Por::Util::Copy(mask, factory), factory);
}

void SetReverseReportOrder(Por::Modification::Unit& options, const Por::Construction::UnitFactory& factory)
{
    Detail::SetOption(options, Names::ReverseReportOrder, true, factory);
}

void SetFullObjectNotifications(Por::Modification::Unit& options,
                                const Por::Construction::UnitFactory& factory)
{
    Detail::SetOption(options, Names::FullObjectNotifications, true, factory);
}

void SetReentrantNotifications(Por::Modification::Unit& options,
                               const Por::Construction::UnitFactory& factory)
{
    Detail::SetOption(options, Names::ReentrantNotifications, true, factory);
}

void SetCacheReadDisabled(Por::Modification::Unit& options, const Por::Construction::UnitFactory& factory)
{
    Detail::SetOption(options, Names::CacheReadDisabled, true, factory);
}

void SetEntryPoint(Por::Modification::Unit& options, const Core::EntryPoint& entryPoint,
                   const Por::Construction::UnitFactory& factory)
{
    Por::String file;
    Common::Utf8ToWide(file, entryPoint.File.data(), entryPoint.File.size());
    Por::Modification::Unit& section =
        Detail::GetOrCreate(options, Names::EntryPoint, Por::ValueKind::Composite, factory);
    Detail::SetOption(section, Names::ID, entryPoint.ID, factory);
    Detail::SetOption(section, Names::File, file, factory);
    Detail::SetOption(section, Names::Line, entryPoint.Line, factory);
}

void SetTenantInfo(Por::Modification::Unit& options, const TenantInfo& tenant,
                   const Por::Construction::UnitFactory& factory)
{
    Por::Modification::Unit& section =
        Detail::GetOrCreate(options, Names::TenantInfo, Por::ValueKind::Composite, factory);
    Detail::SetOption(section, Names::ID, tenant.ID, factory);
    Detail::SetOption(section, Names::ParentID, tenant.ParentID, factory);
    Detail::SetOption(section, Names::Locator, tenant.Locator, factory);
}

void AddAscendingTimeStampOrder(Por::Modification::Unit& options,
                                const Por::Construction::UnitFactory& factory)
{
    AddAscendingOrder(options, *MakeTimeStampTemplate(factory), factory);
}

void SetLastByTimeStamp(Por::Modification::Unit& options, std::uint32_t limit,
                        const Por::Construction::UnitFactory& factory)
{
    AddDescendingOrder(options, *MakeTimeStampTemplate(factory), factory);
    SetLimit(options, limit, factory);
    SetReverseReportOrder(options, factory);
}

void SetLimit(Por::Unit options, std::uint32_t limit)
{
    SetLimit(Node(options), limit, options.GetFactory());
}

void SetReverseReportOrder(Por::Unit options)
{
    SetReverseReportOrder(Node(options), options.GetFactory());
}

void SetFullObjectNotifications(Por::Unit options)
{
    SetFullObjectNotifications(Node(options), options.GetFactory());
}

void SetEntryPoint(Por::Unit options, const Core::EntryPoint& entryPoint)
{
    SetEntryPoint(Node(options), entryPoint, options.GetFactory());
}

void SetTenantInfo(Por::Unit options, const TenantInfo& tenant)
{
    SetTenantInfo(Node(options), tenant, options.GetFactory());
}

void AddAscendingOrder(Por::Unit options, const Por::View::Unit& sortTemplate)
{
    AddAscendingOrder(Node(options), sortTemplate, options.GetFactory());
}

void AddDescendingOrder(Por::Unit options, const Por::View::Unit& sortTemplate)
{
    AddDescendingOrder(Node(options), sortTemplate, options.GetFactory());
}

} // namespace Dml::Query
