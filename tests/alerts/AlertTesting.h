// Helpers of the alert tests: the log lines written while a capture lives, read back from the logging
// library's output file; a memory store with the client the inspectors use; and store objects of the
// classes the meta helpers read.
#pragma once

#include "Platform/Logging.h"
#include "common/Guid.h"
#include "dml/ServiceHolder.h"
#include "dml/SynchronousDataStore.h"
#include "por/PorUnit.h"
#include "runtime/EntryPoint.h"
#include "store/MemoryStore.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace AlertTesting
{

struct LogLine
{
    int Level = 0;
    std::uint64_t Tag = 0;
    std::string Channel;
    std::string Function;
    std::string Text;
};

// Sends the records to a file of its own while it lives.
class LogCapture
{
public:
    LogCapture() : Path(::testing::TempDir() + "alerts-log-" + std::to_string(getpid()) + ".txt")
    {
        std::remove(Path.c_str());
        EXPECT_EQ(Logging_SetOutputFile(Path.c_str()), 0);
    }
    ~LogCapture()
    {
        Logging_SetOutputFile(nullptr);
        std::remove(Path.c_str());
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The records so far, of the channel "alerts" only unless `allChannels` (the trace may write to
    // others). A record reads "<level> <tag> <channel> <file>:<line> <function>: <text>"; a line feed in
    // the text continues on a line that starts with a tab.
    std::vector<LogLine> Lines(bool allChannels = false) const
    {
        std::vector<LogLine> lines;
        std::ifstream file(Path);
        std::string row;
        bool kept = false;
        while (std::getline(file, row))
        {
            if (!row.empty() && row.front() == '\t')
            {
                if (kept)
                {
                    lines.back().Text += "\n" + row.substr(1);
                }
                continue;
            }
            std::istringstream fields(row);
            LogLine line;
            std::string tag;
            std::string place;
            fields >> line.Level >> tag >> line.Channel >> place >> line.Function;
            line.Tag = std::stoull(tag, nullptr, 16);
            line.Function.pop_back(); // the ':' that ends the head
            std::getline(fields, line.Text);
            line.Text.erase(0, 1);
            kept = allChannels || line.Channel == "alerts";
            if (kept)
            {
                lines.push_back(line);
            }
        }
        return lines;
    }
    // The texts of the channel's records at `level`.
    std::vector<std::string> Texts(int level) const
    {
        std::vector<std::string> texts;
        for (const LogLine& line : Lines())
        {
            if (line.Level == level)
            {
                texts.push_back(line.Text);
            }
        }
        return texts;
    }
    // Whether the first failure logged is a failed store read (0x011A0012).
    bool HasReadFailure() const
    {
        const std::vector<std::string> failures = Texts(4);
        return !failures.empty() && failures.front().rfind("011A0012 Read objects from DML failed", 0) == 0;
    }

private:
    std::string Path;
};

inline Common::Guid Id(std::uint32_t number)
{
    Common::Guid id;
    id.Data1 = number;
    id.Data4[7] = 0x5A;
    return id;
}

// A composite of one field.
template <typename T>
Por::Unit With(const char* path, const T& value)
{
    Por::Unit unit = Por::Unit::Composite();
    unit[path] = value;
    return unit;
}

// A plain object of the class keyed by "ID".
inline Por::Unit MakeObject(const char16_t* className, const Common::Guid& id)
{
    Por::Unit object = Por::Unit::Composite();
    object.AddTrait("Is", Por::Unit(className).Get());
    object["ID"] = id;
    object["ID"].AddTrait("PrimaryKey");
    return object;
}

inline Por::Unit MakeActivity(const Common::Guid& id)
{
    return MakeObject(u"Tol::History::Plain::Activity", id);
}

// An instance of the type named "machine-1".
inline Por::Unit MakeInstance(const Common::Guid& id, std::int32_t type)
{
    Por::Unit instance = MakeObject(u"InstanceManagement::Instance", id);
    instance["Type"] = type;
    instance["FullPath"] = u"machine-1";
    return instance;
}

// A protection plan named "Daily", stored under `key`.
inline Por::Unit MakePlan(const Common::Guid& key, const Common::Guid& planId)
{
    Por::Unit plan = MakeObject(u"Gtob::Dto::ProtectionPlan", key);
    plan["PlanID"] = planId;
    plan["Name"] = u"Daily";
    return plan;
}

// An activity of the command on the instance under the plan.
inline Por::Unit MakeRun(const Common::Guid& command, const Common::Guid& instance, const Common::Guid& plan)
{
    Por::Unit activity = MakeActivity(Id(0xAC));
    activity[".Details.CommandID"] = command;
    activity[".Environment.InstanceID"] = instance;
    activity[".Environment.ProtectionPlanID"] = plan;
    return activity;
}

// The store service and the client over it.
struct StoreFixture : ::testing::Test
{
    void Add(const Por::Unit& object) { Client.Create(CORE_ENTRY_POINT(), object.Get()); }

    Host::Store::MemoryStore Store;
    Dml::SynchronousDataStore Client{Dml::ServiceHolder(&Store, &Store)};
    LogCapture Log;
};

} // namespace AlertTesting
