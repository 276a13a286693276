#include "history/Schema.h"

#include "history/Activity.h"
#include "por/Compare.h"
#include "por/TraitUtil.h"
#include "por/UnitPrinter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace Tol::History::Plain;

std::vector<std::string> IsValues(const Por::View::Unit& unit)
{
    std::vector<std::string> values;
    auto collect = Por::MakeProcessor<const Por::View::Trait>(
        [&](const Por::View::Trait& trait)
        {
            const Por::String text = Por::Util::GetValue<Por::String>(trait.GetValue());
            values.emplace_back(text.begin(), text.end());
        });
    unit.GetTraits().ForEachNamed("Is", collect);
    return values;
}

// The printed tree leaves a blank after "= " for empty texts.
std::string WithoutTrailingBlanks(const std::string& text)
{
    std::string result;
    std::size_t start = 0;
    while (start < text.size())
    {
        std::size_t end = text.find('\n', start);
        end = end == std::string::npos ? text.size() : end;
        std::string line = text.substr(start, end - start);
        line.erase(line.find_last_not_of(' ') + 1);
        result += line + (end < text.size() ? "\n" : "");
        start = end + 1;
    }
    return result;
}

TEST(SchemaTest, EveryClassAnswersToItsOwnNameAndEachBase)
{
    const std::string prefix = "Tol::History::Plain::";
    const std::vector<std::pair<std::string, std::vector<std::string>>> classes = {
        {"Activity", {"Activity"}},
        {"CumulativeActivity", {"Activity", "CumulativeActivity"}},
        {"ActivityBottleneck", {"ActivityBottleneck"}},
        {"Issue", {"Issue"}},
        {"ActivityEnvironment", {"ActivityEnvironment"}},
        {"InstanceEnvironment", {"ActivityEnvironment", "InstanceEnvironment"}},
        {"TaskExecutionEnvironment", {"ActivityEnvironment", "TaskExecutionEnvironment"}},
        {"MachineDetails", {"ActivityEnvironment", "MachineDetails"}},
        {"EntityDetails", {"ActivityEnvironment", "EntityDetails", "MachineDetails"}},
        {"ActivityDetails", {"ActivityDetails"}},
        {"TaskDetails", {"ActivityDetails", "TaskDetails"}},
        {"BackupTaskDetails", {"ActivityDetails", "BackupTaskDetails", "TaskDetails"}},
        {"CumulativeActivityDetails", {"ActivityDetails", "CumulativeActivityDetails"}},
        {"BackupPlanDetails", {"BackupPlanDetails"}},
        {"ActivityProgress", {"ActivityProgress"}},
        {"InfiniteProgress", {"ActivityProgress", "InfiniteProgress"}},
        {"CoreProgress", {"Core::Progress", "ActivityProgress", "CoreProgress"}},
        {"ExtendedActivityProgress",
         {"Core::Progress", "ActivityProgress", "CoreProgress", "ExtendedActivityProgress"}},
    };
    for (const auto& [name, tags] : classes)
    {
        const Por::View::Unit* schema = FindSchema(prefix + name);
        ASSERT_NE(schema, nullptr) << name;
        std::vector<std::string> expected;
        for (const std::string& tag : tags)
        {
            expected.push_back(tag.starts_with("Core::") ? tag : prefix + tag);
            EXPECT_TRUE(IsInstanceOf(*schema, expected.back())) << name;
        }
        EXPECT_EQ(IsValues(*schema), expected) << name; // traits are kept in value order
    }
    EXPECT_EQ(FindSchema("Tol::History::Plain::Unknown"), nullptr);
}

TEST(SchemaTest, DerivedSchemaHoldsEveryPropertyOfItsBase)
{
    const Por::View::Unit& derived = CumulativeActivity::GetSchema();
    auto compare = Por::MakeProcessor<const Por::View::Property>(
        [&](const Por::View::Property& property)
        {
            const Por::View::Unit* value = Por::Util::FindPropertyValue(derived, property.GetName());
            ASSERT_NE(value, nullptr) << property.GetName();
            EXPECT_TRUE(Por::UnitEqual(*value, property.GetValue())) << property.GetName();
        });
    Por::Util::GetComposite(Activity::GetSchema()).ForEach(compare);
    EXPECT_NE(Por::Util::FindPropertyValue(derived, "AccumulatedMachinesCount"), nullptr);
}

TEST(SchemaTest, ActivitySchemaIsTheDefaultObjectWithNilMarksAndKeys)
{
    // Properties in name order, each marked "Nil"; the records are flat composites; the key is marked.
    const char* expected = R"(Root (Composite)
  Bottleneck (Composite)
    DestinationMs (qword) = 0
      ^Nil (NIL)
    DestinationPercent (word) = 0
      ^Nil (NIL)
    EncodingMs (qword) = 0
      ^Nil (NIL)
    EncodingPercent (word) = 0
      ^Nil (NIL)
    SourceMs (qword) = 0
      ^Nil (NIL)
    SourcePercent (word) = 0
      ^Nil (NIL)
    ^Is (Common::String) = Tol::History::Plain::ActivityBottleneck
    ^Nil (NIL)
  CompletionResult (Common::Error)
     Code = 0
     LineTag = 0x0000000000000000
     Message =
    ^Nil (NIL)
  Description (Common::String) =
    ^Nil (NIL)
  Details (Composite)
    CommandID (Common::Guid) = 00000000-0000-0000-0000-000000000000
      ^Nil (NIL)
    MachineName (Common::String) =
      ^Nil (NIL)
    MessageID (Common::String) =
      ^Nil (NIL)
    ProcessID (dword) = 0
      ^Nil (NIL)
    Specific (Common::String) =
      ^Nil (NIL)
    ^Is (Common::String) = Tol::History::Plain::ActivityDetails
    ^Nil (NIL)
  Environment (Composite)
    ^Is (Common::String) = Tol::History::Plain::ActivityEnvironment
    ^Nil (NIL)
  Errors (Array)
    ^Nil (NIL)
  EscalatedIssue (NIL)
    ^Nil (NIL)
  EscalationSolution (NIL)
    ^Nil (NIL)
  ID (Common::Guid) = 00000000-0000-0000-0000-000000000000
    ^Nil (NIL)
    ^PrimaryKey (NIL)
  Importance (sqword) = 0
    ^Nil (NIL)
  Name (Common::String) =
    ^Nil (NIL)
  Origin (Composite)
    ParentActivity (Common::Guid) = 00000000-0000-0000-0000-000000000000
    ParentProcess (Common::Guid) = 00000000-0000-0000-0000-000000000000
    ^Is (Common::String) = Tol::ActivityOrigin
    ^Nil (NIL)
  Owner (Composite)
    HasAdminPrivileges (boolean) = false
    Name (Common::String) =
    ProfileID (Common::Guid) = 00000000-0000-0000-0000-000000000000
    UID (Common::String) =
    ^Is (Common::String) = Core::User
    ^Nil (NIL)
  Period (Composite)
    CreationTime (sqword) = 0
    FinishTime (sqword) = 0
    StartTime (sqword) = 0
    ^Is (Common::String) = Tol::ActivityTimePeriod
    ^Nil (NIL)
  Progress (Composite)
    ^Is (Common::String) = Tol::History::Plain::ActivityProgress
    ^Nil (NIL)
  Result (NIL)
    ^Nil (NIL)
  State (dword) = 0
    ^Nil (NIL)
  Status (dword) = 0
    ^Nil (NIL)
  Warnings (Array)
    ^Nil (NIL)
  ^Is (Common::String) = Tol::History::Plain::Activity
)";
    EXPECT_EQ(WithoutTrailingBlanks(Por::Util::UnitToString(Activity::GetSchema())), expected);
}

} // namespace
