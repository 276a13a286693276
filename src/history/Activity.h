// Tol::History::Plain::Activity: the store's record of one piece of work, and CumulativeActivity, an
// activity over several machines. Nested classes are read as their base class (Progress as
// ActivityProgress, ...); make the derived class over the same branch to reach its properties. Store
// objects hold more than is declared here ("DmlTimeStamp", "Environment" > "InstanceID", ...); those
// properties stay in the unit through every read and write. Schema classes (see SchemaObject.h).
#pragma once

#include "history/ActivityBottleneck.h"
#include "history/ActivityDetails.h"
#include "history/ActivityEnvironment.h"
#include "history/ActivityProgress.h"
#include "history/Issue.h"
#include "history/Records.h"
#include "history/SchemaObject.h"

#include <vector>

namespace Tol::History::Plain
{

class Activity : public Por::BaseObject
{
    TOL_HISTORY_CLASS(Activity)

    // The object's key ("PrimaryKey").
    Common::Guid GetID() const;
    void SetID(const Common::Guid& value);
    Core::User GetOwner() const;
    void SetOwner(const Core::User& value);
    ActivityProgress GetProgress() const;
    void SetProgress(const ActivityProgress& value);
    Tol::ActivityOrigin GetOrigin() const;
    void SetOrigin(const Tol::ActivityOrigin& value);
    Tol::ActivityTimePeriod GetPeriod() const;
    void SetPeriod(const Tol::ActivityTimePeriod& value);
    std::uint32_t GetStatus() const;
    void SetStatus(const std::uint32_t& value);
    // 5 is finished.
    std::uint32_t GetState() const;
    void SetState(const std::uint32_t& value);
    ActivityEnvironment GetEnvironment() const;
    void SetEnvironment(const ActivityEnvironment& value);
    ActivityDetails GetDetails() const;
    void SetDetails(const ActivityDetails& value);
    Por::String GetName() const;
    void SetName(const Por::String& value);
    Por::String GetDescription() const;
    void SetDescription(const Por::String& value);
    Por::UnitPtr GetResult() const;
    void SetResult(const Por::View::Unit& value);
    Por::UnitPtr GetEscalatedIssue() const;
    void SetEscalatedIssue(const Por::View::Unit& value);
    Por::UnitPtr GetEscalationSolution() const;
    void SetEscalationSolution(const Por::View::Unit& value);
    // How the activity ended.
    Common::Error GetCompletionResult() const;
    void SetCompletionResult(const Common::Error& value);
    std::int64_t GetImportance() const;
    void SetImportance(const std::int64_t& value);
    ::Serialization::ValueIterator<Issue> GetWarnings() const;
    void SetWarnings(const std::vector<Issue>& values);
    ::Serialization::ValueIterator<Issue> GetErrors() const;
    void SetErrors(const std::vector<Issue>& values);
    ActivityBottleneck GetBottleneck() const;
    void SetBottleneck(const ActivityBottleneck& value);
};

class CumulativeActivity : public Activity
{
    TOL_HISTORY_CLASS(CumulativeActivity)

    std::uint32_t GetAccumulatedMachinesCount() const;
    void SetAccumulatedMachinesCount(const std::uint32_t& value);
};

} // namespace Tol::History::Plain
