// Helpers of the feed tests: a news log that can be waited for, asynchronous readers that log and may
// fail at a chosen object, and a trace sink that keeps the codes and levels of traced errors.
#pragma once

#include "StoreTesting.h"
#include "async/Errors.h"
#include "common/Error.h"
#include "common/Trace.h"
#include "common/TraceLogic.h"
#include "dml/AsyncReportReader.h"
#include "dml/AsyncSubscriptionReader.h"
#include "dml/KeyPattern.h"
#include "por/UpdateBuilder.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Testing
{

using Lines = std::vector<std::string>;

inline Common::Error UpdateState(Host::Store::MemoryStore& store, std::uint32_t id, std::uint32_t state)
{
    const Por::UnitPtr patch = Por::UpdateBuilder().Add(u".State", Por::Unit(state).Get()).Result();
    return Update(store, *Dml::MakeKeyPatternFromValue(IdOf(id)), *patch);
}

inline Common::Error Delete(Host::Store::MemoryStore& store, std::uint32_t id)
{
    return Unregister(store, *Dml::MakeKeyPatternFromValue(IdOf(id)));
}

// Lines as NewsLog writes them, with "report N" for report objects; waits for a count of lines.
class LineLog
{
public:
    void Add(std::string line)
    {
        std::lock_guard<std::mutex> guard(Lock);
        Lines.push_back(std::move(line));
        Grown.notify_all();
    }
    // Waits up to ten seconds until `count` lines are there; returns them all.
    Testing::Lines WaitFor(std::size_t count)
    {
        std::unique_lock<std::mutex> guard(Lock);
        Grown.wait_for(guard, std::chrono::seconds(10), [&] { return Lines.size() >= count; });
        return Lines;
    }
    Testing::Lines Get()
    {
        std::lock_guard<std::mutex> guard(Lock);
        return Lines;
    }

    static std::string Of(const char* what, const Por::View::Unit& object)
    {
        return std::string(what) + " " + std::to_string(NumberOf(object));
    }
    static std::string Updated(const Por::View::Unit& before, const Por::View::Unit& after)
    {
        return "updated " + std::to_string(NumberOf(after)) + " " + NewsLog::State(before) + ">" +
               NewsLog::State(after);
    }

private:
    std::mutex Lock;
    std::condition_variable Grown;
    Testing::Lines Lines;
};

struct LoggingReaders final : Dml::ReportReader, Dml::SubscriptionReader
{
    using Dml::ReportReader::OnSubject;
    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnSubject(const Por::View::Unit& object) override { Log.Add(LineLog::Of("report", object)); }
    void OnCreated(const Por::View::Unit& object) override { Log.Add(LineLog::Of("created", object)); }
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override
    {
        Log.Add(LineLog::Updated(before, after));
    }
    void OnDeleted(const Por::View::Unit& object) override { Log.Add(LineLog::Of("deleted", object)); }

    LineLog Log;
};

// Completes each object's action at once; the object numbered FailAt fails with Failure.
struct AsyncLoggingReaders final : Dml::AsyncReportReader, Dml::AsyncSubscriptionReader
{
    std::shared_ptr<Async::Job> OnSubject(const Por::ConstUnitPtr& object,
                                          Async::ActionHandler& handler) override
    {
        return Done(LineLog::Of("report", *object), *object, handler);
    }
    std::shared_ptr<Async::Job> OnCreated(const Por::ConstUnitPtr& object,
                                          Async::ActionHandler& handler) override
    {
        return Done(LineLog::Of("created", *object), *object, handler);
    }
    std::shared_ptr<Async::Job> OnUpdated(const Por::ConstUnitPtr& before, const Por::ConstUnitPtr& after,
                                          Async::ActionHandler& handler) override
    {
        return Done(LineLog::Updated(*before, *after), *after, handler);
    }
    std::shared_ptr<Async::Job> OnDeleted(const Por::ConstUnitPtr& object,
                                          Async::ActionHandler& handler) override
    {
        return Done(LineLog::Of("deleted", *object), *object, handler);
    }

    std::shared_ptr<Async::Job> Done(std::string line, const Por::View::Unit& object,
                                     Async::ActionHandler& handler)
    {
        Log.Add(std::move(line));
        handler.Completed(NumberOf(object) == FailAt ? Failure : Common::Success);
        return nullptr;
    }

    static inline const Common::Error Failure{COMMON_LOCATION("AsyncLoggingReaders"), 0x011A0042};
    std::uint32_t FailAt = 0;
    LineLog Log;
};

// Codes and levels of the errors traced while it lives, below the threshold too.
class ErrorTraces final : public Common::TraceLogic
{
public:
    ErrorTraces() : WasDisabled(Common::IsDefaultOutputDisabled())
    {
        Common::SetDefaultOutputDisabled(true);
        Common::RegisterTraceLogic(this);
    }
    ~ErrorTraces() override
    {
        Common::UnregisterTraceLogic(this);
        Common::SetDefaultOutputDisabled(WasDisabled);
    }

    using Common::TraceLogic::TraceError;
    void TraceError(int level, const Common::Error& error) override
    {
        std::lock_guard<std::mutex> guard(Lock);
        Seen.emplace_back(level, error);
    }
    bool IsForced() const override { return true; }

    // The levels of the traced errors whose chain holds `code`.
    std::vector<int> LevelsOf(std::uint32_t code)
    {
        std::lock_guard<std::mutex> guard(Lock);
        std::vector<int> levels;
        for (const auto& [level, error] : Seen)
        {
            if (Async::Errors::HasCode(error, code))
            {
                levels.push_back(level);
            }
        }
        return levels;
    }

private:
    const bool WasDisabled;
    std::mutex Lock;
    std::vector<std::pair<int, Common::Error>> Seen;
};

} // namespace Testing
