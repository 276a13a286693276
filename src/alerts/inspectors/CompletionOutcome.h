// How a finished run ended, as the activity failing inspector judges it: the completion result and the
// warnings of an activity, or of the last finish an item protection keeps. A missing result reads as
// success and missing warnings as none. Also the choice of the backup alert, shared by finished backup
// activities and the item protections inspected at the first start.
#pragma once

#include "common/Error.h"
#include "por/Forward.h"
#include "por/PorUnit.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace Alerts::Detail
{

struct CompletionOutcome
{
    Common::Error Result;
    std::uint32_t WarningsCount = 0;
    // The "Error" of the first warning, when the first warning has one.
    std::optional<Common::Error> FirstWarning;

    // The result is a failure, or there are warnings.
    bool HasProblem() const { return Result.GetCode() != 0 || WarningsCount != 0; }
};

// Reads the result at `resultPath` and the array of issues at `warningsPath` (paths like ".Warnings").
// A field of another kind throws the type mismatch 0x00FA000A.
CompletionOutcome ReadCompletionOutcome(const Por::View::Unit& object, std::u16string_view resultPath,
                                        std::u16string_view warningsPath);

// The alert of a backup that ended so, in this order: canceled as its window closed, canceled, failed
// (meta "Error"), finished with warnings (meta "Warning" and "WarningsCount"). Null when there is no
// problem. Writes the meta fields of the chosen case into `meta`.
const char* ChooseBackupAlert(const CompletionOutcome& outcome, Por::Unit meta);

} // namespace Alerts::Detail
