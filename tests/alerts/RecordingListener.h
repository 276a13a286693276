// A listener for the inspectors' tests: it records each call as a line ("active <type> <id>", "inactive
// <type> <id>", an empty type written as "*") with the meta of each activation, and lets a test wait
// for a number of calls. Thread-safe; it can be told to fail its next calls.
#pragma once

#include "alerts/contract/Listener.h"
#include "async/ImmediateResultAction.h"
#include "common/Error.h"
#include "common/Guid.h"
#include "por/ConstUnit.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace Testing
{

// A call as a line: "active <type> <id>" or "inactive <type> <id>", an empty type written as "*".
inline std::string Line(bool active, const std::string& type, const Common::Guid& id)
{
    return std::string(active ? "active " : "inactive ") + (type.empty() ? "*" : type) + " " +
           Common::GuidToString(id);
}
inline std::string Active(const std::string& type, const Common::Guid& id)
{
    return Line(true, type, id);
}
inline std::string Inactive(const std::string& type, const Common::Guid& id)
{
    return Line(false, type, id);
}

class RecordingListener final : public Alerts::Listener
{
public:
    struct Call
    {
        bool Active = false;
        std::string Type;
        Common::Guid Id;
        Por::ConstUnitPtr Meta;

        // A field of the meta; it does not exist when the meta lacks it.
        Por::ConstUnit Field(const char* key) const { return Por::ConstUnit(Meta)[key]; }
    };

    static std::vector<std::string> Lines(const std::vector<Call>& calls)
    {
        std::vector<std::string> lines;
        for (const Call& call : calls)
        {
            lines.push_back(Line(call.Active, call.Type, call.Id));
        }
        return lines;
    }

    void OnActive(const Common::Guid& id, const std::string& type, const Por::View::Unit& meta,
                  const Common::WideString&) override
    {
        Record({true, type, id, Por::Util::Copy(meta, Por::GetUnitFactory())});
    }
    void OnInactive(const Common::Guid& id, const std::string& type, const Common::WideString&) override
    {
        Record({false, type, id, nullptr});
    }
    std::unique_ptr<Async::Action> CleanupAlerts(const std::string&, const Por::View::Unit&) override
    {
        return Async::MakeImmediateResult();
    }
    std::unique_ptr<Async::Action> IgnoreAlerts(const std::string&, const Por::View::Unit&) override
    {
        return Async::MakeImmediateResult();
    }

    // The calls so far, taken: a later Take sees only newer ones.
    std::vector<Call> Take()
    {
        std::lock_guard<std::mutex> guard(Lock);
        return std::exchange(Calls, {});
    }
    // The calls so far as lines, taken.
    std::vector<std::string> TakeLines() { return Lines(Take()); }
    // Waits up to ten seconds until `count` calls wait to be taken.
    bool WaitFor(std::size_t count)
    {
        std::unique_lock<std::mutex> guard(Lock);
        return Changed.wait_for(guard, std::chrono::seconds(10), [&] { return Calls.size() >= count; });
    }
    // The next `count` calls throw `error` after being recorded.
    void FailNext(std::size_t count, Common::Error error)
    {
        std::lock_guard<std::mutex> guard(Lock);
        Failures = count;
        Failure = std::move(error);
    }

private:
    void Record(Call call)
    {
        std::unique_lock<std::mutex> guard(Lock);
        Calls.push_back(std::move(call));
        Changed.notify_all();
        if (Failures > 0)
        {
            --Failures;
            const Common::Error failure = Failure;
            guard.unlock();
            throw failure;
        }
    }

    std::mutex Lock;
    std::condition_variable Changed;
    std::vector<Call> Calls;
    std::size_t Failures = 0;
    Common::Error Failure;
};

} // namespace Testing
