#include "alerts/inspectors/CompletionOutcome.h"

#include "alerts/AlertErrors.h"
#include "alerts/AlertTypes.h"
#include "alerts/MetaKeys.h"
#include "por/Path.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"
#include "por/Values.h"

namespace Alerts::Detail
{
namespace
{

// The node at `path` unless it is absent or nil.
const Por::View::Unit* FindValue(const Por::View::Unit& object, std::u16string_view path)
{
    const Por::View::Unit* found = Por::Util::ResolvePath(path, object);
    return found != nullptr && !Por::Util::IsNil(*found) ? found : nullptr;
}

} // namespace

CompletionOutcome ReadCompletionOutcome(const Por::View::Unit& object, std::u16string_view resultPath,
                                        std::u16string_view warningsPath)
{
    CompletionOutcome outcome;
    if (const Por::View::Unit* result = FindValue(object, resultPath))
    {
        outcome.Result = Por::Util::GetValue<Common::Error>(*result);
    }
    if (const Por::View::Unit* warnings = FindValue(object, warningsPath))
    {
        const Por::View::ArrayValue& array = Por::Util::GetArray(*warnings);
        outcome.WarningsCount = static_cast<std::uint32_t>(array.Size());
        if (array.Size() != 0)
        {
            if (const Por::View::Unit* error = FindValue(array.Get(0), u".Error"))
            {
                outcome.FirstWarning = Por::Util::GetValue<Common::Error>(*error);
            }
        }
    }
    return outcome;
}

const char* ChooseBackupAlert(const CompletionOutcome& outcome, Por::Unit meta)
{
    if (IsCanceledDueClosedBackupWindow(outcome.Result))
    {
        return AlertTypes::BackupCanceledDueClosedBackupWindow;
    }
    if (IsBackupCanceled(outcome.Result))
    {
        return AlertTypes::BackupCanceled;
    }
    if (outcome.Result.GetCode() != 0)
    {
        meta[MetaKeys::Error] = outcome.Result;
        return AlertTypes::BackupFailed;
    }
    if (outcome.WarningsCount == 0)
    {
        return nullptr;
    }
    if (outcome.FirstWarning)
    {
        meta[MetaKeys::Warning] = *outcome.FirstWarning;
    }
    meta[MetaKeys::WarningsCount] = outcome.WarningsCount;
    return AlertTypes::BackupFinishedWithWarnings;
}

} // namespace Alerts::Detail
