// Helpers of the store's tests: objects of two small classes, blocking calls of the store, a reader that
// writes what it is told as lines, and a ReadNews that can be waited for.
#pragma once

#include "async/Action.h"
#include "common/Error.h"
#include "common/Guid.h"
#include "dml/ReportReader.h"
#include "dml/Subscription.h"
#include "dml/SubscriptionReader.h"
#include "dml/ViewSpec.h"
#include "por/PorUnit.h"
#include "por/Unit.h"
#include "por/UnitAccess.h"
#include "store/MemoryStore.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Testing
{

inline Common::Guid IdOf(std::uint32_t number)
{
    Common::Guid id;
    id.Data1 = number;
    return id;
}

// An object of class `className` (a chain "Test::Base" > className) keyed by "ID".
inline Por::Unit MakeObject(std::uint32_t id, const char16_t* className = u"Test::Item")
{
    Por::Unit object = Por::Unit::Composite();
    object["ID"] = IdOf(id);
    object["ID"].AddTrait("PrimaryKey");
    object.AddTrait("Is", Por::Unit(className).Get());
    object.AddTrait("Is", Por::Unit(u"Test::Base").Get());
    return object;
}

inline Por::Unit MakeItem(std::uint32_t id, std::uint32_t state, const char16_t* name = u"item")
{
    Por::Unit object = MakeObject(id);
    object["State"] = state;
    object["Name"] = name;
    return object;
}

// The first number of the object's "ID".
inline std::uint32_t NumberOf(const Por::View::Unit& object)
{
    return Por::Util::GetValue<Common::Guid>(Por::Util::GetPropertyValue(object, "ID")).Data1;
}

// Completes with the result; counts its calls.
struct ResultHandler final : Async::ActionHandler
{
    void Completed(const Common::Error& result) override
    {
        std::lock_guard<std::mutex> guard(Lock);
        Result = result;
        ++Calls;
        Done.notify_all();
    }
    // Waits up to ten seconds for `calls` completions.
    bool WaitFor(int calls = 1)
    {
        std::unique_lock<std::mutex> guard(Lock);
        return Done.wait_for(guard, std::chrono::seconds(10), [&] { return Calls >= calls; });
    }
    int GetCalls()
    {
        std::lock_guard<std::mutex> guard(Lock);
        return Calls;
    }
    Common::Error GetResult()
    {
        std::lock_guard<std::mutex> guard(Lock);
        return Result;
    }

    std::mutex Lock;
    std::condition_variable Done;
    Common::Error Result;
    int Calls = 0;
};

// Every object of a report.
struct CollectingReader final : Dml::ReportReader
{
    using Dml::ReportReader::OnSubject;
    void OnSubject(const Por::View::Unit& object) override
    {
        Objects.push_back(Por::Util::Copy(object, Por::GetUnitFactory()));
    }
    std::vector<Por::ConstUnitPtr> Objects;
};

// Blocking calls: the store completes them before returning, which these check.
inline Common::Error Register(Host::Store::MemoryStore& store, const Por::Unit& object)
{
    ResultHandler handler;
    store.Register(object.Get(), handler);
    EXPECT_EQ(handler.Calls, 1);
    return handler.Result;
}

inline Common::Error Update(Host::Store::MemoryStore& store, const Por::View::Unit& key,
                            const Por::View::Unit& patch)
{
    ResultHandler handler;
    store.Update(key, patch, handler);
    EXPECT_EQ(handler.Calls, 1);
    return handler.Result;
}

inline Common::Error Unregister(Host::Store::MemoryStore& store, const Por::View::Unit& key)
{
    ResultHandler handler;
    store.Unregister(key, handler);
    EXPECT_EQ(handler.Calls, 1);
    return handler.Result;
}

inline std::vector<Por::ConstUnitPtr> Report(Host::Store::MemoryStore& store, Por::ConstUnitPtr pattern,
                                             Por::ConstUnitPtr options = nullptr)
{
    auto reader = std::make_shared<CollectingReader>();
    ResultHandler handler;
    store.Report(Core::EntryPoint{}, Dml::ViewSpec{std::move(pattern), std::move(options)}, reader, handler);
    EXPECT_EQ(handler.Calls, 1);
    EXPECT_EQ(handler.Result.GetCode(), 0u);
    return reader->Objects;
}

inline std::vector<std::uint32_t> Numbers(const std::vector<Por::ConstUnitPtr>& objects)
{
    std::vector<std::uint32_t> numbers;
    for (const Por::ConstUnitPtr& object : objects)
    {
        numbers.push_back(NumberOf(*object));
    }
    return numbers;
}

// A pattern of one class.
inline Por::ConstUnitPtr ClassPattern(const char16_t* className = u"Test::Item")
{
    Por::Unit pattern = Por::Unit::Composite();
    pattern.AddTrait("Is", Por::Unit(className).Get());
    return pattern.Result();
}

// Writes each notification as "created 1", "updated 1 2>3" (states before and after), "deleted 1".
struct NewsLog : Dml::SubscriptionReader
{
    using Dml::SubscriptionReader::OnCreated;
    using Dml::SubscriptionReader::OnDeleted;
    using Dml::SubscriptionReader::OnUpdated;
    void OnCreated(const Por::View::Unit& object) override
    {
        Add("created " + std::to_string(NumberOf(object)));
    }
    void OnUpdated(const Por::View::Unit& before, const Por::View::Unit& after) override
    {
        Add("updated " + std::to_string(NumberOf(after)) + " " + State(before) + ">" + State(after));
    }
    void OnDeleted(const Por::View::Unit& object) override
    {
        Add("deleted " + std::to_string(NumberOf(object)));
    }

    static std::string State(const Por::View::Unit& object)
    {
        const Por::View::Unit* state = Por::Util::FindPropertyValue(object, "State");
        return state != nullptr ? std::to_string(Por::Util::GetValue<std::uint32_t>(*state)) : "-";
    }
    void Add(std::string line)
    {
        std::lock_guard<std::mutex> guard(Lock);
        Lines.push_back(std::move(line));
    }
    std::vector<std::string> Take()
    {
        std::lock_guard<std::mutex> guard(Lock);
        return std::exchange(Lines, {});
    }

    std::mutex Lock;
    std::vector<std::string> Lines;
};

// Subscribes and checks that the opening completed at once and filled the subscription.
inline std::unique_ptr<Dml::Subscription> Subscribe(Host::Store::MemoryStore& store,
                                                    Por::ConstUnitPtr pattern,
                                                    const std::shared_ptr<Dml::ReportReader>& reader,
                                                    Por::ConstUnitPtr options = nullptr)
{
    std::unique_ptr<Dml::Subscription> subscription;
    ResultHandler handler;
    store.Subscribe(Core::EntryPoint{}, Dml::ViewSpec{std::move(pattern), std::move(options)}, reader,
                    subscription, handler);
    EXPECT_EQ(handler.Calls, 1);
    EXPECT_EQ(handler.Result.GetCode(), 0u);
    EXPECT_NE(subscription, nullptr);
    return subscription;
}

// One ReadNews, waited for.
inline Common::Error ReadNews(Dml::Subscription& subscription, Dml::SubscriptionReader& reader)
{
    ResultHandler handler;
    subscription.ReadNews(reader, handler);
    EXPECT_TRUE(handler.WaitFor());
    return handler.GetResult();
}

} // namespace Testing
